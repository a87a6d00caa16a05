#include "OutputFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ambrel::Tool {

namespace {

/// The permissions that the finished file shall have: those of the file that it replaces, or what
/// any new file gets.
mode_t PermissionsFor(std::string const& path) {
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0) {
        return status.st_mode & 07777;
    }
    mode_t const mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

bool IsNoRegularFile(std::string const& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

/// Links are followed, to where no file is yet too, so that the link stays and its target appears.
std::string Resolve(std::string path) {
    namespace fs = std::filesystem;
    constexpr int mostLinks = 40; // as the system has it
    std::error_code error;
    for (int links = 0; fs::is_symlink(path, error); ++links) {
        if (links == mostLinks) {
            throw OutputException(path, ELOOP);
        }
        path = (fs::path(path).parent_path() / fs::read_symlink(path)).string();
    }
    return path;
}

} // namespace

std::string ExtensionOf(std::string const& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return extension;
}

OutputFile::OutputFile(Console& console, std::string newPath)
    : path(std::move(newPath)), sink(&console.out) {
    buffer.reserve(pieceSize + pieceSize / 4);
    if (path.empty() || path == "-") {
        return;
    }
    if (IsNoRegularFile(path)) {
        descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    } else {
        OpenTemporary();
    }
    if (descriptor < 0) {
        throw OutputException(path, errno);
    }
    sink = &fileSink.emplace(descriptor, path);
}

OutputFile::~OutputFile() {
    Discard();
}

void OutputFile::OpenTemporary() {
    path = Resolve(path);
    std::string name = path + ".XXXXXX";
    descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor >= 0) {
        temporaryPath = name;
        ::fchmod(descriptor, PermissionsFor(path));
    }
}

void OutputFile::Append(std::string_view bytes) {
    buffer += bytes;
    FlushIfFull();
}

void OutputFile::Flush() {
    sink->Write(buffer);
    buffer.clear();
}

void OutputFile::Commit() {
    Flush();
    if (descriptor < 0) {
        return;
    }
    // A full disk may show itself only here.
    if (::close(std::exchange(descriptor, -1)) != 0) {
        throw OutputException(path, errno);
    }
    if (!temporaryPath.empty()) {
        if (::rename(temporaryPath.c_str(), path.c_str()) != 0) {
            throw OutputException(path, errno);
        }
        temporaryPath.clear();
    }
}

void OutputFile::Discard() noexcept {
    if (descriptor >= 0) {
        ::close(descriptor);
    }
    if (!temporaryPath.empty()) {
        ::unlink(temporaryPath.c_str());
    }
}

} // namespace Ambrel::Tool
