#pragma once

#include "terminal/Console.h"

#include "Ambrel/BProgress.h"

#include <chrono>

namespace Ambrel::Tool {

/// A bar on standard error, where that is a terminal and the work takes longer than a second. It
/// also ends the work when the user has asked to stop, whether the bar is shown or not.
class ProgressBar final : public BProgress {
public:
    ProgressBar(Console& newConsole, std::string const& newLabel);
    /// Takes the bar off the screen.
    ~ProgressBar() override;
    ProgressBar(ProgressBar const&) = delete;
    ProgressBar& operator=(ProgressBar const&) = delete;

    bool WantsReport(std::uint32_t done, std::uint32_t total) override;
    /// False when the user has asked to stop.
    bool Report(std::uint32_t done, std::uint32_t total) override;

    /// For loops of the tool's own: both of the above. Throws InterruptedException.
    void Step(std::uint64_t done, std::uint64_t total);

private:
    using Clock = std::chrono::steady_clock;

    Console& console;
    std::string label;
    Clock::time_point nextDrawing;
    std::uint32_t asked = 0;
    bool isShown = false;
};

} // namespace Ambrel::Tool
