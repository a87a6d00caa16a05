#pragma once

#include <string>

/// Files and folders that go with the process, whatever ends it but SIGKILL or a crash. Functions
/// may be called from any thread.
namespace Ambrel::Tool::Temporaries {

/// A new file, open for writing; `path` ends in XXXXXX, which gets letters that make it unique.
/// Returns its descriptor, -1 where it cannot be made (see errno).
int CreateFile(std::string& path);
/// A new folder that the user alone can enter, under TMPDIR or /tmp. Empty where it cannot be made
/// (see errno).
std::string CreateFolder();
/// Gives the file its final name, from where on it is the user's. False where it cannot be (see
/// errno).
bool Publish(std::string const& path, std::string const& finalName);
/// Removes a file or a folder with all that is in it.
void Remove(std::string const& path) noexcept;
/// Removes whatever is left.
void RemoveAll() noexcept;
/// The same, just before the process ends: nothing can be made behind it, and whoever tries waits.
void RemoveAllForGood() noexcept;

} // namespace Ambrel::Tool::Temporaries
