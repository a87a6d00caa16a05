#include "Ambrel/BInputFile.h"
#include "Expectations.h"
#include "LogCapture.h"
#include "ShpReader/dbf/BDbfFile.h"
#include "TableBuilder.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QTextCodec>

#include <fstream>
#include <thread>

namespace Ambrel::Test {
namespace {

using namespace std::string_literals;

BVariant Date(char const* text) {
    BVariant value{BString(text)};
    value.SetType(VAR_DATE);
    return value;
}

BVariant Text(char const* text) {
    return {BString(text)};
}

void ExpectEqual(BAttribute const& attribute, BVariant const& value) {
    EXPECT_EQ(attribute.GetValue().GetType(), value.GetType());
    EXPECT_TRUE(attribute.GetValue() == value)
        << attribute.GetValue().GetValueAsString("null").Ascii() << " instead of "
        << value.GetValueAsString("null").Ascii();
}

TEST(FieldConversion, ValuesFollowTheirTypesRules) {
    struct Case {
        EVariantType type;
        std::string field;
        BVariant value;
    };
    Case const cases[] = {
        {VAR_INTEGER, "   42", {42}},
        {VAR_INTEGER, "  4.7", {4}},
        {VAR_INTEGER, "*****", {0}},
        {VAR_INTEGER, "     ", {0}},
        {VAR_INTEGER, "12\0 3"s, {12}},
        {VAR_INTEGER64, "123456789012", {std::int64_t{123456789012}}},
        {VAR_DOUBLE, "   -1.25", {-1.25}},
        {VAR_DOUBLE, "1.5E3", {1500.0}},
        {VAR_DOUBLE, "1\0e5"s, {1.0}},
        {VAR_DOUBLE, "        ", {0.0}},
        {VAR_BOOLEAN, "T", {true}},
        {VAR_BOOLEAN, "xT", {true}},
        {VAR_BOOLEAN, "\0y"s, {true}},
        {VAR_BOOLEAN, "1", {true}},
        {VAR_BOOLEAN, "F", {false}},
        {VAR_BOOLEAN, "?", {false}},
        {VAR_BOOLEAN, " ", {false}},
        {VAR_DATE, "20210315", Date("20210315")},
        {VAR_DATE, " 2021-02", Date("2021-02")},
        {VAR_DATE, "\t       ", Date("\t")},
        {VAR_DATE, "00000000", {}},
        {VAR_DATE, " 00000000 ", {}},
        {VAR_DATE, "0000000", Date("0000000")},
        {VAR_DATE, "        ", {}},
        {VAR_DATE, "\0       "s, {}},
        {VAR_DATE, "  ", {}},
        {VAR_STRING, "  abc  ", Text("abc")},
        {VAR_STRING, "       ", Text("")},
        {VAR_STRING, "a b  ", Text("a b")},
        {VAR_STRING, "\tab\t ", Text("\tab\t")},
        {VAR_STRING, "ab  \0"s, Text("ab  ")},
        {VAR_STRING, "ab\0  "s, Text("ab")},
        {VAR_STRING, "  ab\0cd"s, Text("ab")},
        {VAR_STRING, "\0ab"s, Text("")},
        {VAR_STRING, "S\xE3o", Text("S\xC3\xA3o")},
    };
    for (Case const& each : cases) {
        SCOPED_TRACE("field <" + each.field + ">");
        BAttributeDef definition;
        definition.name = "name";
        definition.width = static_cast<std::int32_t>(each.field.size());
        definition.SetType(each.type);
        std::string const record = "*9T" + each.field + "9T";
        BAttribute attribute;
        BDbfFile::DbfField2Attribute(record, definition, 3, attribute);
        EXPECT_STREQ(attribute.GetName().Ascii(), "name");
        ExpectEqual(attribute, each.value);
    }
}

TEST(FieldConversion, BytesPastTheRecordsEndAreNoText) {
    struct Case {
        std::int32_t offset;
        std::int32_t width;
        char const* text;
    };
    for (Case const& each : {Case{1, 3, "abc"}, Case{2, 3, "bc"}, Case{2, 255, "bc"},
                             Case{4, 1, ""}, Case{5000, 1, ""}}) {
        BAttributeDef definition;
        definition.width = each.width;
        BAttribute attribute;
        BDbfFile::DbfField2Attribute(" abc", definition, each.offset, attribute);
        ExpectEqual(attribute, Text(each.text));
    }
}

class RecordReading : public testing::Test {
protected:
    /// Text "row0" …, a number, a date, a truth value and a text with two values.
    TableBuilder Rows(int count) {
        TableBuilder builder;
        builder.Field("TEXT", 'C', 8).Field("NUMBER", 'N', 9).Field("DATE", 'D', 8);
        builder.Field("FLAG", 'L', 1).Field("KIND", 'C', 4).Field("BIG", 'N', 12);
        builder.Field("REAL", 'F', 9, 2);
        for (int i = 0; i < count; ++i) {
            builder.Row({"row" + std::to_string(i), std::to_string(i), "20210315", "T",
                         i % 3 == 0 ? "a" : "\xC3\xA3", "1", "0.5"});
        }
        return builder;
    }

