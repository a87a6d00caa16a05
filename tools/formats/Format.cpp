#include "formats/Format.h"

#include "formats/OutputFile.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace Ambrel::Tool {

// Each format is made by the function of this name in a file of its own.
#define AMBREL_FORMATS(FORMAT)                                                                     \
    FORMAT(GeoJson)                                                                                \
    FORMAT(GeoJsonSequence)                                                                        \
    FORMAT(Csv)                                                                                    \
    FORMAT(GeoPackage)                                                                             \
    FORMAT(Shapefile)

#define DECLARE_FORMAT(NAME) Format NAME##Format();
#define MAKE_FORMAT(NAME) NAME##Format(),
AMBREL_FORMATS(DECLARE_FORMAT)

namespace {

std::string InLowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

template <class Condition>
Format const* FindFormat(Condition&& condition) {
    std::span<Format const> const formats = Formats();
    auto const found = std::find_if(formats.begin(), formats.end(), condition);
    return found == formats.end() ? nullptr : &*found;
}

Format const& FormatCalled(std::string const& name) {
    Format const* const format =
        FindFormat([&](Format const& candidate) { return candidate.name == InLowerCase(name); });
    if (!format) {
        throw UsageException("--format: " + name + " is none of " + FormatNames(", "));
    }
    return *format;
}

/// Standard output, folders, devices, and what stands for an open file: "/dev/stdout" may be a
/// regular one.
bool IsNamedForNoFormat(std::string const& output) {
    namespace fs = std::filesystem;
    std::error_code error; // what cannot be looked at is not there, and its name has to say it
    return output == "-" || output.starts_with("/dev/") || output.starts_with("/proc/") ||
           (fs::exists(output, error) && !fs::is_regular_file(output, error));
}

/// The extension, or that of the file that a link without one leads to.
std::string ExtensionOfTarget(std::string const& output) {
    std::error_code error;
    std::string const extension = ExtensionOf(output);
    return extension.empty() ? ExtensionOf(std::filesystem::read_symlink(output, error).string())
                             : extension;
}

} // namespace

void Format::Require(FormatOptions const& options) const {
    if (!options.geometry.empty() && !hasGeometryForms) {
        throw UsageException("--geometry: " + std::string(name) +
                             " has geometries in a form of its own");
    }
    if (!options.encoding.empty() && !hasEncoding) {
        throw UsageException("--output-encoding: " + std::string(name) + " is always in UTF-8");
    }
    if (options.precision && !isText) {
        throw UsageException("--precision: " + std::string(name) + " has every digit");
    }
}

std::span<Format const> Formats() {
    static std::array const formats = {AMBREL_FORMATS(MAKE_FORMAT)};
    return formats;
}

std::string FormatNames(std::string_view separator) {
    std::string names;
    for (Format const& format : Formats()) {
        names += names.empty() ? "" : separator;
        names += format.name;
    }
    return names;
}

Format const& FormatFor(std::string const& name, std::string const& output) {
    if (!name.empty()) {
        return FormatCalled(name);
    }
    if (IsNamedForNoFormat(output)) {
        return Formats().front();
    }
    std::string const extension = ExtensionOfTarget(output);
    Format const* const format = FindFormat([&](Format const& candidate) {
        return std::find(candidate.extensions.begin(), candidate.extensions.end(), extension) !=
               candidate.extensions.end();
    });
    if (!format) {
        throw UsageException("--output: " + output + " does not tell its format by " +
                             (extension.empty() ? "an extension" : "\"" + extension + "\"") +
                             "; add --format with one of " + FormatNames(", "));
    }
    return *format;
}

} // namespace Ambrel::Tool
