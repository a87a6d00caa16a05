#pragma once

#include "commands/ExitCode.h"

#include <memory>

namespace CLI {
class App;
}

namespace Ambrel::Tool {

struct Console;

/// A command of the tool as its user types it. Its options stand in the file that makes it
/// (ExportArguments.cpp), its work in another one (ExportCommand.cpp).
class Command {
public:
    Command() noexcept = default;
    Command(Command const&) = delete;
    Command& operator=(Command const&) = delete;
    virtual ~Command() = default;

    /// Adds the arguments and options that the command takes, --verbose and --help aside.
    virtual void Declare(CLI::App& app) = 0;
    /// Does what the command line, which has been read, asks for. Returns the process's exit code.
    /// What it throws is reported by RunTool; files that fail in a list of several are reported by
    /// the command, which goes on. Throws UsageException for arguments that make no sense.
    virtual int Run(Console& console) = 0;
};

std::unique_ptr<Command> MakeInfo();
std::unique_ptr<Command> MakeExport();
std::unique_ptr<Command> MakeCheck();
std::unique_ptr<Command> MakeTable();
std::unique_ptr<Command> MakeSelect();
std::unique_ptr<Command> MakeDraw();
std::unique_ptr<Command> MakeSql();
std::unique_ptr<Command> MakeRepair();

} // namespace Ambrel::Tool
