#pragma once

#include <string>
#include <vector>

namespace Ambrel::Tool {

struct Console;

/// Runs the tool with the arguments that follow the program's name. Returns the exit code; throws
/// nothing.
int RunTool(std::vector<std::string> arguments, Console& console) noexcept;

} // namespace Ambrel::Tool
