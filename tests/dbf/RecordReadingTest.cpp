#include "DbfSupport.h"

#include <QTextCodec>

#include <thread>

namespace Ambrel::Test {
namespace {

using namespace std::string_literals;

/// What the table of every type does not meet: single fields, and what dates and texts keep.
TEST(FieldConversion, TakesTheFieldsBytesAlone) {
    std::tuple<EVariantType, std::string, std::int32_t, std::int32_t, std::string> const cases[] = {
        {VAR_INTEGER64, "91234567890129", 1, 12, "long 123456789012"},
        {VAR_BOOLEAN, "TF?T", 1, 2, "false"},
        {VAR_DATE, "2 2021-02 1", 1, 8, "date 2021-02"},
        {VAR_DATE, " \t       ", 1, 8, "date \t"},
        {VAR_DATE, " 00000000 ", 0, 10, "null"},
        {VAR_DATE, " 0000000", 1, 7, "date 0000000"},
        {VAR_DATE, "1\0       "s, 1, 8, "null"},
        {VAR_STRING, " \tab\t ", 1, 5, "text \tab\t"},
        {VAR_STRING, " S\xE3o", 1, 3, "text S\xC3\xA3o"},
        // Bytes past the record's end are no text.
        {VAR_STRING, " abc", 2, 255, "text bc"},
        {VAR_STRING, " abc", 4, 1, "text "},
        {VAR_STRING, " abc", 5000, 1, "text "},
    };
    for (auto const& [type, record, offset, width, value] : cases) {
        BAttribute attribute;
        BDbfFile::DbfField2Attribute(record, Field("name", type, width), offset, attribute);
        EXPECT_STREQ(attribute.GetName().Ascii(), "name");
        EXPECT_EQ(TextOf(attribute.GetValue()), value) << "record <" << record << ">";
    }
}

class RecordReading : public TableTest {
protected:
    /// Fields of every type; the first one says which row it is.
    static TableBuilder Rows(int count) {
        TableBuilder builder;
        builder.Field("NUMBER", 'N', 9).Field("TEXT", 'C', 8).Field("DATE", 'D', 8);
        builder.Field("FLAG", 'L', 1).Field("BIG", 'N', 12).Field("REAL", 'F', 9, 2);
        for (int i = 0; i < count; ++i) {
            builder.Row({std::to_string(i), "\xC3\xA3", "20210315", "T", "1", "0.5"});
        }
        return builder;
    }

    static Texts Row(std::uint32_t index) {
        std::string const number = "integer " + std::to_string(index);
        return {number, "text \xC3\xA3", "date 20210315", "true", "long 1", "real 0x1p-1"};
    }

