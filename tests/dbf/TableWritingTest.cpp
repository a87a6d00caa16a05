#include "DbfSupport.h"
#include "FileSizeLimit.h"

#include <QDate>

#include <clocale>

namespace Ambrel::Test {
namespace {

using namespace std::string_literals;

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
std::string FieldText(BVariant const& value, BAttributeDef const& field, std::uint16_t length) {
    std::string record(length + 1U, '!');
    BDbfFile::Attributes2DbfRecord(record.data(), length, Attributes(value), Schema(field));
    EXPECT_EQ(record.front(), ' ');
    EXPECT_EQ(record.back(), '!');
    return record.substr(1, length - 1U);
}

std::string FieldText(BVariant const& value, BAttributeDef const& field) {
    return FieldText(value, field, static_cast<std::uint16_t>(1 + field.width));
}

TEST(FieldFormatting, ValuesFollowTheirFieldsRules) {
    std::int32_t const integers[] = {7, 8};
    double const doubles[] = {1.5, 2.5};
    BString const texts[] = {"ab", "cd"};
    std::string const wide(300, 'x');
    std::tuple<BVariant, EVariantType, std::int32_t, std::int32_t, std::string> const cases[] = {
        {42, VAR_INTEGER, 5, 0, "   42"},
        {123456, VAR_INTEGER, 4, 0, "1234"},
        {{}, VAR_INTEGER, 2, 0, " 0"},
        {-5, VAR_BYTE, 3, 0, " -5"},
        {200, VAR_UNSIGNED_BYTE, 4, 0, " 200"},
        {-300, VAR_SHORT, 5, 0, " -300"},
        {65535, VAR_UNSIGNED_SHORT, 5, 0, "65535"},
        {4294967295.0, VAR_UNSIGNED_INTEGER, 3, 0, " -1"},
        {std::int64_t{-9000000000}, VAR_INTEGER64, 12, 0, " -9000000000"},
        {"18446744073709551615", VAR_UNSIGNED_INTEGER64, 3, 0, " -1"},
        {3.14159, VAR_DOUBLE, 8, 2, "    3.14"},
        {-0.5, VAR_DOUBLE, 4, 0, "  -0"},
        {2.5, VAR_DOUBLE, 9, -1, " 2.500000"},
        {1e300, VAR_DOUBLE, 9, 3000, "100000000"},
        {0.1, VAR_DOUBLE, 60, 3000, "0.1000000000000000055511151231257827021181583404541015625000"},
        {HUGE_VAL, VAR_DOUBLE, 5, 2, "  inf"},
        {0.1, VAR_FLOAT, 12, 10, "0.1000000015"},
        {"abc", VAR_STRING, 6, 0, "abc   "},
        {wide.c_str(), VAR_STRING, 300, 0, wide.substr(0, 254) + std::string(46, ' ')},
        {"aa\xC3\xA4", VAR_STRING, 3, 0, "aa\xC3"},
        {{}, VAR_STRING, 2, 0, "  "},
        {"2021-03-15", VAR_DATE, 10, 0, "2021-03-  "},
        {"\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4", VAR_DATE, 9, 0,
         "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4 "},
        {"20210315", VAR_DATE, 0, 0, ""},
        {{}, VAR_DATE, 8, 0, "00000000"},
        {true, VAR_BOOLEAN, 1, 0, "T"},
        {false, VAR_BOOLEAN, 3, 0, "F  "},
        {BVariant(integers, 2), VAR_INTEGER_LIST, 4, 0, "7   "},
        {BVariant(integers, 0), VAR_INTEGER_LIST, 4, 0, "    "},
        {BVariant(doubles, 2), VAR_DOUBLE_LIST, 6, 2, "  1.50"},
        {BVariant(doubles, 0), VAR_DOUBLE_LIST, 6, 2, "      "},
        {BVariant(texts, 2), VAR_STRING_LIST, 4, 0, "ab  "},
        {BVariant(texts, 0), VAR_STRING_LIST, 4, 0, "    "},
    };
    for (auto const& [value, type, width, decimals, text] : cases) {
        EXPECT_EQ(FieldText(value, Field("F", type, width, decimals)), text) << "type " << type;
    }
}

TEST(FieldFormatting, WhatCanNotBeWrittenIsRefused) {
    char const* const build = "BDbfFile::Attributes2DbfRecord";
    char const* const copy = "BDbfFile::CopyAttrData";
    for (auto const& [type, width, operation, message] :
         {std::tuple{VAR_NONE, 1, build, "Type=0"},
          {EVariantType(14), 1, build, "Type=14"},
          {VAR_INTEGER, 0, copy, "Writing data, Width=0"},
          {VAR_STRING, 0, copy, "Writing data, Width=0"},
          {VAR_DATE, -1, copy, "Writing data, Width=-1"},
          {VAR_INTEGER, 5, build, "Field=F, beyond the record"}}) {
        EXPECT_BEXCEPTION(FieldText(1, Field("F", type, width), 5), BAttributeDataException,
                          operation, message);
    }
    char record[4];
    EXPECT_BEXCEPTION(BDbfFile::Attributes2DbfRecord(record, 4, Attributes(1), BAttributeDefs()),
                      BAttributeDataException, build, "Attributes=1, Fields=0");
    EXPECT_BEXCEPTION(BDbfFile::CopyAttrData(record, "x", 0), BAttributeDataException, copy,
                      "Writing data, Width=0");
}

class TableWriting : public TableTest {
protected:
    TableWriting() { table->Open(path, BDbfFile::writeMode, true); }
};

TEST_F(TableWriting, LayoutIsCompleteAndRefusedRecordsLeaveNothing) {
    QDate const today = QDate::currentDate();
    std::string const wide(300, 'x');
    BString const notPrepared = NamingFile("Not prepared, File=");
    EXPECT_BEXCEPTION(table->WriteAttributeRecord(BAttributes()), BAttributeDataException,
                      "BDbfFile::WriteAttributeRecord", notPrepared);
    table->PrepareForWriting(
        Schema(Field("NAME", VAR_STRING, 300), Field("REAL", VAR_DOUBLE, 8, 2)));
    table->WriteAttributeRecord(Attributes(wide.c_str(), 3.14159));
    EXPECT_THROW(table->WriteAttributeRecord(Attributes("b", 2, 3)), BAttributeDataException);
    table->WriteAttributeRecord(Attributes("c"));
    table->WriteAttributeRecord(BAttributes());
    EXPECT_EQ(table->GetRecordsWritten(), 3U);
    table->Close();
    table->Close();
    EXPECT_BEXCEPTION(table->WriteAttributeRecord(BAttributes()), BAttributeDataException,
                      "BDbfFile::WriteAttributeRecord", notPrepared);

    std::string expected = "\x03"s;
    expected += {static_cast<char>(today.year() - 1900), static_cast<char>(today.month()),
                 static_cast<char>(today.day())};
    expected += "\x03\0\0\0"s + "\x61\0"s + "\x07\x01"s + std::string(20, '\0');
    expected += "NAME\0\0\0\0\0\0\0C\0\0\0\0\xFE\0"s + std::string(14, '\0');
    expected += "REAL\0\0\0\0\0\0\0N\0\0\0\0\x08\x02"s + std::string(14, '\0') + "\r";
    expected += " " + wide.substr(0, 254) + "    3.14";
    expected += " c" + std::string(253 + 8, ' ') + std::string(263, ' ') + "\x1A";
    Bytes const bytes = ReadFile(file);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), expected);
}

