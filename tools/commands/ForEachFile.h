#pragma once

#include "source/Source.h"
#include "terminal/Console.h"

namespace Ambrel::Tool {

/// Runs the action on the file and prints what it throws, naming the file; false then. What stops
/// the tool as a whole goes through.
template <class Action>
bool Survives(Console& console, std::string_view file, Action&& action) {
    console.file = file;
    try {
        action();
        return true;
    } catch (StopException const&) {
        throw;
    } catch (std::exception const& error) {
        PrintError(console, error, file);
        return false;
    }
}

/// Calls `action(file)` for every file that the paths stand for. Failures are printed, and the
/// others still get their turn. Returns how many failed.
template <class Action>
int ForEachFile(Console& console, std::vector<std::string> const& paths, Action&& action) {
    int failed = 0;
    for (std::string const& path : ShapefilesAmong(paths)) {
        std::vector<BString> files;
        failed += !Survives(console, path, [&] { files = FilesOf(path); });
        for (BString const& file : files) {
            failed += !Survives(console, file.Utf8(), [&] { action(file); });
        }
    }
    return failed;
}

} // namespace Ambrel::Tool
