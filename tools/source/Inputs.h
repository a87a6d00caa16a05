#pragma once

#include "Ambrel/BString.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Ambrel::Tool {

struct Console;

/// What the user names: shapefiles, folders, wildcards, archives and what is in them.
struct InputPaths {
    std::vector<std::string> named;
    bool recursive = false;        ///< with the folders below those that are named
    std::uint64_t unpackLimit = 0; ///< bytes that an archive may become; 0: see Archive.h
};

/// A layer that a path stands for.
struct Input {
    BString file;     ///< its main file, with its full path; it may be missing
    std::string name; ///< from what the user named on, without extension: "roads", "north/roads"
    std::size_t path; ///< which of the named paths it comes from
};

/// Takes a path that stands for no layer, and why.
using InputFailure = std::function<void(std::string const& path, std::exception const& error)>;

/// The layers in the order of their paths, and sorted by name within one; none of them twice.
///
/// A folder stands for the shapefiles in it; with `recursive`, for those in the folders below too,
/// links to folders and hidden ones aside. An archive (".zip", ".shz") stands for all that are in
/// it; what follows its name is a path in it. A file of a shapefile's name ("roads.dbf",
/// "roads.sbn") stands for the shapefile, as it does where a shell has given all files of a folder.
///
/// Throws UsageException for an empty path, and InterruptedException.
std::vector<Input> FindInputs(Console& console, InputPaths const& paths, InputFailure const& fail);

/// The one layer of a command that takes no more. Throws what speaks against the path, and
/// UsageException with the advice when there are several.
Input TheInput(Console& console, InputPaths const& paths,
               std::string const& advice = "name one of them");

} // namespace Ambrel::Tool
