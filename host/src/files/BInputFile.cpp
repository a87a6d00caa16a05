#include "Ambrel/BInputFile.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>

#if defined(Q_OS_UNIX) && !defined(AMBREL_PORTABLE_FILES)
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#define AMBREL_POSIX_FILES
#endif

namespace Ambrel {

#if defined(AMBREL_POSIX_FILES)

namespace {

constexpr int openFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK; // else a pipe waits for its writer

/// The name is encoded as QFile does. Most are ASCII, which every codec of a file system leaves as
/// it is.
int OpenDescriptor(BString const& path) {
    std::string_view const text = path.Utf8();
    if (text.find('\0') != std::string_view::npos) {
        errno = ENOENT; // The system would take it for the end of the name.
        return -1;
    }
    bool const isAscii = std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
    return isAscii ? open(path.Ascii(), openFlags)
                   : open(QFile::encodeName(MakeQString(path)).constData(), openFlags);
}

/// Its size in bytes; -1 for what is no regular file.
std::int64_t SizeOfFile(int descriptor) noexcept {
    struct stat status {};
    bool const isFile = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? std::int64_t{status.st_size} : -1;
}

} // namespace

// Through QFile, opening, reading once and closing takes twice as long: seven system calls, not
// four.
BInputFile::BInputFile(BString const& path) {
    int const opened = OpenDescriptor(path);
    if (opened < 0) {
        openError = errno;
        return;
    }
    std::int64_t const size = SizeOfFile(opened);
    if (size < 0) {
        close(opened);
        openError = ENOENT;
        return;
    }
    descriptor = opened;
    sizeAtOpen = static_cast<std::uint64_t>(size);
}

BInputFile::~BInputFile() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

bool BInputFile::IsOpen() const noexcept {
    return descriptor >= 0;
}

std::uint64_t BInputFile::GetSize() const {
    return static_cast<std::uint64_t>(std::max(SizeOfFile(descriptor), std::int64_t{0}));
}

std::size_t BInputFile::Read(std::int64_t position, void* destination, std::size_t count) const {
    auto* const bytes = static_cast<char*>(destination);
    std::size_t done = 0;
    while (done < count) {
        ssize_t const held = pread(descriptor, bytes + done, count - done,
                                   position + static_cast<std::int64_t>(done));
        if (held < 0 && errno == EINTR) {
            continue;
        }
        if (held <= 0) {
            break;
        }
        done += static_cast<std::size_t>(held);
    }
    return done;
}

#else

BInputFile::BInputFile(BString const& path) : file(std::make_unique<QFile>(MakeQString(path))) {
    if (QFileInfo(file->fileName()).isFile() &&
        file->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        sizeAtOpen = GetSize();
    } else {
        openError = QFileInfo(file->fileName()).isFile() ? EACCES : ENOENT;
    }
}

BInputFile::~BInputFile() = default;

bool BInputFile::IsOpen() const noexcept {
    return file->isOpen();
}

std::uint64_t BInputFile::GetSize() const {
    std::lock_guard<std::mutex> const guard(lock);
    return file->isOpen() ? static_cast<std::uint64_t>(file->size()) : 0;
}

std::size_t BInputFile::Read(std::int64_t position, void* destination, std::size_t count) const {
    // Seeking and reading belong together, whichever thread does them.
    std::lock_guard<std::mutex> const guard(lock);
    if (position < 0 || (file->pos() != position && !file->seek(position))) {
        return 0;
    }
    qint64 const held = file->read(static_cast<char*>(destination), static_cast<qint64>(count));
    return held > 0 ? static_cast<std::size_t>(held) : 0;
}

#endif

} // namespace Ambrel