TEST_F(TableWriting, FeaturesInMemoryAreReadBackAsWritten) {
    table->PrepareForWriting(Schema(Field("A", VAR_SHORT, 6), Field("B", VAR_INTEGER, 11),
                                    Field("C", VAR_INTEGER64, 20), Field("D", VAR_DOUBLE, 20, 6),
                                    Field("E", VAR_FLOAT, 10), Field("F", VAR_STRING, 9),
                                    Field("G", VAR_DATE, 8), Field("H", VAR_BOOLEAN, 1)));
    BSharedPtr<BFeature> const feature(new BFeature);
    feature->attributes = Attributes(-300, 1234567890, std::int64_t{-9000000000000000000}, -1.5,
                                     16.0, "S\xC3\xA3o", "20210315", true);
    table->GetFeatures().Add(BSharedPtr<BFeature>(new BFeature));
    table->GetFeatures().Add(feature);
    table->Write();
    Reopen();
    EXPECT_EQ(Read(1),
              (Texts{"integer -300", "long 1234567890", "long -9000000000000000000",
                     "real -0x1.8p+0", "real 0x1p+4", "text S\xC3\xA3o", "date 20210315", "true"}));
}

TEST_F(TableWriting, LongNamesAreCutAtACharacterAndStayDistinct) {
    BAttributeDefs schema;
    for (char const* const name :
         {"POPULATION_1990", "POPULATION_2000", "POPULATIO1", "POPULATION_2010",
          "123456789\xC3\xA4", "12345678\xC3\xA4", "SAME", "SAME"}) {
        schema.Add(Field(name, VAR_INTEGER, 1));
    }
    table->PrepareForWriting(schema);
    Reopen();
    EXPECT_EQ(NamesOf(table->GetSchema()),
              (Texts{"POPULATION", "POPULATIO2", "POPULATIO1", "POPULATIO3", "123456789",
                     "12345678\xC3\xA4", "SAME", "SAME"}));
}

