#include "source/Encoding.h"
#include "ToolRun.h"

#include <QTextCodec>

namespace Ambrel::Test {
namespace {

using Encoding = ToolTest;

TEST_F(Encoding, KnowsTheSpellingsOfTheField) {
    std::tuple<char const*, char const*, std::vector<std::string_view>> const cases[] = {
        {"\xC3\xA9", "é", {"UTF-8\r\n", "utf8", "\xEF\xBB\xBFUTF-8", "65001"}},
        {"\xE9\x80", "é€", {"1252", "ANSI 1252", "cp1252", "Windows-1252\n"}},
        {"\xE9", "é", {"88591", "ISO-8859-1", "ISO88591", "ISO 8859-1 "}},
        {"\xA4", "€", {"8859_15"}},
        {"\xB1", "ą", {"iso-8859-2", "28592"}},
        {"\xC6", "Ж", {"1251"}},
        {"\x82\xB5", "éÁ", {"OEM 850"}},
        {"\xA5", "ą", {"IBM852"}},
        {"\xA4\xA4", "中", {"Big5", "950"}},
        {"\xD6\xD0", "中", {"936", "GBK", "GB18030"}},
        {"\x92\x86", "中", {"932", "Shift_JIS"}},
        {"\xC7\xD1", "한", {"949", "EUC-KR"}},
        {"\xF6", "Ж", {"KOI8-R", "20866"}},
        {"\x8E", "é", {"10000"}},
        {"\xE0", "ą", {"'1257'"}},
        {"A", "no codec", {"", "  ", "nonsense", "99999", "UTF-16", "IBM500"}},
    };
    for (auto const& [bytes, text, names] : cases) {
        for (std::string_view const name : names) {
            QTextCodec const* const codec = Tool::FindCodec(name);
            EXPECT_EQ(codec ? codec->toUnicode(bytes).toStdString() : "no codec", text) << name;
        }
    }
}

TEST_F(Encoding, OptionBeatsCpgBeatsLanguageByteBeatsDefault) {
    struct {
        char const* bytes;
        std::uint8_t language;
        char const* cpg;
        std::string option;
        char const* name;
        char const* complaint = "";
    } const cases[] = {
        {"\xE9", 0x57, "", "", "é"}, // names no code page
        {"\x80", 0x03, "", "", "€"},
        {"\x82", 0x02, "", "", "é"},
        {"\xA5", 0x64, "", "", "ą"},
        {"\x86", 0x65, "", "", "Ж"},
        {"\xD6\xD0", 0x4D, "", "", "中"},
        {"\xC6", 0x02, "1251", "", "Ж"},
        {"\xC6", 0x02, "1251", " --encoding ISO-8859-2", "Ć"},
        {"\xC6", 0x00, "", "", "Æ"}, // what the last file had is forgotten
        {"\xE9", 0x02, "Klingon", "", "é",
         "ambrel-shp: warning: town.shp: the encoding \"Klingon\" is not known; see --encoding\n"},
    };
    for (auto const& c : cases) {
        TableBuilder table;
        table.Field("name", 'C', 4).Row({c.bytes}).Language(c.language);
        Write(ShapefileBuilder(1).Point(1, 2).Table(table).File(".cpg", c.cpg), "town");
        ToolRun const run = RunTool("export town.shp" + c.option);
        EXPECT_EQ(nlohmann::json::parse(run.out)["features"][0]["properties"]["name"], c.name);
        EXPECT_EQ(run.err, c.complaint);
    }
}

} // namespace
} // namespace Ambrel::Test
