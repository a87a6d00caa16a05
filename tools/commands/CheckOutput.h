#pragma once

#include "source/FindingReport.h"

#include <memory>
#include <string>
#include <string_view>

namespace Ambrel::Tool {

struct CheckOptions;
struct Console;

/// What `check` prints, for people or for programs.
class CheckOutput {
public:
    static std::unique_ptr<CheckOutput> Make(Console& console, CheckOptions const& options);

    CheckOutput() noexcept = default;
    CheckOutput(CheckOutput const&) = delete;
    CheckOutput& operator=(CheckOutput const&) = delete;
    virtual ~CheckOutput() = default;

    /// The file that what follows is about.
    virtual void Begin(std::string_view file) = 0;
    /// Keeps a problem until it can be written.
    virtual void List(ListedFinding const& finding) = 0;
    /// Writes what is kept.
    virtual void Flush() = 0;
    /// The file cannot be read.
    virtual void Fail(std::string const& reason) = 0;
    /// The file has been looked at.
    virtual void End(std::uint64_t records, FindingReport const& report) = 0;
    /// All files have been.
    virtual void Finish() = 0;
};

} // namespace Ambrel::Tool