TEST_F(TableWriting, WhatAHeaderCanNotHoldIsRefusedBeforeAnythingIsWritten) {
    auto const refuse = [&](BAttributeDefs const& schema, BString const& message) {
        EXPECT_BEXCEPTION(table->PrepareForWriting(schema), BAttributeDataException,
                          "BDbfFile::PrepareForWriting", message);
    };
    refuse(Schema(Field("A", VAR_INTEGER, 1), Field("B", EVariantType(14), 256)),
           "Field=B, width out of range");
    refuse(Schema(Field("B", VAR_STRING, -1)), "Field=B, width out of range");
    refuse(Schema(Field("B", VAR_DOUBLE, 9, 256)), "Field=B, decimals out of range");
    BAttributeDefs most;
    for (int i = 0; i < 2046; ++i) {
        most.Add(Field("MANY", VAR_INTEGER, i < 258 ? 254 : 0));
    }
    most.GetAt(258).width = 2;
    BAttributeDefs tooMany = most;
    tooMany.Add(Field("LAST", VAR_INTEGER, 0));
    refuse(tooMany, "Field=LAST, too many fields");
    BAttributeDefs tooLong = most;
    tooLong.GetAt(258) = Field("LONG", VAR_INTEGER, 3);
    refuse(tooLong, "Field=LONG, record too long");
    EXPECT_EQ(std::filesystem::file_size(file), 0U);
    EXPECT_NO_THROW(table->PrepareForWriting(most));
    EXPECT_EQ(table->GetHeader().recordLength, 65535U);
    refuse(most, NamingFile("Prepared already, File="));
}

TEST_F(TableWriting, FailedWritesAreReportedOnceAndWhatIsStoredStays) {
    for (rlim_t const limit : {40, 100, 1000, 60000}) {
        SCOPED_TRACE(limit);
        table = std::make_unique<BDbfFile>();
        table->Open(file.c_str(), BDbfFile::writeMode, true);
        LogCapture const log;
        {
            FileSizeLimit const full(limit);
            table->PrepareForWriting(Schema(Field("A", VAR_STRING, 254)));
            for (int i = 0; i < 1000; ++i) {
                table->WriteAttributeRecord(Attributes("text"));
            }
            table->Close();
        }
        EXPECT_EQ(log.TextsOf(LOG_FATAL), Texts{"DBF-File: Writing failed. File=" + file.string()});
        if (limit > 100) { // there is a whole header
            BDbfFile stored;
            stored.Open(file.c_str(), BDbfFile::readMode, true);
            EXPECT_EQ(stored.GetAttributeRecordCount(), (limit - 65) / 255);
        }
    }
}

TEST_F(TableWriting, LocaleChangesNeitherBytesNorValues) {
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8") && !std::setlocale(LC_ALL, "de_DE.utf8") &&
        !std::setlocale(LC_ALL, "de_DE")) {
        GTEST_SKIP() << "no German locale on this machine";
    }
    BAttributeDef const field = Field("F", VAR_DOUBLE, 8, 2);
    EXPECT_EQ(FieldText(1234.5, field), " 1234.50");
    BAttribute attribute;
    BDbfFile::DbfField2Attribute(" 1234.50", field, 0, attribute);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(attribute.GetValue().GetValueAsDouble(0), 1234.5);
}

} // namespace
} // namespace Ambrel::Test
