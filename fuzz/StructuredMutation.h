#pragma once

#include "SourceInput.h"

#include <random>

namespace Ambrel::Fuzz {

/// Damages one field of one file of the source, as the format lays it out: an index entry, a
/// record's header, type, counts, part starts or coordinates, a table's header, descriptors, marks
/// or values, the text of the coordinate system, or the length of a file. Values are those that
/// readers stumble over.
void DamageField(SourceInput& input, std::mt19937& random);

} // namespace Ambrel::Fuzz
