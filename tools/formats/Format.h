#pragma once

#include "formats/FeatureWriter.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Ambrel::Tool {

struct Console;

constexpr int mostDecimals = 20; ///< that coordinates may be asked for with

/// What a user may ask of the output beside its format.
struct FormatOptions {
    /// How CSV has geometries: "wkt", "xy", "wkb" or "none".
    /// Empty for the first.
    std::string geometry;
    /// Most digits after the decimal point of coordinates in text; none: as many as it takes to
    /// read back the same number.
    std::optional<int> precision;
    /// Encoding of a shapefile's table; empty for that of the source.
    std::string encoding;
};

/// A format that features are exported in: one line of the table in Format.cpp.
struct Format {
    char const* name; ///< as --format has it, in lower case
    std::vector<std::string_view>
        extensions; ///< in lower case with the dot; the first is the usual
    bool holdsSeveralLayers = false;
    bool holdsNulls = true; ///< whether a value that is missing differs from an empty one
    bool isWgs84 = false;   ///< whether its coordinates are longitude and latitude on WGS 84
    /// Whether it is text, whose coordinates can have a precision, and which can go to standard
    /// output, a pipe or a device.
    bool isText = true;
    bool hasGeometryForms = false; ///< whether FormatOptions::geometry means something
    bool hasEncoding = false;      ///< whether FormatOptions::encoding does
    /// The writer of an output at `path`. Throws OutputException and UsageException.
    std::unique_ptr<FeatureWriter> (*make)(Console& console, std::string const& path,
                                           FormatOptions const& options);

    /// Throws UsageException where one of the options means nothing to the format.
    void Require(FormatOptions const& options) const;
};

/// All formats, in the order in which help names them.
std::span<Format const> Formats();
/// Their names with `separator` between them.
std::string FormatNames(std::string_view separator);

/// The format that the user means: the one called `name`, in any case of letters, or where that is
/// empty the one of the output's extension. Standard output, folders and what is no regular file
/// get GeoJSON where no name is given. Throws UsageException for a name or an extension that no
/// format has.
Format const& FormatFor(std::string const& name, std::string const& output);

} // namespace Ambrel::Tool
