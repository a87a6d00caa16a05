#pragma once

namespace Ambrel::Tool {

enum ExitCode : int {
    EXIT_OK = 0,
    EXIT_PROBLEM = 1,      ///< a failure, or problems found by `check`
    EXIT_USAGE = 2,        ///< wrong arguments
    EXIT_UNREADABLE = 2,   ///< `check` could not read a file
    EXIT_INTERRUPTED = 130 ///< what a shell makes of Ctrl-C
};

} // namespace Ambrel::Tool
