#include "terminal/Explain.h"

#include "terminal/Console.h"

#include "ShpReader/format/ShpFormat.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BInputFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <system_error>
#include <vector>

namespace Ambrel::Tool {

namespace {

namespace fs = std::filesystem;

constexpr std::array<std::uint8_t, 4> fileCode = {0x00, 0x00, 0x27, 0x0A};

std::string ExtensionOf(std::string const& path) {
    std::string extension = fs::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return extension;
}

std::string Hex(std::uint8_t const* bytes, std::size_t count) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += i > 0 ? " " : "";
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

std::string MainFileOf(std::string const& path) {
    return std::string(
        BFileUtilities::ChangeExtension(BString::FromUtf8(path), BString::FromUtf8(".shp")).Utf8());
}

bool IsThere(std::string const& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

/// Of a file that lies beside a shapefile, and here without one; empty for any other.
std::string ProblemOfCompanion(std::string const& path) {
    constexpr std::array<std::string_view, 6> extensions = {".shx", ".dbf", ".prj",
                                                            ".cpg", ".sbn", ".sbx"};
    bool const isCompanion =
        std::find(extensions.begin(), extensions.end(), ExtensionOf(path)) != extensions.end();
    std::string const mainFile = MainFileOf(path);
    return isCompanion && IsThere(path) && !IsThere(mainFile)
               ? path + ": there is no " + fs::path(mainFile).filename().string() + " beside it"
               : std::string();
}

/// What speaks against a file as the main file of a shapefile; empty when nothing does.
std::string ProblemOfMainFile(std::string const& path) {
    if (std::string const problem = ProblemOfCompanion(path); !problem.empty()) {
        return problem;
    }
    std::array<std::uint8_t, ShpFileHeader::size> bytes{};
    BInputFile const file(BString::FromUtf8(path));
    std::size_t const size = file.Read(0, bytes.data(), bytes.size());
    if (ExtensionOf(path) != ".shp" &&
        !std::equal(fileCode.begin(), fileCode.end(), bytes.begin())) {
        return path + " is no shapefile";
    }
    if (size < fileCode.size()) {
        return path + " is no shapefile: it has only " + std::to_string(size) + " bytes";
    }
    if (!std::equal(fileCode.begin(), fileCode.end(), bytes.begin())) {
        return path + " is no shapefile: its first bytes are " + Hex(bytes.data(), 4) + ", not " +
               Hex(fileCode.data(), 4);
    }
    if (size < bytes.size()) {
        return path + " is cut: it has only " + std::to_string(size) + " of the " +
               std::to_string(bytes.size()) + " bytes of a header";
    }
    constexpr std::size_t versionAt = 28;
    std::uint8_t const* const version = bytes.data() + versionAt;
    if (Hex(version, 4) != "e8 03 00 00") {
        return path + " is no shapefile that can be read: its version is not 1000 (bytes " +
               Hex(version, 4) + ")";
    }
    return {};
}

/// Of a companion that a shapefile cannot do without.
std::string ExplainMissingPart(std::string const& part, std::string const& mainFile) {
    std::string const problem = ProblemOfMainFile(mainFile);
    if (!problem.empty()) {
        return problem;
    }
    char const* const what = ExtensionOf(part) == ".shx" ? "index" : "table";
    std::string const name = fs::path(part).filename().string();
    return mainFile + " needs its " + what + " " + name + ", which is not there";
}

std::string ExplainMissing(std::string const& path, std::string_view asked) {
    std::string const extension = ExtensionOf(path);
    std::string const mainFile = extension == ".shp" ? path : MainFileOf(path);
    std::string const wanted(asked);
    bool const isPart = extension == ".shx" || extension == ".dbf";
    if (isPart && IsThere(mainFile)) {
        return ExplainMissingPart(path, mainFile);
    }
    if (isPart && wanted != path && IsThere(wanted)) { // what was opened as a main file
        return ExplainMissingPart(path, wanted);
    }
    std::string const problem = ProblemOfCompanion(wanted);
    return problem.empty() ? path + " is not there" : problem;
}

std::string ExplainNotOpened(BException const& error, std::string_view file) {
    std::string const path(error.GetMessage().Utf8());
    std::error_code ignored;
    switch (error.GetReason()) {
    case EMFILE:
    case ENFILE: return path + " cannot be opened: too many files are open; see \"ulimit -n\"";
    case 0:
    case ENOENT:
    case ENOTDIR: break;
    default:
        return path + " cannot be opened: " + std::generic_category().message(error.GetReason());
    }
    if (!path.starts_with('/')) { // a sentence of the tool's own
        return path;
    }
    if (fs::exists(path, ignored) && !fs::is_regular_file(path, ignored)) {
        return path + " is no file";
    }
    if (fs::exists(path, ignored) && ExtensionOf(path) != ".dbf" && ExtensionOf(path) != ".shx") {
        std::string const problem = ProblemOfMainFile(path);
        return problem.empty() ? path + " cannot be opened" : problem;
    }
    return ExplainMissing(path, file);
}

std::string ExplainContent(BException const& error, std::string_view) {
    std::string const message(error.GetMessage().Utf8());
    constexpr std::string_view tableEnd = " is not a valid DBF file.";
    if (message.ends_with(tableEnd)) {
        return message.substr(0, message.size() - tableEnd.size()) +
               " is no table: its header does not make sense";
    }
    std::string const problem = ProblemOfMainFile(message);
    return problem.empty() ? message : problem;
}

std::string ExplainIndex(BException const& error, std::string_view) {
    std::string const message(error.GetMessage().Utf8());
    constexpr std::string_view rows = "NumRecords=";
    auto const at = message.find(rows);
    bool const isTable = message.starts_with("SHP/DBF") && at != std::string::npos;
    return isTable ? "the table has only " +
                         std::to_string(
                             std::strtoull(message.c_str() + at + rows.size(), nullptr, 10)) +
                         " rows"
                   : message;
}

std::string ExplainGeometry(BException const& error, std::string_view) {
    std::string const message(error.GetMessage().Utf8());
    constexpr std::string_view type = "Record type=";
    return message.starts_with(type)
               ? "shapes of type " + message.substr(type.size()) + " cannot be read"
               : message;
}

std::string ExplainAttribute(BException const& error, std::string_view) {
    std::string const message(error.GetMessage().Utf8());
    constexpr std::string_view name = "Attribute=";
    return message.starts_with(name)
               ? "the field " + message.substr(name.size()) + " is not there or has no number"
               : message;
}

std::string ExplainOutput(BException const& error, std::string_view) {
    return "cannot write " + std::string(error.GetMessage().Utf8());
}

/// The message of an exception that may have been made of one of the standard library's.
std::string WithoutAllocation(std::string const& message) {
    return message.find("bad_alloc") == std::string::npos ? message : "there is not enough memory";
}

std::string ExplainResource(BException const& error, std::string_view) {
    return WithoutAllocation(std::string(error.GetMessage().Utf8()));
}

struct Explanation {
    std::string_view className;
    std::string (*explain)(BException const& error, std::string_view file);
};

/// Where the message alone would not do.
constexpr Explanation explanations[] = {
    {"BFileNotFoundException", ExplainNotOpened},
    {"BFileContentNotValidException", ExplainContent},
    {"BUnknownGeometryException", ExplainGeometry},
    {"BIndexOutOfBoundsException", ExplainIndex},
    {"BAttributeDataException", ExplainAttribute},
    {"BResourceException", ExplainResource},
    {"OutputException", ExplainOutput},
};

} // namespace

std::string Explain(std::exception const& error, std::string_view file) {
    auto const* const exception = dynamic_cast<BException const*>(&error);
    if (!exception) {
        bool const isMemory = dynamic_cast<std::bad_alloc const*>(&error) != nullptr;
        return isMemory ? "there is not enough memory" : error.what();
    }
    std::string_view const name = exception->GetClassName();
    auto const found =
        std::find_if(std::begin(explanations), std::end(explanations),
                     [&](Explanation const& entry) { return entry.className == name; });
    if (found != std::end(explanations)) {
        return found->explain(*exception, file);
    }
    // What has been asked for by an option cannot be done.
    std::string const operation(exception->GetOperation().Utf8());
    std::string const message(exception->GetMessage().Utf8());
    return operation.starts_with("--") ? operation + ": " + message : WithoutAllocation(message);
}

std::string Describe(std::exception const& error) {
    auto const* const exception = dynamic_cast<BException const*>(&error);
    if (!exception) {
        return std::string("std::exception: ") + error.what();
    }
    std::string text = exception->GetClassName();
    for (BString const& part : {exception->GetOperation(), exception->GetMessage()}) {
        if (!part.IsEmpty()) {
            text += ": " + std::string(part.Utf8());
        }
    }
    return text;
}

std::size_t TypingErrors(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> errors(a.size() + 1,
                                                 std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                errors[i][j] = i + j;
                continue;
            }
            bool const isSame = a[i - 1] == b[j - 1];
            errors[i][j] = std::min({errors[i - 1][j] + 1, errors[i][j - 1] + 1,
                                     errors[i - 1][j - 1] + (isSame ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                errors[i][j] = std::min(errors[i][j], errors[i - 2][j - 2] + 1);
            }
        }
    }
    return errors[a.size()][b.size()];
}

} // namespace Ambrel::Tool
