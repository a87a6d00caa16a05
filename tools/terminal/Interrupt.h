#pragma once

namespace Ambrel::Tool {

/// Lets Ctrl-C, a hang-up and a polite kill end the work between two records, so that half-written
/// files and the disk cache go. A second signal ends the process at once.
void CatchInterrupts() noexcept;

/// Whether the user has asked to stop.
bool IsInterrupted() noexcept;
/// As a signal does; false takes it back.
void SetInterrupted(bool isInterrupted) noexcept;
/// Throws InterruptedException when the user has asked to stop.
void ThrowIfInterrupted();

} // namespace Ambrel::Tool
