#include "DbfSupport.h"
#include "ShpReader/format/Findings.h"

#include <sys/stat.h>

namespace Ambrel::Test {
namespace {

constexpr char openOperation[] = "BDbfFile::Open";

using TableOpening = TableTest;

/// Ten records of six bytes behind a header of 65.
TableBuilder TenRecords() {
    TableBuilder table;
    table.Field("NAME", 'C', 5);
    for (int i = 0; i < 10; ++i) {
        table.Row({"row" + std::to_string(i)});
    }
    return table;
}

TEST_F(TableOpening, TypesFollowLetterDecimalsAndWidth) {
    Column const columns[] = {
        {'D', 8, 0, VAR_DATE},        {'d', 3, 0, VAR_DATE},       {'F', 9, 0, VAR_DOUBLE},
        {'f', 9, 2, VAR_DOUBLE},      {'L', 1, 0, VAR_BOOLEAN},    {'l', 2, 0, VAR_BOOLEAN},
        {'N', 9, 0, VAR_INTEGER},     {'N', 10, 0, VAR_INTEGER64}, {'n', 9, 0, VAR_INTEGER},
        {'n', 255, 0, VAR_INTEGER64}, {'N', 0, 0, VAR_INTEGER},    {'N', 4, 2, VAR_DOUBLE},
        {'n', 12, 255, VAR_DOUBLE},   {'C', 255, 0, VAR_STRING},   {'c', 1, 3, VAR_STRING},
        {'M', 10, 0, VAR_STRING},     {'I', 4, 0, VAR_STRING},     {'T', 8, 0, VAR_STRING},
        {'\0', 1, 0, VAR_STRING},     {'\xFF', 1, 0, VAR_STRING}};
    TableBuilder builder;
    for (Column const& column : columns) {
        builder.Field("F", column.letter, column.width, column.decimals);
    }
    Open(builder);
    ASSERT_EQ(table->GetSchema().GetCount(), std::size(columns));
    for (std::size_t i = 0; i < std::size(columns); ++i) {
        auto const& [letter, width, decimals, type] = columns[i];
        BAttributeDef const& field = table->GetSchema().GetAt(i);
        EXPECT_EQ(field.GetType(), type) << letter << int(width);
        EXPECT_EQ(field.width, width);
        EXPECT_EQ(field.decimals, decimals);
        EXPECT_EQ(field.isDate, type == VAR_DATE);
    }
}

TEST_F(TableOpening, HeaderLengthSaysHowManyDescriptorsThereAre) {
    TableBuilder builder = TableBuilder().Field("ELEVENBYTES", 'C', 3).Field("", 'L', 1);
    builder.Row({"abc", "T"});
    for (auto const& [terminator, warnings] : {std::pair{Bytes(), 0U},
                                               {Bytes{0x0D}, 0U},
                                               {Bytes{0x41}, 0U},
                                               {Bytes{0x0D, 0}, 1U},
                                               {Bytes(31), 1U}}) {
        LogCapture const log;
        Open(builder.Terminator(terminator));
        EXPECT_EQ(NamesOf(table->GetSchema()), (Texts{"ELEVENBYTES", ""}));
        EXPECT_EQ(Read(0), (Texts{"text abc", "true"}));
        EXPECT_EQ(log.Count(LOG_WARNING, "DBF-File: Header length is not valid."), warnings);
    }
}

TEST_F(TableOpening, SchemaIsReadAgainAndHasTheDescriptorsThatTheFileHolds) {
    LogCapture log;
    Open(TableBuilder().Field("NAME", 'C', 5).Field("SECOND", 'N', 5).Row({"name", "1"}));
    EXPECT_EQ(log.Lines(),
              (LogLines{{LOG_PROGRESS, "DBF-File: Opening DBF file <" + file.string() + ">"},
                        {LOG_PROGRESS, "DBF-File: Reading schema..."}}));
    table->ReadSchema();
    EXPECT_EQ(NamesOf(table->GetSchema()), (Texts{"NAME", "SECOND"}));
    std::filesystem::resize_file(file, 32 + 32 + 31);
    table->ReadSchema();
    EXPECT_EQ(NamesOf(table->GetSchema()), Texts{"NAME"});
    EXPECT_EQ(Read(0), Texts{"text "});
}

TEST_F(TableOpening, BadHeadersAreRefused) {
    std::pair<TableBuilder, char const*> const cases[] = {
        {TenRecords().RecordLength(0), "header length=65, record length=0"},
        {TenRecords().HeaderLength(31), "header length=31, record length=6"},
        {TenRecords().Cut(0), "header length=0, record length=0"},
        {TenRecords().Cut(31), "header length=65, record length=6"},
    };
    BString const message = BString::Format("%s is not a valid DBF file.", path.Ascii());
    for (auto const& [builder, lengths] : cases) {
        LogCapture const log;
        EXPECT_BEXCEPTION(Open(builder, false), BFileContentNotValidException, openOperation,
                          message);
        EXPECT_EQ(log.TextsOf(LOG_FATAL),
                  Texts{std::string("DBF-Reader: Header contains invalid values, ") + lengths});
    }
    EXPECT_BEXCEPTION(table->GetAttributeRecordCount(), BNotOpenException,
                      "BDbfFile::GetAttributeRecordCount", NamingFile("File="));
}

TEST_F(TableOpening, SizeDecidesWhetherRecordsAreRead) {
    std::tuple<char const*, TableBuilder, bool> const cases[] = {
        {"as stated", TenRecords(), true},
        {"no end byte", TenRecords().End({}), true},
        {"deletion flag not counted", TenRecords().RecordLength(5), true},
        {"neither", TenRecords().RecordLength(5).End({}), true},
        // 10 + 2^31 records of six bytes are ten records more than 3 * 2^32 bytes.
        {"size beyond 32 bits", TenRecords().RecordCount(0x8000000A), true},
        {"a byte more", TenRecords().End({0x1A, 0}), false},
        {"a byte less", TenRecords().Cut(65 + 10 * 6 - 1), false},
        {"a record less", TenRecords().RecordCount(11), false},
    };
    std::string const size =
        "DBF-Reader: DBF file is not valid.  File size does not match computed data size.";
    std::string const records = "DBF-Reader: Data records are missing or corrupt.";
    std::string const defaults = "DBF-Reader: Feature attributes contain default values.";
    for (auto const& [what, builder, isSound] : cases) {
        SCOPED_TRACE(what);
        LogCapture const log;
        Open(builder, false);
        EXPECT_EQ(Read(3), Texts{isSound ? "text row3" : "text "});
        if (isSound) {
            EXPECT_NO_THROW(Reopen());
            EXPECT_EQ(log.TextsOf(LOG_WARNING), Texts());
            continue;
        }
        EXPECT_BEXCEPTION(Reopen(), BFileContentNotValidException, openOperation,
                          BString::Format("%s is not a valid DBF file.", path.Ascii()));
        EXPECT_EQ(log.TextsOf(LOG_WARNING), (Texts{size, records, defaults, size, records}));
    }
}

TEST_F(TableOpening, WhatIsFoundNamesItsFile) {
    using Entry = std::tuple<FindingCode, std::string, std::vector<BLogValue>>;
    std::vector<Entry> entries;
    LogCapture const log(LOG_WARNING);
    BLogger::Instance()->SetEntrySink([&](BLogEntry const& entry) {
        entries.emplace_back(FindingCode{entry.code}, entry.file,
                             std::vector<BLogValue>(entry.values.begin(), entry.values.end()));
    });
    EXPECT_THROW(Open(TenRecords().RecordLength(0)), BException);
    Open(TenRecords().Terminator({0x0D, 0}).RecordCount(11), false);
    Open(TenRecords().RecordCount(11), {.salvage = true}, false);
    BLogger::Instance()->SetEntrySink({});
    std::string const name = file.string();
    EXPECT_EQ(entries, (std::vector<Entry>{{FindingCode::TableHeaderNotValid, name, {65, 0}},
                                           {FindingCode::TableSizeMismatch, name, {}},
                                           {FindingCode::TableRecordsMissing, name, {}},
                                           {FindingCode::TableDefaultValues, name, {}},
                                           {FindingCode::TableHeaderLengthOdd, name, {}},
                                           {FindingCode::TableSalvaged, name, {10, 11}}}));
}

TEST_F(TableOpening, FieldsThatNobodyWantsAreNotRead) {
    TableBuilder builder = TableBuilder().Field("A", 'N', 3).Field("B", 'C', 4).Field("C", 'C', 2);
    builder.Field("B", 'L', 1).Row({"1", "two", "3", "T"});
    using Names = std::vector<std::string>;
    std::pair<Names, Texts> const cases[] = {
        {{"C", "A"}, {"integer 1", "text 3"}}, // in the order of the table
        {{"B", "missing"}, {"text two", "true"}},
        {{}, {}},
    };
    for (auto const& [names, values] : cases) {
        Open(builder, {.fields = names});
        EXPECT_EQ(table->GetSchema().GetCount(), values.size());
        EXPECT_EQ(Read(0), values);
        EXPECT_EQ(Read(0, false), values);
        LogCapture const log;
        Open(builder.RecordCount(2), {.salvage = true, .fields = names}, false);
        EXPECT_EQ(Read(1), Texts(values.size(), "null"));
        builder.RecordCount(1);
    }
}

TEST_F(TableOpening, LongestRecordGrowsWithoutWrapping) {
    TableBuilder builder = TableBuilder().Field("TEXT", 'C', 3).RecordLength(65535);
    builder.RawRow(ByteList().Text(" one").Fill(65532)).RawRow(ByteList().Text(" two").Fill(65532));
    Open(builder);
    EXPECT_EQ(Read(1), Texts{"text two"});
}

TEST_F(TableOpening, OnlyRegularFilesAreOpened) {
    EXPECT_BEXCEPTION(Reopen(), BFileNotFoundException, openOperation, path);
    try {
        Reopen();
    } catch (BException const& failure) {
        EXPECT_EQ(failure.GetReason(), ENOENT);
    }
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    for (int const mode : {BDbfFile::readMode, BDbfFile::writeMode}) {
        EXPECT_BEXCEPTION(BDbfFile().Open(path, mode, true), BFileNotFoundException, openOperation,
                          path);
    }
}

TEST_F(TableOpening, OperationsAskForTheModeTheyNeed) {
    auto const refuse = [&](BString const& message, char const* operation, auto action) {
        EXPECT_BEXCEPTION(action(), BNotOpenException, operation, message);
    };
    refuse("File=", "BDbfFile::ReadSchema", [&] { table->ReadSchema(); });
    refuse("File=", "BDbfFile::ReadAttributeRecord", [&] { Read(0); });
    refuse("File=", "BDbfFile::Read", [&] { table->Read(0); });
    Open(TenRecords());
    refuse(NamingFile("File="), "BDbfFile::Write", [&] { table->Write(); });
    refuse(NamingFile("File="), "BDbfFile::PrepareForWriting",
           [&] { table->PrepareForWriting({}); });
    EXPECT_BEXCEPTION(table->Open(path, 1, true), BAlreadyOpenException, openOperation, path);
    table->Close();
    EXPECT_EQ(Read(9), Texts{"text row9"});
}

} // namespace
} // namespace Ambrel::Test
