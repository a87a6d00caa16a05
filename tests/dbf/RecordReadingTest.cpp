#include "DbfSupport.h"

#include <QTextCodec>

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
    EXPECT_BEXCEPTION(Read(0, false), BFileNotFoundException, "BDbfFile::ReadAttributeRecord",
                      path);
    EXPECT_EQ(Read(0), Row(0));
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
