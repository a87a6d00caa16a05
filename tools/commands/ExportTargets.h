#pragma once

#include "source/Inputs.h"

#include <string>
#include <vector>

namespace Ambrel::Tool {

struct ExportOptions;

/// A layer and the file that it is written to.
struct ExportTarget {
    Input input;
    std::string path;   ///< "-": standard output
    std::string folder; ///< that has to be there first; empty where the user has to see to that
};

/// Where the layers go: to the output itself, which may hold several in some formats, or where that
/// is a folder, to a file in it for each, in folders like theirs. A folder is what is one or ends
/// in "/", and for several layers, what has no extension. Throws UsageException for several layers
/// without a folder, for two that would be one file, and for an output whose format is not known.
/// Nothing is made yet.
std::vector<ExportTarget> PlanExport(std::vector<Input> const& inputs,
                                     ExportOptions const& options);
/// Makes the target's folder, where it is not there. Throws OutputException.
void MakeFolderOf(ExportTarget const& target);

} // namespace Ambrel::Tool
