#pragma once

#include "ByteList.h"

#include <Ambrel/BString.h>

#include <filesystem>
#include <string>

namespace Ambrel::Test {

/// A fresh, empty folder that removes itself and what was put into it.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;
    ~TemporaryFolder();

    std::filesystem::path const& Path() const { return path; }
    operator std::filesystem::path const&() const { return path; }
    /// The full path of a name in the folder, whether there is such a file or not.
    BString File(std::string const& name) const;

private:
    std::filesystem::path path;
};

/// Both throw std::runtime_error when the file can not be written or read whole.
void WriteFile(std::filesystem::path const& path, Bytes const& bytes);
Bytes ReadFile(std::filesystem::path const& path);

} // namespace Ambrel::Test
