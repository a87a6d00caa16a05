#include "ShpReader/dbf/RecordWindow.h"

#include "ShpReader/dbf/DbfFormat.h"

#include <QFile>

#include <algorithm>

namespace Ambrel {

namespace {

constexpr std::uint32_t maxWindowBytes = 256 * 1024;

/// Reads up to `count` bytes into the buffer; a read that fails gives none.
std::size_t ReadAt(QFile& file, std::int64_t position, char* buffer, std::size_t count) {
    if (!file.seek(position)) {
        return 0;
    }
    return static_cast<std::size_t>(
        std::max<qint64>(0, file.read(buffer, static_cast<qint64>(count))));
}

} // namespace

std::string_view RecordWindow::Fetch(QFile& file, DbfHeader const& header, std::uint32_t index) {
    std::size_t const recordLength = header.recordLength;
    if (index < first || index - first >= wholeCount) {
        bool const isNext = wholeCount != 0 && index == first + wholeCount;
        std::uint32_t const most = std::min(std::max(1U, maxWindowBytes / header.recordLength),
                                            header.recordCount - index);
        std::uint32_t const count = std::min(isNext ? 2 * lastCount : 1, most);
        wholeCount = 0; // until the bytes are there
        if (buffer.size() < count * recordLength) {
            buffer.resize(count * recordLength);
        }
        std::size_t const held =
            ReadAt(file, header.GetRecordPosition(index), buffer.data(), count * recordLength);
        first = index;
        lastCount = count;
        wholeCount = static_cast<std::uint32_t>(held / recordLength);
        if (wholeCount == 0) {
            return {buffer.data(), held};
        }
    }
    return {buffer.data() + (index - first) * recordLength, recordLength};
}

std::string_view ReadRecordBytes(QFile& file, DbfHeader const& header, std::uint32_t index,
                                 std::vector<char>& buffer) {
    return {buffer.data(),
            ReadAt(file, header.GetRecordPosition(index), buffer.data(), buffer.size())};
}

} // namespace Ambrel
