#pragma once

#include "ByteList.h"

#include <Ambrel/BString.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Ambrel::Test {

/// A fresh, empty folder that removes itself and what was put into it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "ambrel-test-XXXXXX").string();
        if (!mkdtemp(name.data())) {
            throw std::runtime_error("no temporary folder: " + name);
        }
        path = name;
    }
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    std::filesystem::path const& Path() const { return path; }
    operator std::filesystem::path const&() const { return path; }
    /// The full path of a name in the folder, whether there is such a file or not.
    BString File(std::string const& name) const {
        return BString::FromUtf8((path / name).string());
    }

private:
    std::filesystem::path path;
};

/// Throws std::ios_base::failure when the file cannot be written.
inline void WriteFile(std::filesystem::path const& path, Bytes const& bytes) {
    std::ofstream file;
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file.open(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<char const*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
}

/// Throws std::ios_base::failure when the file cannot be opened.
inline Bytes ReadFile(std::filesystem::path const& path) {
    std::ifstream file;
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file.open(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

} // namespace Ambrel::Test
