#include "terminal/ProgressBar.h"

#include "terminal/Interrupt.h"

#include <algorithm>

namespace Ambrel::Tool {

namespace {

constexpr auto patience = std::chrono::seconds(1);
constexpr auto drawingInterval = std::chrono::milliseconds(100);
constexpr std::uint32_t questionsPerLook = 256; ///< looking at the clock costs more than a record
constexpr std::size_t barWidth = 40;            ///< characters

std::string Draw(std::string const& label, std::uint32_t done, std::uint32_t total) {
    double const share = total == 0 ? 1.0 : std::min(1.0, static_cast<double>(done) / total);
    auto const filled = static_cast<std::size_t>(share * barWidth);
    auto const percent = static_cast<int>(share * 100.0);
    return "\r[" + std::string(filled, '#') + std::string(barWidth - filled, ' ') + "] " +
           std::to_string(percent) + " % " + label + "\033[K";
}

} // namespace

ProgressBar::ProgressBar(Console& newConsole, std::string const& newLabel)
    : console(newConsole), label(OneLine(newLabel)), nextDrawing(Clock::now() + patience) {}

ProgressBar::~ProgressBar() {
    if (isShown) {
        try {
            console.err.Write("\r\033[K");
        } catch (...) { // a terminal that has gone needs no cleaning
        }
    }
}

bool ProgressBar::WantsReport(std::uint32_t, std::uint32_t) {
    if (IsInterrupted()) {
        return true;
    }
    return console.showProgress && ++asked % questionsPerLook == 0 && Clock::now() >= nextDrawing;
}

bool ProgressBar::Report(std::uint32_t done, std::uint32_t total) {
    if (console.showProgress && Clock::now() >= nextDrawing) {
        isShown = true;
        nextDrawing = Clock::now() + drawingInterval;
        console.err.Write(Draw(label, done, total));
    }
    return !IsInterrupted();
}

void ProgressBar::Step(std::uint64_t done, std::uint64_t total) {
    auto const doneNow = static_cast<std::uint32_t>(done);
    auto const inAll = static_cast<std::uint32_t>(total);
    Report(doneNow, inAll);
    ThrowIfInterrupted();
}

} // namespace Ambrel::Tool