    void Open(TableBuilder const& builder, bool strict = true) {
        builder.WriteTo(folder.Path() / "t.dbf");
        table.Open(folder.File("t.dbf"), 1, strict);
    }

    void ExpectRow(std::uint32_t index, bool useOwnHandle) {
        BAttributes attributes;
        table.ReadAttributeRecord(index, attributes, useOwnHandle);
        ASSERT_EQ(attributes.GetCount(), 7U);
        EXPECT_EQ(attributes.GetAt(0).GetValue().GetValueAsString("").Utf8(),
                  "row" + std::to_string(index));
        ExpectEqual(attributes.GetAt(1), {static_cast<int>(index)});
        ExpectEqual(attributes.GetAt(4), Text(index % 3 == 0 ? "a" : "\xC3\xA3"));
    }

    void ExpectDefaults(BAttributes const& attributes) {
        ASSERT_EQ(attributes.GetCount(), 7U);
        BVariant const values[] = {Text(""),          {0},  Date("00000000"), {false}, Text(""),
                                   {std::int64_t{0}}, {0.0}};
        for (std::size_t i = 0; i < std::size(values); ++i) {
            EXPECT_EQ(attributes.GetAt(i).GetName(), table.GetSchema().GetAt(i).name);
            ExpectEqual(attributes.GetAt(i), values[i]);
        }
    }

    TemporaryFolder folder;
    BDbfFile table;
};

TEST_F(RecordReading, AnyOrderThroughEitherHandleGivesTheSameValues) {
    // Enough for windows of every size; the jumps fall into, beside and far from what was read.
    Open(Rows(20000));
    for (std::uint32_t i = 0; i < 20000; ++i) {
        ExpectRow(i, true);
    }
    for (std::uint32_t const i : {19999U, 0U, 1U, 2U, 3U, 2U, 4U, 5U, 6U, 7U, 100U, 8U, 9U, 100U}) {
        ExpectRow(i, true);
        ExpectRow(i, false);
    }
}

/// Says how much is read through it.
class CountingFile final : public BInputFile {
public:
    using BInputFile::BInputFile;
    mutable std::size_t bytesRead = 0;
    mutable int readCount = 0;

