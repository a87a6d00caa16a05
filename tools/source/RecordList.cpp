#include "source/RecordList.h"

#include "terminal/Console.h"
#include "terminal/Interrupt.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <limits>

#include <unistd.h>

namespace Ambrel::Tool {

namespace {

constexpr std::string_view separators = ", \t\r\n[]";

[[noreturn]] void Refuse(std::string_view item) {
    constexpr std::size_t longest = 40; // a picture on standard input has no lines
    std::string const shown = OneLine(item.substr(0, longest));
    throw UsageException("--records: \"" + shown +
                         "\" is no record or range of records, such as 18 or 40-43");
}

RecordList::Range ParseRange(std::string_view item) {
    char const* const end = item.data() + item.size();
    RecordList::Range range{};
    auto result = std::from_chars(item.data(), end, range.first);
    range.last = range.first;
    if (result.ec == std::errc() && result.ptr != end && *result.ptr == '-') {
        result = std::from_chars(result.ptr + 1, end, range.last);
    }
    // The end of a range is counted on from.
    bool const isPossible =
        range.first <= range.last && range.last < std::numeric_limits<std::uint64_t>::max();
    if (result.ec != std::errc() || result.ptr != end || !isPossible) {
        Refuse(item);
    }
    return range;
}

std::string ReadStandardInput() {
    std::string text;
    std::array<char, 65536> piece{};
    while (true) {
        ThrowIfInterrupted();
        ssize_t const size = ::read(STDIN_FILENO, piece.data(), piece.size());
        if (size == 0) {
            return text;
        }
        if (size > 0) {
            text.append(piece.data(), static_cast<std::size_t>(size));
        } else if (errno != EINTR) {
            throw UsageException("--records: standard input cannot be read");
        }
    }
}

} // namespace

RecordList RecordList::FromOption(std::string const& text) {
    if (text == "-") {
        return Parse(ReadStandardInput());
    }
    RecordList const list = Parse(text);
    if (list.IsEmpty()) { // on standard input it is a selection that found nothing
        Refuse(text);
    }
    return list;
}

RecordList RecordList::Parse(std::string_view text) {
    RecordList list;
    while (true) {
        text.remove_prefix(std::min(text.find_first_not_of(separators), text.size()));
        if (text.empty()) {
            list.Join();
            return list;
        }
        std::string_view const item = text.substr(0, text.find_first_of(separators));
        Range const range = ParseRange(item);
        if (!list.ranges.empty() && list.ranges.back().last + 1 == range.first) {
            list.ranges.back().last = range.last; // a selection is mostly runs
        } else {
            list.ranges.push_back(range);
        }
        text.remove_prefix(item.size());
    }
}

void RecordList::Join() {
    std::sort(ranges.begin(), ranges.end(),
              [](Range const& a, Range const& b) { return a.first < b.first; });
    std::vector<Range> joined;
    for (Range const& range : ranges) {
        if (!joined.empty() && range.first <= joined.back().last + 1) {
            joined.back().last = std::max(joined.back().last, range.last);
        } else {
            joined.push_back(range);
        }
    }
    ranges = std::move(joined);
}

bool RecordList::Contains(std::uint64_t record) const noexcept {
    auto const behind = std::upper_bound(
        ranges.begin(), ranges.end(), record,
        [](std::uint64_t value, Range const& range) { return value < range.first; });
    return behind != ranges.begin() && record <= std::prev(behind)->last;
}

void RecordList::Keep(std::vector<std::uint64_t>& records) const {
    std::erase_if(records, [this](std::uint64_t record) { return !Contains(record); });
}

void RecordList::RequireWithin(std::uint64_t recordCount) const {
    if (!ranges.empty() && ranges.back().last >= recordCount) {
        throw UsageException("--records: there is no record " + std::to_string(ranges.back().last) +
                             " among " + std::to_string(recordCount) + ", counted from 0");
    }
}

} // namespace Ambrel::Tool
