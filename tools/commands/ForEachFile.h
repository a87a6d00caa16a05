#pragma once

#include "source/FindingReport.h"
#include "source/Inputs.h"
#include "source/Source.h"
#include "terminal/Console.h"

namespace Ambrel::Tool {

/// Runs the action on the file, with a report of what is found in it, and prints what it throws,
/// naming the file; false then. What stops the tool as a whole goes through.
template <class Action>
bool Survives(Console& console, std::string_view file, Action&& action) {
    console.file = file;
    FindingReport const report(console, file);
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

/// The layers that the paths stand for. Those that stand for none are printed, and counted in
/// `failed`.
inline std::vector<Input> FindInputs(Console& console, InputPaths const& paths, int& failed) {
    return FindInputs(console, paths, [&](std::string const& path, std::exception const& error) {
        PrintError(console, error, path);
        ++failed;
    });
}

/// Calls `action(file)` for every file that the paths stand for. Failures are printed, and the
/// others still get their turn. Returns how many failed.
template <class Action>
int ForEachFile(Console& console, InputPaths const& paths, Action&& action) {
    int failed = 0;
    for (Input const& input : FindInputs(console, paths, failed)) {
        failed += !Survives(console, input.file.Utf8(), [&] { action(input.file); });
    }
    return failed;
}

} // namespace Ambrel::Tool
