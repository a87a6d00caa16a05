#include "ShpReader/dbf/RecordWindow.h"

#include "Ambrel/BInputFile.h"
#include "ShpReader/format/DbfFormat.h"

#include <algorithm>

namespace Ambrel {

namespace {

constexpr std::uint32_t maxWindowBytes = 256 * 1024;

} // namespace

std::string_view RecordWindow::Fetch(BInputFile const& file, DbfHeader const& header,
                                     std::uint32_t index) {
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
            file.Read(header.GetRecordPosition(index), buffer.data(), count * recordLength);
        first = index;
        lastCount = count;
        wholeCount = static_cast<std::uint32_t>(held / recordLength);
        if (wholeCount == 0) {
            return {buffer.data(), held};
        }
    }
    return {buffer.data() + (index - first) * recordLength, recordLength};
}

} // namespace Ambrel
