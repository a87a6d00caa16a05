#include "source/RecordList.h"
#include "terminal/Console.h"

#include <gtest/gtest.h>

namespace Ambrel::Test {
namespace {

std::string TextOf(Tool::RecordList const& list) {
    std::string text;
    for (auto const& [first, last] : list.Ranges()) {
        text += std::to_string(first) + "-" + std::to_string(last) + " ";
    }
    return text;
}

TEST(RecordList, IsASetHoweverItIsWritten) {
    std::pair<char const*, char const*> const cases[] = {
        {"18,40-43", "18-18 40-43 "},
        {"40-43, 18", "18-18 40-43 "},
        {"5\n6\n7\r\n9\n", "5-7 9-9 "},
        {"[3,\n4,\n1]\n", "1-1 3-4 "},
        {"1-9,3,2-12,13", "1-13 "},
        {"7,7,7", "7-7 "},
        {"[]\n", ""},
    };
    for (auto const& [text, expected] : cases) {
        EXPECT_EQ(TextOf(Tool::RecordList::Parse(text)), expected) << text;
    }
    Tool::RecordList const list = Tool::RecordList::Parse("18,40-43");
    for (std::uint64_t record = 0; record < 50; ++record) {
        EXPECT_EQ(list.Contains(record), record == 18 || (record >= 40 && record <= 43)) << record;
    }
}

TEST(RecordList, RefusesWhatIsNoRecord) {
    for (char const* const text : {"", "x", "1-", "-1", "5-3", "1.5", "1;2", "1-2-3",
                                   "99999999999999999999", "18446744073709551615", "0x10", "+1"}) {
        EXPECT_THROW(Tool::RecordList::FromOption(text), Tool::UsageException) << text;
    }
}

} // namespace
} // namespace Ambrel::Test