    std::size_t Read(std::int64_t position, void* destination, std::size_t size) const override {
        std::size_t const held = BInputFile::Read(position, destination, size);
        bytesRead += held;
        ++readCount;
        return held;
    }
};

TEST_F(RecordReading, OnlySequentialReadsFetchAhead) {
    constexpr std::uint32_t count = 20000;
    Open(Rows(count));
    DbfHeader const header = table.GetHeader();
    std::size_t const length = header.recordLength;
    CountingFile file(folder.File("t.dbf"));
    ASSERT_TRUE(file.IsOpen());
    RecordWindow window;
    for (std::uint32_t i = 0; i < count; ++i) {
        EXPECT_EQ(window.Fetch(file, header, i).size(), header.recordLength);
    }
    EXPECT_EQ(file.bytesRead, count * length);
    EXPECT_LT(file.readCount, 30);
    file.bytesRead = 0;
    for (std::uint32_t i = 0; i < 1000; ++i) {
        window.Fetch(file, header, i * 7919 % count);
    }
    EXPECT_EQ(file.bytesRead, 1000 * length);
}

TEST_F(RecordReading, PrivateHandlesServeSeveralThreads) {
    Open(Rows(200));
    std::vector<std::thread> threads;
    for (std::uint32_t first = 0; first < 4; ++first) {
        threads.emplace_back([this, first] {
            for (std::uint32_t i = first; i < 200; i += 4) {
                ExpectRow(i, false);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(RecordReading, DeletedRecordsAreReadLikeAnyOther) {
    Open(Rows(2).DeletionFlag('*'));
    ExpectRow(1, true);
    ExpectRow(1, false);
}

TEST_F(RecordReading, ValuesAreAppendedAndDefaultsReplaceTheList) {
    Open(Rows(1));
    BAttributes attributes;
    attributes.Add("BEFORE", BVariant(1));
    table.ReadAttributeRecord(0, attributes, true);
    EXPECT_EQ(attributes.GetCount(), 8U);
    BDbfFile broken;
    Rows(3).Tail({0}).WriteTo(folder.Path() / "broken.dbf");
    LogCapture const log;
    broken.Open(folder.File("broken.dbf"), 1, false);
    broken.ReadAttributeRecord(0, attributes, true);
    ExpectDefaults(attributes);
}

TEST_F(RecordReading, IndexIsCheckedAgainstTheHeaderEvenForDefaultValues) {
    LogCapture const log;
    Open(Rows(3).Tail({0}), false);
    BAttributes attributes;
    for (std::uint32_t const index : {3U, 4U, 0xFFFFFFFFU}) {
        EXPECT_BEXCEPTION(table.ReadAttributeRecord(index, attributes, true),
                          BIndexOutOfBoundsException, "BDbfFile::ReadAttributeRecord",
                          BString::Format("SHP/DBF data mismatch (Index=%u, NumRecords=3)", index));
    }
}

TEST_F(RecordReading, RecordsThatTheFileLostHaveDefaultValues) {
    Open(Rows(8));
    ExpectRow(0, true);
    ExpectRow(1, true);
    auto const length = static_cast<std::uintmax_t>(table.GetHeader().recordLength);
    std::filesystem::resize_file(folder.Path() / "t.dbf",
                                 table.GetHeader().headerLength + 6 * length - 1);
    for (bool const useOwnHandle : {true, false}) {
        ExpectRow(4, useOwnHandle);
        for (std::uint32_t const index : {5U, 7U}) {
            LogCapture const log;
            BAttributes attributes;
            table.ReadAttributeRecord(index, attributes, useOwnHandle);
            ExpectDefaults(attributes);
            EXPECT_EQ(
                log.Count(LOG_WARNING, "DBF-Reader: Record " + std::to_string(index) +
                                           " is missing or incomplete: default values used. File=" +
                                           folder.File("t.dbf").Ascii()),
                1U);
        }
    }
    std::filesystem::remove(folder.Path() / "t.dbf");
    BAttributes attributes;
    EXPECT_BEXCEPTION(table.ReadAttributeRecord(0, attributes, false), BFileNotFoundException,
                      "BDbfFile::ReadAttributeRecord", folder.File("t.dbf"));
    ExpectRow(0, true);
}

TEST_F(RecordReading, RecordsBeyondTwoGibibytesAreFound) {
    // 3 GiB in 60,000 records, of which only the last one is written.
    constexpr std::uint32_t count = 60000;
    constexpr std::uint16_t length = 53687;
    TableBuilder()
        .Field("TEXT", 'C', 4)
        .RecordCount(count)
        .RecordLength(length)
        .EndMark(false)
        .WriteTo(folder.Path() / "t.dbf");
    std::fstream file(folder.Path() / "t.dbf", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(65 + std::int64_t{count - 1} * length + 1);
    file << "last";
    file.close();
    std::filesystem::resize_file(folder.Path() / "t.dbf", 65 + std::uintmax_t{count} * length);
    table.Open(folder.File("t.dbf"), 1, true);
    for (bool const useOwnHandle : {true, false}) {
        BAttributes attributes;
        table.ReadAttributeRecord(count - 1, attributes, useOwnHandle);
        ExpectEqual(attributes.GetAt(0), Text("last"));
    }
}

TEST_F(RecordReading, SharedTextFollowsTheCodec) {
    Open(Rows(3));
    ExpectRow(1, true);
    BString::SetCodec(QTextCodec::codecForName("ISO-8859-1"));
    BAttributes attributes;
    table.ReadAttributeRecord(2, attributes, true);
    BString::SetCodec(nullptr);
    ExpectEqual(attributes.GetAt(4), Text("\xC3\x83\xC2\xA3"));
}

TEST_F(RecordReading, WholeTableReadStopsAtItsLimitAndAppends) {
    Open(Rows(10));
    EXPECT_FALSE(table.Read(3));
    EXPECT_EQ(table.GetFeatures().GetCount(), 3U);
    EXPECT_TRUE(table.Read(0));
    EXPECT_EQ(table.GetFeatures().GetCount(), 13U);
    EXPECT_TRUE(table.Read(10));
    EXPECT_STREQ(
        table.GetFeatures().GetAt(22)->attributes.GetAt(0).GetValue().GetValueAsString("").Ascii(),
        "row9");
    table.Close();
    EXPECT_EQ(table.GetFeatures().GetCount(), 0U);
}

TEST_F(RecordReading, WholeTableReadIsBoundedByTheFile) {
    LogCapture const log;
    Open(Rows(2).RecordCount(0xFFFFFFFF), false);
    EXPECT_EQ(table.GetAttributeRecordCount(), 0xFFFFFFFFU);
    EXPECT_FALSE(table.Read(0)) << "the end of what it claims is not reached";
    EXPECT_EQ(table.GetFeatures().GetCount(), std::filesystem::file_size(folder.Path() / "t.dbf"));
}

TEST_F(RecordReading, TableWithoutFieldsHasEmptyRecords) {
    Open(TableBuilder().RawRow({' '}).Terminator({}));
    BAttributes attributes;
    table.ReadAttributeRecord(0, attributes, true);
    EXPECT_EQ(attributes.GetCount(), 0U);
    EXPECT_TRUE(table.Read(-1));
    EXPECT_EQ(table.GetFeatures().GetCount(), 1U);
}

} // namespace
} // namespace Ambrel::Test
