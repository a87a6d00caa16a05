#pragma once

namespace Ambrel::Tool {

/// Lets Ctrl-C, a hang-up and any polite kill end the work. The main thread ends it between two
/// records; where it does not within a sixth of a second, or a second signal comes, the process
/// ends with exit code 130 wherever it is. Temporary files go in both cases. To be called once,
/// before any other thread is there.
void CatchInterrupts() noexcept;

/// Whether the user has asked to stop.
bool IsInterrupted() noexcept;
/// As a signal does; false takes it back.
void SetInterrupted(bool isInterrupted) noexcept;
/// Throws InterruptedException when the user has asked to stop.
void ThrowIfInterrupted();

} // namespace Ambrel::Tool