    Texts const defaults{"integer 0", "text ", "date 00000000", "false", "long 0", "real 0x0p+0"};
};

TEST_F(RecordReading, ValuesAreAppendedAndDefaultsReplaceTheList) {
    Open(Rows(1));
    BAttributes attributes;
    attributes.Add("BEFORE", BVariant(1));
    table->ReadAttributeRecord(0, attributes, true);
    EXPECT_EQ(attributes.GetCount(), 7U);
    LogCapture const log;
    Open(Rows(3).End({0x1A, 0}), false);
    table->ReadAttributeRecord(0, attributes, true);
    EXPECT_EQ(TextsOf(attributes), defaults);
    EXPECT_STREQ(attributes.GetAt(5).GetName().Ascii(), "REAL");
    for (std::uint32_t const index : {3U, 0xFFFFFFFFU}) {
        EXPECT_BEXCEPTION(Read(index), BIndexOutOfBoundsException, "BDbfFile::ReadAttributeRecord",
                          BString::Format("SHP/DBF data mismatch (Index=%u, NumRecords=3)", index));
    }
}

TEST_F(RecordReading, RecordsThatTheFileLostHaveDefaultValues) {
    Open(Rows(8));
    Read(0);
    Read(1);
    std::filesystem::resize_file(file, table->GetHeader().GetRecordPosition(6) - 1);
    for (bool const useOwnHandle : {true, false}) {
        EXPECT_EQ(Read(4, useOwnHandle), Row(4));
        LogCapture const log;
        EXPECT_EQ(Read(5, useOwnHandle), defaults);
        EXPECT_EQ(Read(7, useOwnHandle), defaults);
        std::string const reason =
            " is missing or incomplete: default values used. File=" + file.string();
        EXPECT_EQ(log.TextsOf(LOG_WARNING),
                  (Texts{"DBF-Reader: Record 5" + reason, "DBF-Reader: Record 7" + reason}));
    }
    std::filesystem::remove(file);
    for (bool const useOwnHandle : {true, false}) {
        EXPECT_EQ(Read(0, useOwnHandle), Row(0)) << "read as it was opened";
    }
}

/// Every third whole read goes as fast as the first.
TEST_F(RecordReading, RecordsAreReadAgainAndAgainInAnyOrder) {
    Open(Rows(3000));
    for (int round = 0; round < 4; ++round) {
        for (std::uint32_t index = 0; index < 3000; ++index) {
            ASSERT_EQ(Read(index)[0], Row(index)[0]);
        }
        for (std::uint32_t index = 2999; index > 0; index /= 2) {
            ASSERT_EQ(Read(index), Row(index));
        }
    }
}

TEST_F(RecordReading, FieldsWithoutAValueAreNullWhereThatIsAskedFor) {
    struct {
        char letter;
        std::uint8_t decimals;
        std::string cell;
        char const* value; ///< as the format's rules have it
        bool isMissing;
    } const cases[] = {
        {'N', 0, "", "integer 0", true},      {'N', 0, "\0\0 \0"s, "integer 0", true},
        {'N', 0, "****", "integer 0", true},  {'N', 0, " *", "integer 0", true},
        {'N', 0, "0", "integer 0", false},    {'N', 0, "?", "integer 0", false},
        {'N', 0, "\0*"s, "integer 0", false}, {'N', 0, "0*", "integer 0", false},
        {'n', 1, "", "real 0x0p+0", true},    {'F', 0, "*", "real 0x0p+0", true},
        {'F', 0, "x", "real 0x0p+0", false},  {'L', 0, "", "false", true},
        {'L', 0, "?", "false", true},         {'L', 0, " ?", "false", true},
        {'L', 0, "F", "false", false},        {'L', 0, "*", "false", false},
        {'C', 0, "", "text ", false},         {'C', 0, "?", "text ?", false},
        {'D', 0, "", "null", true},
    };
    TableBuilder builder;
    Texts cells;
    for (auto const& c : cases) {
        builder.Field("F", c.letter, 4, c.decimals);
        cells.push_back(c.cell);
    }
    builder.Field("WIDE", 'N', 20).Row(cells);
    for (bool const isAsked : {false, true}) {
        Open(builder, {.missingAsNull = isAsked});
        Texts const values = Read(0);
        for (std::size_t i = 0; i < cells.size(); ++i) {
            bool const isNull = isAsked && cases[i].isMissing;
            EXPECT_EQ(values[i], isNull ? "null" : cases[i].value) << i;
        }
        EXPECT_EQ(values.back(), isAsked ? "null" : "long 0");
        EXPECT_EQ(Read(0, false), values);
    }
}

TEST_F(RecordReading, RowsThatAreMarkedAsDeletedAreKnown) {
    for (std::uint8_t const width : {8, 80}) { // short rows, and long ones of 40 such fields
        TableBuilder builder;
        for (int i = 0; i < (width == 80 ? 40 : 1); ++i) {
            builder.Field("F", 'C', width);
        }
        std::size_t const length = width == 80 ? 3200 : 8;
        for (std::uint32_t i = 0; i < 100; ++i) {
            builder.RawRow(ByteList().Byte(i % 7 == 2 ? '*' : ' ').Fill(length, '*'));
        }
        Open(builder);
        std::vector<std::jthread> threads;
        std::array<std::uint32_t, 3> rights{};
        for (std::uint32_t& right : rights) {
            threads.emplace_back([&] {
                for (std::uint32_t i = 0; i < 200; ++i) {
                    std::uint32_t const index = i * 37 % 100;
                    right += table->IsDeleted(index) == (index % 7 == 2);
                }
            });
        }
        threads.clear(); // waits for them
        EXPECT_EQ(rights, (std::array<std::uint32_t, 3>{200, 200, 200}));
        EXPECT_FALSE(table->IsDeleted(100));
        LogCapture const log;
        Open(builder.End({0x1A, 0x1A}), {}, false);
        EXPECT_FALSE(table->IsDeleted(2)) << "there are no rows but of default values";
        Open(builder, {.salvage = true}, false);
        EXPECT_TRUE(table->IsDeleted(2));
    }
}

TEST_F(RecordReading, RowsThatLieWholeInTheFileAreSalvaged) {
    Texts const nulls(6, "null");
    struct {
        char const* what;
        TableBuilder builder;
        std::uint32_t rows; ///< that are there
        std::uint32_t count;
    } const cases[] = {
        {"cut in the last row", Rows(4).Cut(225 + 4 * 48 - 2), 3, 4},
        {"claims more", Rows(4).RecordCount(1000), 4, 1000},
        {"never completed", Rows(4).RecordCount(0), 4, 4},
        {"flag not counted", Rows(4).RecordLength(47).Cut(225 + 3 * 48), 3, 4},
        {"no row at all", Rows(4).Cut(225 + 5), 0, 4},
    };
    for (auto const& [what, builder, rows, count] : cases) {
        SCOPED_TRACE(what);
        LogCapture const log;
        Open(builder, {.salvage = true}, false);
        EXPECT_EQ(table->GetAttributeRecordCount(), count);
        for (bool const useOwnHandle : {true, false}) {
            for (std::uint32_t index = 0; index < std::min(count, 6U); ++index) {
                EXPECT_EQ(Read(index, useOwnHandle), index < rows ? Row(index) : nulls);
            }
        }
        EXPECT_EQ(log.TextsOf(LOG_WARNING),
                  Texts{"DBF-Reader: The table holds " + std::to_string(rows) + " of " +
                        std::to_string(count) +
                        " rows whole; the others are null. File=" + file.string()});
        EXPECT_BEXCEPTION(Open(builder, {.salvage = true}), BFileContentNotValidException,
                          "BDbfFile::Open",
                          BString::Format("%s is not a valid DBF file.", path.Ascii()));
    }
    LogCapture const log;
    Open(Rows(4), {.salvage = true});
    EXPECT_EQ(Read(3), Row(3));
    EXPECT_EQ(log.TextsOf(LOG_WARNING), Texts()) << "a sound table needs no salvage";
}

TEST_F(RecordReading, RecordsBeyondTwoGibibytesAreFound) {
    // 3 GiB in 60,000 records, of which only the last one is written.
    constexpr std::uint32_t count = 60000;
    constexpr std::uint16_t length = 53687;
    TableBuilder builder = TableBuilder().Field("TEXT", 'C', 4).End({});
    builder.RecordCount(count).RecordLength(length).WriteTo(file);
    std::filesystem::resize_file(file, 65 + std::uintmax_t{count} * length);
    std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
    stream.seekp(65 + std::int64_t{count - 1} * length + 1);
    stream << "last" << std::flush;
    Reopen();
    for (bool const useOwnHandle : {true, false}) {
        EXPECT_EQ(Read(count - 1, useOwnHandle), Texts{"text last"});
    }
}

TEST_F(RecordReading, TextsKeepTheCodecThatTheTableWasOpenedWith) {
    QTextCodec const* const latin = QTextCodec::codecForName("ISO-8859-1");
    Open(Rows(3));
    EXPECT_EQ(Read(1), Row(1));
    BString::SetCodec(latin);
    EXPECT_EQ(Read(2), Row(2));
    Reopen();
    BString::SetCodec(nullptr);
    EXPECT_EQ(Read(1)[1], "text \xC3\x83\xC2\xA3");
    EXPECT_EQ(Read(2, false)[1], "text \xC3\x83\xC2\xA3");
}

TEST_F(RecordReading, WholeTableReadStopsAtItsLimitAndAppends) {
    Open(Rows(10));
    BFeatures const& features = table->GetFeatures();
    EXPECT_FALSE(table->Read(3));
    EXPECT_EQ(features.GetCount(), 3U);
    EXPECT_TRUE(table->Read(0));
    EXPECT_TRUE(table->Read(10));
    EXPECT_EQ(features.GetCount(), 23U);
    EXPECT_EQ(TextsOf(features.GetAt(22)->attributes), Row(9));
    table->Close();
    EXPECT_EQ(features.GetCount(), 0U);
}

TEST_F(RecordReading, WholeTableReadIsBoundedByTheFile) {
    LogCapture const log;
    Open(Rows(2).RecordCount(0xFFFFFFFF), false);
    EXPECT_EQ(table->GetAttributeRecordCount(), 0xFFFFFFFFU);
    EXPECT_FALSE(table->Read(0)) << "the end of what it claims is not reached";
    EXPECT_EQ(table->GetFeatures().GetCount(), std::filesystem::file_size(file));
}

TEST_F(RecordReading, TableWithoutFieldsHasEmptyRecords) {
    Open(TableBuilder().RawRow({' '}).Terminator({}));
    EXPECT_EQ(Read(0), Texts());
    EXPECT_TRUE(table->Read(-1));
    EXPECT_EQ(table->GetFeatures().GetCount(), 1U);
}

} // namespace
} // namespace Ambrel::Test
