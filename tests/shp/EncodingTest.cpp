#include "ShpSupport.h"

#include <QTextCodec>

#include <thread>

namespace Ambrel::Test {
namespace {

/// Points whose table says the same in another encoding.
ShapefileBuilder Town(std::string const& field, std::string const& name) {
    TableBuilder table;
    table.Field(field, 'C', 10).Field("DAY", 'D', 8).Field("N", 'N', 3);
    ShapefileBuilder builder(1);
    for (int i = 0; i < 40; ++i) {
        table.Row({name, "20210315", "7"});
        builder.Point(i, i);
    }
    return builder.Table(table);
}

std::unique_ptr<BShpReader> OpenWith(BString const& path, char const* encoding,
                                     BString const& mode = BString()) {
    auto reader = MakeReader(mode);
    reader->Open(path, encoding ? Options({{"ENCODING", BVariant(encoding)}}) : BParamList());
    return reader;
}

/// "name: value" of the first field of a record.
std::string FirstField(BShpReader const& reader, std::uint64_t index) {
    BAttribute const attribute = LayerOf(reader).GetFeatures().GetAt(index)->attributes.GetAt(0);
    return std::string(attribute.GetName().Utf8()) + ": " +
           attribute.GetValue().GetValueAsString("null").Ascii();
}

class Encoding : public testing::Test {
protected:
    ~Encoding() override { BString::SetCodec(nullptr); }

    TemporaryFolder const folder;
    BString const russian = Town("\xCC\xE8\xF0", "\xCC\xE8\xF0").WriteTo(folder, "russian");
    BString const western = Town("\xCC\xE8\xF0", "\xCC\xE8\xF0").WriteTo(folder, "western");
    BString const utf8 = Town("Мир", "Мир").WriteTo(folder, "utf8");
};

TEST_F(Encoding, EveryReaderKeepsItsOwn) {
    for (BString const& mode : {BString(), OPTION_DISK_CACHE, OPTION_DIRECT_ACCESS}) {
        auto const first = OpenWith(russian, "ANSI 1251", mode);
        auto const second = OpenWith(western, "1252\r\n", mode);
        auto const third = OpenWith(utf8, "utf8", mode);
        BString::SetCodec(QTextCodec::codecForName("KOI8-R"));
        for (BShpReader* const reader : {second.get(), first.get(), third.get()}) {
            reader->Read();
        }
        for (std::uint64_t const index : {0, 39, 20}) {
            EXPECT_EQ(FirstField(*first, index), "Мир: Мир");
            EXPECT_EQ(FirstField(*second, index), "Ìèð: Ìèð");
            EXPECT_EQ(FirstField(*third, index), "Мир: Мир");
        }
    }
}

TEST_F(Encoding, ThreadsGetTheTextsOfTheirTable) {
    auto const first = OpenWith(russian, "1251", OPTION_DIRECT_ACCESS);
    auto const second = OpenWith(western, "88591", OPTION_DIRECT_ACCESS);
    std::vector<std::jthread> threads;
    std::array<std::size_t, 3> rights{};
    for (std::size_t& right : rights) {
        threads.emplace_back([&] {
            for (std::uint64_t index = 0; index < 40; ++index) {
                right += FirstField(*first, index) == "Мир: Мир";
                right += FirstField(*second, index) == "Ìèð: Ìèð";
            }
        });
    }
    threads.clear(); // waits for them
    EXPECT_EQ(rights, (std::array<std::size_t, 3>{80, 80, 80}));
}

TEST_F(Encoding, ApplicationsCodecIsTheDefaultOfTablesOpenedAfterIt) {
    EXPECT_EQ(FirstField(*OpenWith(western, nullptr, OPTION_DIRECT_ACCESS), 1), "Ìèð: Ìèð");
    EXPECT_EQ(FirstField(*OpenWith(western, "OEM 850", OPTION_DIRECT_ACCESS), 1), "╠Þ­: ╠Þ­");
    BString::SetCodec(QTextCodec::codecForName("windows-1251"));
    EXPECT_EQ(FirstField(*OpenWith(russian, nullptr, OPTION_DIRECT_ACCESS), 1), "Мир: Мир");
    EXPECT_EQ(FirstField(*OpenWith(western, "1252", OPTION_DIRECT_ACCESS), 1), "Ìèð: Ìèð");
    for (char const* const wide : {"UTF-16LE", "IBM037"}) {
        BString::SetCodec(QTextCodec::codecForName(wide));
        auto const reader = OpenWith(utf8, "", OPTION_DIRECT_ACCESS);
        EXPECT_EQ(LayerOf(*reader).name, BString("utf8"));
        BAttributes const attributes = LayerOf(*reader).GetFeatures().GetAt(2)->attributes;
        EXPECT_STREQ(attributes.GetAt(1).GetValue().GetValueAsString("").Ascii(), "20210315");
        EXPECT_EQ(attributes.GetAt(2).GetValue().GetValueAsInteger(0), 7);
    }
}

TEST_F(Encoding, OptionsThatMakeNoSenseAreRefusedBeforeAnyFileIsTouched) {
    std::pair<char const*, char const*> const cases[] = {
        {"ENCODING", "Klingon"},     {"ENCODING", "UTF-16"},       {"ENCODING", "UTF-32LE"},
        {"ENCODING", "IBM037"},      {"ENCODING", "UTF-7"},        {"ENCODING", "99999"},
        {"ENCODING", "ISO-2022-JP"}, {"MISSING_AS_NULL", "maybe"}, {"SALVAGE", ""},
        {"FIELDS", "NAME"},
    };
    for (auto const& [name, value] : cases) {
        EXPECT_BEXCEPTION(
            MakeReader()->Open(folder.File("missing.shp"), Options({{name, BVariant(value)}})),
            BException, "BShpReader::Open", BString::Format("%s=%s", name, value));
    }
}

} // namespace
} // namespace Ambrel::Test
