#include "ShpReader/writing/OutputFile.h"

#include "Ambrel/BFileUtilities.h"
#include "ShpReader/Report.h"

namespace Ambrel {

namespace {

/// Bytes that are handed to the system at once.
constexpr std::size_t pieceSize = 1U << 17;

} // namespace

void WriteFailures::Add(BString const& path) noexcept {
    if (!hasAny) {
        hasAny = true;
        firstPath = path;
        Report({.code = code, .file = path.Ascii()});
    }
}

OutputFile::OutputFile(BString const& pathOfFile, std::shared_ptr<WriteFailures> failuresOfGroup,
                       BString const& reportedPath)
    : path(pathOfFile), reportedAs(reportedPath.IsEmpty() ? pathOfFile : reportedPath),
      failures(std::move(failuresOfGroup)), handle(MakeQString(pathOfFile)) {}

bool OutputFile::Open() {
    hasBeenOpened = BFileUtilities::MayBeWritten(path) &&
                    handle.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    return hasBeenOpened;
}

void OutputFile::Append(void const* bytes, std::size_t count) {
    if (hasFailed) {
        return;
    }
    auto const* const start = static_cast<char const*>(bytes);
    if (pending.size() + count > pieceSize) {
        Flush();
        if (count > pieceSize) {
            Store(start, count);
            return;
        }
        pending.reserve(pieceSize);
    }
    pending.insert(pending.end(), start, start + count);
}

bool OutputFile::Flush() {
    Store(pending.data(), pending.size());
    pending.clear();
    return !hasFailed;
}

void OutputFile::Store(char const* bytes, std::size_t count) {
    auto const size = static_cast<qint64>(count);
    if (!hasFailed && count > 0 && handle.write(bytes, size) != size) {
        Fail();
    }
}

void OutputFile::Replace(std::int64_t position, void const* bytes, std::size_t count) {
    auto const size = static_cast<qint64>(count);
    if (!handle.seek(position) || handle.write(static_cast<char const*>(bytes), size) != size) {
        Fail();
    }
}

void OutputFile::Truncate(std::int64_t size) {
    if (!handle.resize(size)) {
        Fail();
    }
}

void OutputFile::Close() {
    handle.unsetError();
    handle.close();
    if (handle.error() != QFileDevice::NoError) {
        Fail();
    }
}

void OutputFile::Fail() noexcept {
    hasFailed = true;
    failures->Add(reportedAs);
}

} // namespace Ambrel
