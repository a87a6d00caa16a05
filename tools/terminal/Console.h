#pragma once

#include "Ambrel/BException.h"

#include <string>
#include <string_view>

namespace Ambrel::Tool {

/// Takes text in pieces. A piece that cannot be taken throws an OutputException or a
/// PipeClosedException.
class TextSink {
public:
    TextSink() noexcept = default;
    TextSink(TextSink const&) = delete;
    TextSink& operator=(TextSink const&) = delete;
    virtual ~TextSink() = default;
    virtual void Write(std::string_view text) = 0;
};

/// Keeps the text.
class StringSink final : public TextSink {
public:
    void Write(std::string_view piece) override { text += piece; }
    std::string const& Text() const noexcept { return text; }

private:
    std::string text;
};

/// Writes to an open file, which it does not own and which may be a pipe or a terminal.
class FileSink final : public TextSink {
public:
    /// `newName` is what error messages call the file.
    FileSink(int newDescriptor, std::string newName)
        : descriptor(newDescriptor), name(std::move(newName)) {}
    void Write(std::string_view text) override;

private:
    int descriptor;
    std::string name;
};

/// Passes on what can be written; a reader that has gone ends nothing. For standard error.
class BestEffortSink final : public TextSink {
public:
    explicit BestEffortSink(TextSink& newTarget) : target(newTarget) {}
    void Write(std::string_view text) override;

private:
    TextSink& target;
};

class FindingReport;

/// Where a command reports to, and what its user wants to see there.
struct Console {
    TextSink& out;
    TextSink& err;
    bool colors = false;             ///< `out` is a terminal that shall show colours
    bool isTerminal = false;         ///< `out` is one
    bool showProgress = false;       ///< `err` is a terminal
    bool verbose = false;            ///< show the whole log
    std::string file = {};           ///< what is being worked on: warnings name it
    FindingReport* report = nullptr; ///< of what is found in that file; null: there is none
};

/// What ends the tool's work as a whole: no other file or record would fare better.
class StopException : public BException {
public:
    using BException::BException;
};

/// What the caller of the tool got wrong: exit code 2.
class UsageException final : public StopException {
public:
    explicit UsageException(std::string const& message);
    char const* GetClassName() const noexcept override { return "usage"; }
};

/// A result that could not be written.
class OutputException final : public StopException {
public:
    /// `reason` is an errno value.
    OutputException(std::string const& file, int reason);
    OutputException(std::string const& file, std::string const& reason);
    char const* GetClassName() const noexcept override { return "OutputException"; }
};

/// The reader of our output has gone. It has what it wanted, so nobody is told.
class PipeClosedException final : public StopException {
public:
    PipeClosedException();
    char const* GetClassName() const noexcept override { return "PipeClosedException"; }
};

/// The user has asked to stop: see Interrupt.h.
class InterruptedException final : public StopException {
public:
    InterruptedException();
    char const* GetClassName() const noexcept override { return "InterruptedException"; }
};

/// From now on, messages have `name` in the place of this folder: the files in it have been made of
/// what the user named.
void AddAlias(std::string const& folder, std::string const& name);
/// The text as AddAlias has it.
std::string WithAliases(std::string text);
/// The same, without the current folder in front of files.
std::string InUsersNames(std::string text);
/// The text with spaces for control characters, which would break lines and command terminals.
std::string OneLine(std::string_view text);

/// Prints "ambrel-shp: " and what went wrong (see Explain.h), in one line. The file is added where
/// the text does not name it. With --verbose, the exception's own words follow.
void PrintError(Console& console, std::exception const& error, std::string_view file);
/// The same with a text that says what has failed.
void PrintError(Console& console, std::string_view text, std::string_view file);
/// Prints "ambrel-shp: warning: TEXT", with the file that is being worked on as above.
void PrintWarning(Console& console, std::string_view text);

} // namespace Ambrel::Tool
