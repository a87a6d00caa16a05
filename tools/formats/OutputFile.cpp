#include "formats/OutputFile.h"

#include "terminal/Temporaries.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
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

/// The descriptor of this process that the path names, -1 for any other path. What it writes to may
/// be a regular file that others write to as well, and is not replaced.
int OwnDescriptor(std::string_view path) {
    if (path == "/dev/stdout") {
        return STDOUT_FILENO;
    }
    if (path == "/dev/stderr") {
        return STDERR_FILENO;
    }
    for (std::string_view const folder : {"/dev/fd/", "/proc/self/fd/"}) {
        int number = -1;
        if (path.starts_with(folder)) {
            path.remove_prefix(folder.size());
            auto const result = std::from_chars(path.data(), path.data() + path.size(), number);
            return result.ptr == path.data() + path.size() ? number : -1;
        }
    }
    return -1;
}

/// What is written is no shapefile, and must not take the place of a part of one.
void RefuseShapefile(std::string const& path) {
    for (char const* const part : {".shp", ".shx", ".dbf", ".prj", ".cpg"}) {
        if (ExtensionOf(path) == part) {
            throw UsageException("--output: " + path + " would be taken for a part of a shapefile");
        }
    }
}

bool IsNoRegularFile(std::string const& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

/// Whether everybody may make files in the folder, as in /tmp.
bool IsShared(std::filesystem::path const& folder) {
    struct stat status = {};
    return ::stat(folder.empty() ? "." : folder.c_str(), &status) == 0 &&
           (status.st_mode & S_IWOTH) != 0;
}

/// A link that somebody else laid in a folder for everybody decides which file is replaced: it has
/// to be the user's, or of who owns the file that it names.
void RefuseForeignLink(std::string const& link) {
    struct stat own = {};
    struct stat target = {};
    if (::lstat(link.c_str(), &own) != 0 || own.st_uid == ::geteuid() ||
        !IsShared(std::filesystem::path(link).parent_path())) {
        return;
    }
    bool const isTargets = ::stat(link.c_str(), &target) == 0 && target.st_uid == own.st_uid;
    if (!isTargets) {
        throw OutputException(link, "the link was made by another user in a folder for everybody");
    }
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
        RefuseForeignLink(path);
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
    if (path == "-") {
        return;
    }
    if (int const own = OwnDescriptor(path); own >= 0) {
        descriptor = ::fcntl(own, F_DUPFD_CLOEXEC, 0);
    } else if (IsNoRegularFile(path)) {
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
    RefuseShapefile(path);
    // Not the file's own name with something behind it, which may be too long.
    std::string name = (std::filesystem::path(path).parent_path() / ".ambrel-shp.XXXXXX").string();
    descriptor = Temporaries::CreateFile(name);
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
        if (!Temporaries::Publish(temporaryPath, path)) {
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
        Temporaries::Remove(temporaryPath);
    }
}

} // namespace Ambrel::Tool
