#include "crs/ProjContext.h"

#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BInputFile.h"

#include <QDir>

#include <cstdio>
#include <new>

namespace Ambrel {

namespace {

struct OpenFile {
    explicit OpenFile(char const* path) : file(BString::FromUtf8(path)) {}

    BInputFile file;
    std::int64_t position = 0;
};

OpenFile& FileOf(PROJ_FILE_HANDLE* handle) noexcept {
    return *reinterpret_cast<OpenFile*>(handle);
}

bool IsFullPath(char const* path) {
    return QDir::isAbsolutePath(QString::fromUtf8(path));
}

PROJ_FILE_HANDLE* Open(PJ_CONTEXT*, char const* path, PROJ_OPEN_ACCESS access, void*) {
    if (access != PROJ_OPEN_ACCESS_READ_ONLY || !IsFullPath(path)) {
        return nullptr;
    }
    auto opened = std::make_unique<OpenFile>(path);
    return opened->file.IsOpen() ? reinterpret_cast<PROJ_FILE_HANDLE*>(opened.release()) : nullptr;
}

std::size_t Read(PJ_CONTEXT*, PROJ_FILE_HANDLE* handle, void* bytes, std::size_t count, void*) {
    OpenFile& opened = FileOf(handle);
    std::size_t const held = opened.file.Read(opened.position, bytes, count);
    opened.position += static_cast<std::int64_t>(held);
    return held;
}

int Seek(PJ_CONTEXT*, PROJ_FILE_HANDLE* handle, long long offset, int whence, void*) {
    OpenFile& opened = FileOf(handle);
    std::int64_t const origin = whence == SEEK_CUR ? opened.position
                                : whence == SEEK_END
                                    ? static_cast<std::int64_t>(opened.file.GetSize())
                                    : 0;
    opened.position = origin + offset;
    return 1;
}

PROJ_FILE_API const ownFilesOnly = {
    1, // the interface's version
    Open,
    Read,
    [](PJ_CONTEXT*, PROJ_FILE_HANDLE*, void const*, std::size_t, void*) { return std::size_t{0}; },
    Seek,
    [](PJ_CONTEXT*, PROJ_FILE_HANDLE* handle, void*) {
        return static_cast<unsigned long long>(FileOf(handle).position);
    },
    [](PJ_CONTEXT*, PROJ_FILE_HANDLE* handle, void*) { delete &FileOf(handle); },
    [](PJ_CONTEXT*, char const* path, void*) {
        return static_cast<int>(IsFullPath(path) &&
                                BFileUtilities::Exists(BString::FromUtf8(path)));
    },
    [](PJ_CONTEXT*, char const*, void*) { return 0; },              // make a folder
    [](PJ_CONTEXT*, char const*, void*) { return 0; },              // remove
    [](PJ_CONTEXT*, char const*, char const*, void*) { return 0; }, // rename
};

} // namespace

ProjContext MakeProjContext() {
    ProjContext context(proj_context_create());
    if (!context || proj_context_set_fileapi(context.get(), &ownFilesOnly, nullptr) == 0) {
        throw std::bad_alloc();
    }
    proj_log_level(context.get(), PJ_LOG_NONE);
    // A missing database is complained of whatever the level is.
    proj_log_func(context.get(), nullptr, [](void*, int, char const*) {});
    proj_context_set_enable_network(context.get(), 0);
    return context;
}

} // namespace Ambrel
