#include "Encoding.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <QTextCodec>

namespace Ambrel::Test {
namespace {

/// Whether the name gives a codec that reads the bytes as the text.
testing::AssertionResult Decodes(std::string_view name, char const* bytes, char const* text) {
    QTextCodec const* const codec = Tool::FindCodec(name);
    if (!codec) {
        return testing::AssertionFailure() << "no codec for " << name;
    }
    QByteArray const decoded = codec->toUnicode(bytes).toUtf8();
    return (decoded == text ? testing::AssertionSuccess() : testing::AssertionFailure())
           << name << " gives " << decoded.constData();
}

TEST(Encoding, KnowsTheSpellingsOfTheField) {
    struct {
        std::string_view name;
        char const* bytes;
        char const* text;
    } const cases[] = {
        {"UTF-8\r\n", "\xC3\xA9", "é"},
        {"utf8", "\xC3\xA9", "é"},
        {"\xEF\xBB\xBFUTF-8", "\xC3\xA9", "é"},
        {"65001", "\xC3\xA9", "é"},
        {"1252", "\xE9\x80", "é€"},
        {"ANSI 1252", "\xE9\x80", "é€"},
        {"cp1252", "\xE9\x80", "é€"},
        {"Windows-1252\n", "\xE9\x80", "é€"},
        {"88591", "\xE9", "é"},
        {"ISO-8859-1", "\xE9", "é"},
        {"ISO88591", "\xE9", "é"},
        {"ISO 8859-1 ", "\xE9", "é"},
        {"8859_15", "\xA4", "€"},
        {"iso-8859-2", "\xB1", "ą"},
        {"28592", "\xB1", "ą"},
        {"1251", "\xC6", "Ж"},
        {"OEM 850", "\x82\xB5", "éÁ"},
        {"437", "\x82\xE1", "éß"},
        {"IBM852", "\xA5", "ą"},
        {"cp866", "\x86", "Ж"},
        {"Big5", "\xA4\xA4", "中"},
        {"950", "\xA4\xA4", "中"},
        {"936", "\xD6\xD0", "中"},
        {"GBK", "\xD6\xD0", "中"},
        {"GB18030", "\xD6\xD0", "中"},
        {"932", "\x92\x86", "中"},
        {"Shift_JIS", "\x92\x86", "中"},
        {"949", "\xC7\xD1", "한"},
        {"EUC-KR", "\xC7\xD1", "한"},
        {"KOI8-R", "\xF6", "Ж"},
        {"20866", "\xF6", "Ж"},
        {"10000", "\x8E", "é"},
        {"'1257'", "\xE0", "ą"},
    };
    for (auto const& c : cases) {
        EXPECT_TRUE(Decodes(c.name, c.bytes, c.text));
    }
}

TEST(Encoding, RefusesWhatNoTableIsWrittenIn) {
    for (char const* const name : {"", "  ", "nonsense", "99999", "UTF-16", "IBM500"}) {
        EXPECT_EQ(Tool::FindCodec(name), nullptr) << name;
    }
}

TEST(Encoding, ReadsTheLanguageByte) {
    struct {
        std::uint8_t language;
        char const* bytes;
        char const* text;
    } const cases[] = {{0x01, "\xE1", "ß"}, {0x03, "\x80", "€"},      {0x64, "\xA5", "ą"},
                       {0x65, "\x86", "Ж"}, {0x4D, "\xD6\xD0", "中"}, {0xC9, "\xC6", "Ж"}};
    for (auto const& c : cases) {
        EXPECT_TRUE(Decodes(Tool::NameOfLanguage(c.language), c.bytes, c.text));
    }
    EXPECT_EQ(Tool::NameOfLanguage(0), "");
    EXPECT_EQ(Tool::NameOfLanguage(0x57), "");
}

/// A town whose name is one byte long, as a table in some encoding has it.
class EncodedTown : public testing::Test {
protected:
    std::string NameIn(std::string const& byte, std::uint8_t language, char const* cpg,
                       std::vector<std::string> const& more) const {
        TableBuilder table;
        table.Field("name", 'C', 4).Row({byte}).Language(language);
        ShapefileBuilder builder(1);
        builder.Point(1, 2).Table(table);
        if (cpg) {
            builder.Cpg(cpg);
        }
        std::vector<std::string> arguments = {"export", Text(builder.WriteTo(folder, "town"))};
        arguments.insert(arguments.end(), more.begin(), more.end());
        ToolRun const run = RunTool(arguments);
        warnings = run.err;
        return nlohmann::json::parse(run.out)["features"][0]["properties"]["name"];
    }

    TemporaryFolder folder;
    mutable std::string warnings;
};

TEST_F(EncodedTown, OptionBeatsCpgBeatsLanguageByteBeatsDefault) {
    EXPECT_EQ(NameIn("\xE9", 0, nullptr, {}), "é");
    EXPECT_EQ(NameIn("\x82", 0x02, nullptr, {}), "é");
    EXPECT_EQ(NameIn("\xC6", 0x02, "1251", {}), "Ж");
    EXPECT_EQ(NameIn("\xC6", 0x02, "1251", {"--encoding", "ISO-8859-2"}), "Ć");
    EXPECT_EQ(warnings, "");
}

TEST_F(EncodedTown, UnknownCpgIsAWarningAndTheDefaultIsTaken) {
    EXPECT_EQ(NameIn("\xE9", 0x02, "Klingon", {}), "é");
    EXPECT_EQ(warnings, "ambrel-shp: warning: " + Text(folder.File("town.shp")) +
                            ": the encoding \"Klingon\" is not known; see --encoding\n");
}

TEST_F(EncodedTown, EncodingOfOneFileDoesNotReachTheNext) {
    EXPECT_EQ(NameIn("\xC6", 0, "1251", {}), "Ж");
    std::filesystem::remove(folder.Path() / "town.cpg");
    EXPECT_EQ(NameIn("\xC6", 0, nullptr, {}), "Æ");
}

} // namespace
} // namespace Ambrel::Test
