#include "terminal/Console.h"

#include "terminal/Explain.h"
#include "terminal/Interrupt.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include <unistd.h>

namespace Ambrel::Tool {

namespace {

BString Category() {
    return BString::FromUtf8("Ambrel Exception");
}

struct Alias {
    std::string folder;
    std::string name;
};

std::vector<Alias>& Aliases() {
    static std::vector<Alias> aliases;
    return aliases;
}

/// Puts `name` in the place of a folder wherever a path begins with it.
void Replace(std::string& text, std::string_view folder, std::string_view name) {
    for (auto at = text.find(folder); at != std::string::npos; at = text.find(folder, at)) {
        constexpr std::string_view beforePaths = " \"'(<";
        bool const isStart = at == 0 || beforePaths.find(text[at - 1]) != std::string_view::npos;
        if (isStart) {
            text.replace(at, folder.size(), name);
        }
        at += isStart ? name.size() : folder.size();
    }
}

/// The line, with the file behind it where it does not name it, or a companion of it, already.
std::string Naming(std::string_view file, std::string const& line) {
    std::string_view const base = file.substr(0, file.rfind('.'));
    bool const isNamed = line.find(base) != std::string::npos;
    return isNamed ? line : line + " (" + std::string(file) + ")";
}

} // namespace

void AddAlias(std::string const& folder, std::string const& name) {
    Aliases().push_back({folder, name});
}

std::string WithAliases(std::string text) {
    for (Alias const& alias : Aliases()) {
        Replace(text, alias.folder + "/", alias.name + "/");
    }
    return text;
}

std::string InUsersNames(std::string text) {
    text = WithAliases(std::move(text));
    std::error_code error; // a folder that has gone has no name
    std::string const current = std::filesystem::current_path(error).string();
    if (!error && current != "/") {
        Replace(text, current + "/", "");
    }
    return text;
}

std::string OneLine(std::string_view text) {
    std::string line;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto const c = static_cast<unsigned char>(text[i]);
        bool const startsC1 = c == 0xC2 && i + 1 < text.size() && // U+0080 to U+009F
                              static_cast<unsigned char>(text[i + 1]) < 0xA0;
        i += startsC1 ? 1 : 0;
        line += c < 0x20 || c == 0x7F || startsC1 ? ' ' : text[i];
    }
    return line;
}

void FileSink::Write(std::string_view text) {
    while (!text.empty()) {
        ssize_t const written = ::write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EINTR) {
            continue;
        } else if (errno == EPIPE) {
            throw PipeClosedException();
        } else {
            throw OutputException(name, errno);
        }
    }
}

void BestEffortSink::Write(std::string_view text) {
    try {
        target.Write(text);
    } catch (PipeClosedException const&) { // NOLINT(bugprone-empty-catch)
    } catch (OutputException const&) {     // NOLINT(bugprone-empty-catch): there is nobody to tell
    }
}

UsageException::UsageException(std::string const& message)
    : StopException(Category(), BString(), BString::FromUtf8(message)) {}

OutputException::OutputException(std::string const& file, int reason)
    : OutputException(file, std::string(std::strerror(reason))) {}

OutputException::OutputException(std::string const& file, std::string const& reason)
    : StopException(Category(), BString::FromUtf8("write"),
                    BString::FromUtf8(file + ": " + reason)) {}

PipeClosedException::PipeClosedException() : StopException(Category(), BString(), BString()) {}

InterruptedException::InterruptedException()
    : StopException(Category(), BString(), BString::FromUtf8("stopped")) {}

void PrintError(Console& console, std::exception const& error, std::string_view file) {
    PrintError(console, Explain(error, file), file);
    if (console.verbose) {
        console.err.Write("ambrel-shp: " + OneLine(InUsersNames(Describe(error))) + "\n");
    }
}

void PrintError(Console& console, std::string_view text, std::string_view file) {
    console.err.Write("ambrel-shp: " + OneLine(InUsersNames(Naming(file, std::string(text)))) +
                      "\n");
}

void PrintWarning(Console& console, std::string_view text) {
    std::string const line = Naming(console.file, std::string(text));
    console.err.Write("ambrel-shp: warning: " + OneLine(InUsersNames(line)) + "\n");
}

} // namespace Ambrel::Tool
