#include "Expectations.h"
#include "LogCapture.h"
#include "ShpReader/dbf/BDbfFile.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QDate>

#include <sys/resource.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <limits>

namespace Ambrel::Test {
namespace {

using namespace std::string_literals;

BAttributeDef Field(BString const& name, EVariantType type, std::int32_t width,
                    std::int32_t decimals = 0) {
    BAttributeDef field;
    field.name = name;
    field.SetType(type);
    field.width = width;
    field.decimals = decimals;
    return field;
}

template <class... Fields>
BAttributeDefs Schema(Fields const&... fields) {
    BAttributeDefs schema;
    (schema.Add(fields), ...);
    return schema;
}

template <class... Values>
BAttributes Attributes(Values const&... values) {
    BAttributes attributes;
    (attributes.Add("any", BVariant(values)), ...);
    return attributes;
}

/// The record without its deletion flag; "!" surrounds what must not be written.
std::string FieldText(BVariant const& value, BAttributeDef const& field, std::uint16_t length = 0) {
    std::uint16_t const recordLength =
        length ? length : static_cast<std::uint16_t>(1 + field.width);
    std::string record(recordLength + 1U, '!');
    BDbfFile::Attributes2DbfRecord(record.data(), recordLength, Attributes(value), Schema(field));
    EXPECT_EQ(record.front(), ' ');
    EXPECT_EQ(record.back(), '!');
    return record.substr(1, recordLength - 1U);
}

BVariant Unsigned(std::uint32_t value) {
    BVariant variant;
    variant.SetValue(value);
    return variant;
}

BVariant Unsigned(std::uint64_t value) {
    BVariant variant;
    variant.SetValue(value);
    return variant;
}

TEST(FieldFormatting, ValuesFollowTheirFieldsRules) {
    std::int32_t const integers[] = {7, 8};
    double const doubles[] = {1.5, 2.5};
    BString const texts[] = {"ab", "cd"};
    struct Case {
        BVariant value;
        BAttributeDef field;
        std::string text;
    };
    Case const cases[] = {
        {42, Field("F", VAR_INTEGER, 5), "   42"},
        {123456, Field("F", VAR_INTEGER, 4), "1234"},
        {"12", Field("F", VAR_INTEGER, 4), "  12"},
        {{}, Field("F", VAR_INTEGER, 2), " 0"},
        {-5, Field("F", VAR_BYTE, 3), " -5"},
        {200, Field("F", VAR_UNSIGNED_BYTE, 4), " 200"},
        {-300, Field("F", VAR_SHORT, 5), " -300"},
        {65535, Field("F", VAR_UNSIGNED_SHORT, 5), "65535"},
        {Unsigned(4294967295U), Field("F", VAR_UNSIGNED_INTEGER, 10), "        -1"},
        {std::int64_t{-9000000000}, Field("F", VAR_INTEGER64, 12), " -9000000000"},
        {Unsigned(~std::uint64_t{0}), Field("F", VAR_UNSIGNED_INTEGER64, 3), " -1"},
        {3.14159, Field("F", VAR_DOUBLE, 8, 2), "    3.14"},
        {-0.5, Field("F", VAR_DOUBLE, 4, 0), "  -0"},
        {1e300, Field("F", VAR_DOUBLE, 4, 2), "1000"},
        {2.5, Field("F", VAR_DOUBLE, 9, -1), " 2.500000"},
        {0.1, Field("F", VAR_FLOAT, 12, 10), "0.1000000015"},
        {"abc", Field("F", VAR_STRING, 6), "abc   "},
        {"abcdef", Field("F", VAR_STRING, 4), "abcd"},
        {"aa\xC3\xA4", Field("F", VAR_STRING, 3), "aa\xC3"},
        {{}, Field("F", VAR_STRING, 2), "  "},
        {"20210315", Field("F", VAR_DATE, 8), "20210315"},
        {"2021-03-15", Field("F", VAR_DATE, 10), "2021-03-  "},
        {"\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4", Field("F", VAR_DATE, 9),
         "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4 "},
        {"20210315", Field("F", VAR_DATE, 4), "2021"},
        {"20210315", Field("F", VAR_DATE, 0), ""},
        {{}, Field("F", VAR_DATE, 8), "00000000"},
        {true, Field("F", VAR_BOOLEAN, 1), "T"},
        {false, Field("F", VAR_BOOLEAN, 3), "F  "},
        {BVariant(integers, 2), Field("F", VAR_INTEGER_LIST, 4), "7   "},
        {BVariant(integers, 0), Field("F", VAR_INTEGER_LIST, 4), "    "},
        {BVariant(doubles, 2), Field("F", VAR_DOUBLE_LIST, 6, 2), "  1.50"},
        {BVariant(doubles, 0), Field("F", VAR_DOUBLE_LIST, 6, 2), "      "},
        {BVariant(texts, 2), Field("F", VAR_STRING_LIST, 4), "ab  "},
        {BVariant(texts, 0), Field("F", VAR_STRING_LIST, 4), "    "},
    };
    for (Case const& each : cases) {
        EXPECT_EQ(FieldText(each.value, each.field), each.text) << "type " << each.field.GetType();
    }
    EXPECT_EQ(FieldText(1e300, Field("F", VAR_DOUBLE, 320, 9)).substr(0, 12), "         100");
}

TEST(FieldFormatting, DoublesAreTheLibrarysToTheLastDigit) {
    for (double const value : {0.1, 123.456, -1e22, 1e-300, 5e-324, 1.7976931348623157e308, 0.5,
                               2.5, std::numeric_limits<double>::infinity()}) {
        for (int const decimals : {0, 1, 15, 255, 1000, 3000}) {
            std::string expected(5000, ' ');
            int const size =
                std::snprintf(expected.data(), expected.size(), "%*.*f", 1500, decimals, value);
            expected.resize(std::min<std::size_t>(static_cast<std::size_t>(size), 1500));
            EXPECT_EQ(FieldText(value, Field("F", VAR_DOUBLE, 1500, decimals)), expected);
        }
    }
}

TEST(FieldFormatting, WideTextMovesTheNextFieldBy254) {
    std::string const longText(300, 'x');
    std::string record(256, '!');
    BDbfFile::Attributes2DbfRecord(record.data(), 256, Attributes(longText.c_str(), 7),
                                   Schema(Field("A", VAR_STRING, 300), Field("B", VAR_INTEGER, 1)));
    EXPECT_EQ(record, " " + longText.substr(0, 254) + "7");
}

TEST(FieldFormatting, WhatCanNotBeWrittenIsRefused) {
    constexpr char build[] = "BDbfFile::Attributes2DbfRecord";
    constexpr char copy[] = "BDbfFile::CopyAttrData";
    for (int const type : {0, 14, 15, 19}) {
        EXPECT_BEXCEPTION(FieldText(1, Field("F", static_cast<EVariantType>(type), 1)),
                          BAttributeDataException, build, BString::Format("Type=%i", type));
    }
    for (EVariantType const type : {VAR_INTEGER, VAR_STRING, VAR_BOOLEAN, VAR_DOUBLE_LIST}) {
        EXPECT_BEXCEPTION(FieldText("x", Field("F", type, 0)), BAttributeDataException, copy,
                          "Writing data, Width=0");
    }
    EXPECT_BEXCEPTION(FieldText(1, Field("F", VAR_INTEGER, 5), 5), BAttributeDataException, build,
                      "Field=F, beyond the record");
    char record[4];
    EXPECT_BEXCEPTION(BDbfFile::Attributes2DbfRecord(record, 4, Attributes(1), BAttributeDefs()),
                      BAttributeDataException, build, "Attributes=1, Fields=0");
    EXPECT_BEXCEPTION(BDbfFile::CopyAttrData(record, "x", 0), BAttributeDataException, copy,
                      "Writing data, Width=0");
}

class TableWriting : public testing::Test {
protected:
    TableWriting() { table.Open(folder.File("t.dbf"), 2, true); }

