#include "terminal/Interrupt.h"

#include "terminal/Console.h"

#include <atomic>
#include <csignal>

namespace Ambrel::Tool {

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

extern "C" void HandleInterrupt(int) {
    interrupted.store(true, std::memory_order_relaxed);
}

} // namespace

void CatchInterrupts() noexcept {
    struct sigaction action = {};
    action.sa_handler = HandleInterrupt;
    // A write to a pipe that nobody reads must end too: no restart.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (int const number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        sigaction(number, nullptr, &before);
        if (before.sa_handler != SIG_IGN) { // a background job and nohup keep what they have
            sigaction(number, &action, nullptr);
        }
    }
    // A closed pipe, and a file that may not grow any more, are found by the write that fails.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool IsInterrupted() noexcept {
    return interrupted.load(std::memory_order_relaxed);
}

void SetInterrupted(bool isInterrupted) noexcept {
    interrupted.store(isInterrupted, std::memory_order_relaxed);
}

void ThrowIfInterrupted() {
    if (IsInterrupted()) {
        throw InterruptedException();
    }
}

} // namespace Ambrel::Tool
