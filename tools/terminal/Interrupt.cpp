#include "terminal/Interrupt.h"

#include "terminal/Console.h"
#include "terminal/Temporaries.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <string_view>
#include <system_error>
#include <thread>

#include <poll.h>
#include <unistd.h>

namespace Ambrel::Tool {

namespace {

constexpr long grace = 150'000'000; // nanoseconds between the signal and the end by force

/// What asks a program to end.
constexpr int endingSignals[] = {SIGINT,  SIGTERM, SIGHUP,  SIGQUIT,   SIGALRM,
                                 SIGXCPU, SIGUSR1, SIGUSR2, SIGVTALRM, SIGPROF};
constexpr int exitCode = 130;

std::atomic<bool> interrupted{false};

/// The signals that end the process; those that it was started to ignore (a background job, nohup)
/// are not among them.
sigset_t SignalsToWatch() {
    sigset_t signals;
    sigemptyset(&signals);
    for (int const number : endingSignals) {
        struct sigaction before = {};
        sigaction(number, nullptr, &before);
        if (before.sa_handler != SIG_IGN) {
            sigaddset(&signals, number);
        }
    }
    return signals;
}

void WaitFor(sigset_t const& signals) {
    int number = 0;
    while (sigwait(&signals, &number) != 0) {
    }
}

/// Returns when time is up or the user insists.
void WaitForMainThread(sigset_t const& signals) {
    timespec const time = {0, grace};
    while (sigtimedwait(&signals, nullptr, &time) < 0 && errno == EINTR) {
    }
}

void SayStopped() {
    constexpr std::string_view text = "ambrel-shp: stopped\n";
    pollfd error = {STDERR_FILENO, POLLOUT, 0};
    if (::poll(&error, 1, 0) == 1) { // nobody may be reading
        [[maybe_unused]] ssize_t const written = ::write(STDERR_FILENO, text.data(), text.size());
    }
}

/// The main thread may be anywhere: in a read or a write that waits for others, in a long
/// calculation of a library. Where it does not end by itself soon, this does.
void Watch(sigset_t const& signals) {
    WaitFor(signals);
    SetInterrupted(true);
    WaitForMainThread(signals);
    Temporaries::RemoveAllForGood();
    SayStopped();
    ::_exit(exitCode);
}

} // namespace

void CatchInterrupts() noexcept {
    // A closed pipe, and a file that may not grow any more, are found by the write that fails.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    sigset_t const signals = SignalsToWatch();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    try {
        std::thread(Watch, signals).detach();
    } catch (std::system_error const&) { // then they end the process as they always do
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }
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