    std::string Content() {
        Bytes const bytes = ReadFile(folder.Path() / "t.dbf");
        return {bytes.begin(), bytes.end()};
    }

    /// Closes the table and gives it as it reads.
    BAttributeDefs Reopen(BDbfFile& read) {
        table.Close();
        read.Open(folder.File("t.dbf"), 1, true);
        return read.GetSchema();
    }

    TemporaryFolder folder;
    BDbfFile table;
};

TEST_F(TableWriting, LayoutIsComplete) {
    QDate const today = QDate::currentDate();
    table.PrepareForWriting(
        Schema(Field("NAME", VAR_STRING, 300), Field("REAL", VAR_DOUBLE, 8, 2)));
    table.WriteAttributeRecord(Attributes("abc", 3.14159));
    table.WriteAttributeRecord(Attributes("d"));
    table.WriteAttributeRecord(BAttributes());
    table.Close();
    table.Close();

    std::string expected = "\x03"s;
    expected += {static_cast<char>(today.year() - 1900), static_cast<char>(today.month()),
                 static_cast<char>(today.day())};
    expected += "\x03\0\0\0"s + "\x61\0"s + "\x07\x01"s + std::string(20, '\0');
    expected += "NAME\0\0\0\0\0\0\0C\0\0\0\0\xFE\0"s + std::string(14, '\0');
    expected += "REAL\0\0\0\0\0\0\0N\0\0\0\0\x08\x02"s + std::string(14, '\0') + "\r";
    expected += " abc" + std::string(251, ' ') + "    3.14";
    expected += " d" + std::string(253 + 8, ' ') + std::string(263, ' ') + "\x1A";
    EXPECT_EQ(Content(), expected);
    EXPECT_BEXCEPTION(table.WriteAttributeRecord(BAttributes()), BAttributeDataException,
                      "BDbfFile::WriteAttributeRecord",
                      BString::Format("Not prepared, File=%s", folder.File("t.dbf").Ascii()));
}

TEST_F(TableWriting, EveryTypeIsReadBackAsWritten) {
    table.PrepareForWriting(Schema(
        Field("SHORT", VAR_SHORT, 6), Field("INTEGER", VAR_INTEGER, 11),
        Field("INTEGER64", VAR_INTEGER64, 20), Field("REAL", VAR_DOUBLE, 20, 6),
        Field("WHOLE", VAR_FLOAT, 10), Field("TEXT", VAR_STRING, 9), Field("DATE", VAR_DATE, 8),
        Field("FLAG", VAR_BOOLEAN, 1), Field("LIST", VAR_INTEGER_LIST, 5)));
    std::int32_t const list[] = {7, 8};
    table.WriteAttributeRecord(Attributes(-300, 1234567890, std::int64_t{-9000000000000000000},
                                          -1.5, 16.0, "S\xC3\xA3o", "20210315", true,
                                          BVariant(list, 2)));
    BDbfFile read;
    BAttributeDefs const schema = Reopen(read);
    BAttributes attributes;
    read.ReadAttributeRecord(0, attributes, true);
    struct Case {
        EVariantType type;
        char const* text;
    };
    Case const cases[] = {{VAR_INTEGER, "-300"},
                          {VAR_INTEGER64, "1234567890"},
                          {VAR_INTEGER64, "-9000000000000000000"},
                          {VAR_DOUBLE, "-1.5"},
                          {VAR_DOUBLE, "16"},
                          {VAR_STRING, "S\xC3\xA3o"},
                          {VAR_DATE, "20210315"},
                          {VAR_BOOLEAN, "true"},
                          {VAR_INTEGER, "7"}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(schema.GetAt(i).GetType(), cases[i].type) << i;
        EXPECT_STREQ(attributes.GetAt(i).GetValue().GetValueAsString("").Ascii(), cases[i].text);
    }
}

TEST_F(TableWriting, LongNamesAreCutAtACharacterAndStayDistinct) {
    table.PrepareForWriting(Schema(
        Field("POPULATION_1990", VAR_INTEGER, 1), Field("POPULATION_2000", VAR_INTEGER, 1),
        Field("POPULATIO1", VAR_INTEGER, 1), Field("POPULATION_2010", VAR_INTEGER, 1),
        Field("123456789\xC3\xA4", VAR_INTEGER, 1), Field("12345678\xC3\xA4", VAR_INTEGER, 1),
        Field("SAME", VAR_INTEGER, 1), Field("SAME", VAR_INTEGER, 1)));
    BDbfFile read;
    BAttributeDefs const schema = Reopen(read);
    char const* const names[] = {"POPULATION", "POPULATIO2",       "POPULATIO1", "POPULATIO3",
                                 "123456789",  "12345678\xC3\xA4", "SAME",       "SAME"};
    for (std::size_t i = 0; i < std::size(names); ++i) {
        EXPECT_STREQ(schema.GetAt(i).name.Ascii(), names[i]);
    }
}

TEST_F(TableWriting, WhatAHeaderCanNotHoldIsRefusedBeforeAnythingIsWritten) {
    constexpr char operation[] = "BDbfFile::PrepareForWriting";
    auto const refuse = [&](BAttributeDefs const& schema, char const* message) {
        EXPECT_BEXCEPTION(table.PrepareForWriting(schema), BAttributeDataException, operation,
                          message);
    };
    refuse(Schema(Field("A", VAR_INTEGER, 1), Field("B", VAR_INTEGER, 256)),
           "Field=B, width out of range");
    refuse(Schema(Field("B", static_cast<EVariantType>(14), 256)), "Field=B, width out of range");
    refuse(Schema(Field("B", VAR_STRING, -1)), "Field=B, width out of range");
    refuse(Schema(Field("B", VAR_DOUBLE, 9, 256)), "Field=B, decimals out of range");
    BAttributeDefs manyFields;
    BAttributeDefs longRecord;
    for (int i = 0; i < 2046; ++i) {
        manyFields.Add(Field("MANY", VAR_INTEGER, 1));
    }
    for (int i = 0; i < 258; ++i) {
        longRecord.Add(Field("LONG", VAR_STRING, 254));
    }
    longRecord.Add(Field("LAST", VAR_INTEGER, 3));
    refuse(longRecord, "Field=LAST, record too long");
    manyFields.Add(Field("LAST", VAR_INTEGER, 1));
    refuse(manyFields, "Field=LAST, too many fields");
    EXPECT_EQ(Content(), "");
    // One byte, or one field, less is held.
    longRecord.GetAt(258).width = 2;
    EXPECT_NO_THROW(table.PrepareForWriting(longRecord));
    EXPECT_EQ(table.GetHeader().recordLength, 65535U);
    EXPECT_BEXCEPTION(table.PrepareForWriting(longRecord), BAttributeDataException, operation,
                      BString::Format("Prepared already, File=%s", folder.File("t.dbf").Ascii()));
}

TEST_F(TableWriting, RecordThatIsRefusedIsNotWritten) {
    EXPECT_THROW(table.WriteAttributeRecord(BAttributes()), BAttributeDataException);
    // Widths of 0 and unknown types are found when a record is written.
    table.PrepareForWriting(Schema(Field("A", VAR_INTEGER, 2),
                                   Field("B", static_cast<EVariantType>(14), 2),
                                   Field("C", VAR_INTEGER, 0)));
    EXPECT_THROW(table.WriteAttributeRecord(Attributes(1, 2)), BAttributeDataException);
    EXPECT_EQ(table.GetRecordsWritten(), 0U);
    table.WriteAttributeRecord(Attributes(1));
    table.Close();
    EXPECT_EQ(Content().substr(32 + 3 * 32 + 1), "  1  \x1A");
}

TEST_F(TableWriting, FeaturesInMemoryAreWrittenInOrder) {
    table.PrepareForWriting(Schema(Field("A", VAR_INTEGER, 2)));
    for (int const value : {5, 6}) {
        BSharedPtr<BFeature> const feature(new BFeature);
        feature->attributes = Attributes(value);
        table.GetFeatures().Add(feature);
    }
    table.Write();
    table.Close();
    EXPECT_EQ(Content().substr(65), "  5  6\x1A");
    EXPECT_EQ(table.GetFeatures().GetCount(), 0U);
}

TEST_F(TableWriting, FailedWritesAreReportedOnce) {
    rlimit former{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
    auto* const formerHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit const tight{100, former.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    std::vector<std::string> lines;
    {
        LogCapture const log;
        table.PrepareForWriting(Schema(Field("A", VAR_STRING, 254)));
        for (int i = 0; i < 1000; ++i) {
            table.WriteAttributeRecord(Attributes("text"));
        }
        table.Close();
        lines = log.TextsOf(LOG_FATAL);
    }
    setrlimit(RLIMIT_FSIZE, &former);
    std::signal(SIGXFSZ, formerHandler);
    EXPECT_EQ(lines, std::vector<std::string>{std::string("DBF-File: Writing failed. File=") +
                                              folder.File("t.dbf").Ascii()});
}

TEST_F(TableWriting, LocaleChangesNeitherBytesNorValues) {
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8") && !std::setlocale(LC_ALL, "de_DE.utf8") &&
        !std::setlocale(LC_ALL, "de_DE")) {
        GTEST_SKIP() << "no German locale on this machine";
    }
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    EXPECT_EQ(FieldText(1234.5, Field("F", VAR_DOUBLE, 8, 2)), " 1234.50");
    BAttribute attribute;
    BDbfFile::DbfField2Attribute(" 1234.50", Field("F", VAR_DOUBLE, 8, 2), 0, attribute);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(attribute.GetValue().GetValueAsDouble(0), 1234.5);
}

} // namespace
} // namespace Ambrel::Test
