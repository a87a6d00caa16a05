#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

/// What a reader may be asked to do beyond what the format's rules give; everything is off at
/// first. Set before a file is opened.
struct ReadOptions {
    /// The codec of the table's texts and names: a codec that Qt knows, or a spelling met in ".cpg"
    /// files. Empty: the application's codec, else UTF-8 where valid and Windows-1252 where not.
    std::string encoding{};
    /// Numeric and logical fields that hold no value give a null instead of 0 or false.
    bool missingAsNull = false;
    /// Records whose table row is marked as deleted are left out.
    bool skipDeleted = false;
    /// Measures are delivered whatever the header's measure range says.
    bool measuresAlways = false;
    /// Reads what can be read without an index or a table, or with unusable ones.
    bool salvage = false;
    /// The fields of the table that are wanted, by name (UTF-8); the others are not read, and the
    /// schema does not have them. None: all.
    std::optional<std::vector<std::string>> fields{};
};

} // namespace Ambrel
