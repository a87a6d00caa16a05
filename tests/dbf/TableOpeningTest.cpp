#include "Expectations.h"
#include "LogCapture.h"
#include "ShpReader/dbf/BDbfFile.h"
#include "TableBuilder.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <functional>

namespace Ambrel::Test {
namespace {

constexpr char openOperation[] = "BDbfFile::Open";

class TableOpening : public testing::Test {
protected:
    BString Write(TableBuilder const& table) {
        table.WriteTo(folder.Path() / "t.dbf");
        return folder.File("t.dbf");
    }

    TemporaryFolder folder;
};

/// Ten records of six bytes behind a header of 65.
TableBuilder TenRecords() {
    TableBuilder table;
    table.Field("NAME", 'C', 5);
    for (int i = 0; i < 10; ++i) {
        table.Row({"row" + std::to_string(i)});
    }
    return table;
}

std::vector<std::string> Names(BAttributeDefs const& schema) {
    std::vector<std::string> names;
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        names.emplace_back(schema.GetAt(i).name.Ascii());
    }
    return names;
}

std::string FirstText(BDbfFile& table, std::uint32_t index) {
    BAttributes attributes;
    table.ReadAttributeRecord(index, attributes, true);
    return attributes.GetAt(0).GetValue().GetValueAsString("null").Ascii();
}

TEST_F(TableOpening, TypesFollowLetterDecimalsAndWidth) {
    struct Case {
        char letter;
        std::uint8_t width;
        std::uint8_t decimals;
        EVariantType type;
    };
    Case const cases[] = {
        {'D', 8, 0, VAR_DATE},        {'d', 3, 0, VAR_DATE},       {'F', 9, 0, VAR_DOUBLE},
        {'f', 9, 2, VAR_DOUBLE},      {'L', 1, 0, VAR_BOOLEAN},    {'l', 2, 0, VAR_BOOLEAN},
        {'N', 9, 0, VAR_INTEGER},     {'N', 10, 0, VAR_INTEGER64}, {'n', 9, 0, VAR_INTEGER},
        {'n', 255, 0, VAR_INTEGER64}, {'N', 0, 0, VAR_INTEGER},    {'N', 4, 2, VAR_DOUBLE},
        {'n', 12, 255, VAR_DOUBLE},   {'C', 255, 0, VAR_STRING},   {'c', 1, 3, VAR_STRING},
        {'M', 10, 0, VAR_STRING},     {'I', 4, 0, VAR_STRING},     {'T', 8, 0, VAR_STRING},
        {'\0', 1, 0, VAR_STRING},     {'\xFF', 1, 0, VAR_STRING}};
    TableBuilder builder;
    for (Case const& each : cases) {
        builder.Field("F", each.letter, each.width, each.decimals);
    }
    BDbfFile table;
    table.Open(Write(builder), 1, true);
    ASSERT_EQ(table.GetSchema().GetCount(), std::size(cases));
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        BAttributeDef const& field = table.GetSchema().GetAt(i);
        EXPECT_EQ(field.GetType(), cases[i].type) << cases[i].letter << int(cases[i].width);
        EXPECT_EQ(field.width, cases[i].width);
        EXPECT_EQ(field.decimals, cases[i].decimals);
        EXPECT_EQ(field.isDate, cases[i].type == VAR_DATE);
    }
}

TEST_F(TableOpening, HeaderLengthSaysHowManyDescriptorsThereAre) {
    struct Case {
        Bytes terminator;
        bool isRegular;
    };
    for (Case const& each :
         {Case{{}, true}, Case{{0x0D}, true}, Case{{0x41}, true}, Case{{0x0D, 0}, false},
          Case{{0x0D, 0, 0, 0, 0}, false}, Case{Bytes(31, 0), false}}) {
        LogCapture log;
        BDbfFile table;
        table.Open(Write(TableBuilder()
                             .Field("ELEVENBYTES", 'C', 3)
                             .Field("B", 'N', 4)
                             .Field("", 'L', 1)
                             .Row({"abc", "42", "T"})
                             .Terminator(each.terminator)),
                   1, true);
        EXPECT_EQ(Names(table.GetSchema()), (std::vector<std::string>{"ELEVENBYTES", "B", ""}));
        EXPECT_EQ(FirstText(table, 0), "abc");
        EXPECT_EQ(log.TextsOf(LOG_WARNING),
                  each.isRegular
                      ? std::vector<std::string>()
                      : std::vector<std::string>{"DBF-File: Header length is not valid."});
    }
}

TEST_F(TableOpening, SchemaIsReadAgainAndHasTheDescriptorsThatTheFileHolds) {
    LogCapture log;
    BDbfFile table;
    BString const path =
        Write(TableBuilder().Field("NAME", 'C', 5).Field("SECOND", 'N', 5).Row({"name", "1"}));
    table.Open(path, 1, true);
    EXPECT_EQ(log.Lines(),
              (std::vector<LogLine>{
                  {LOG_PROGRESS, std::string("DBF-File: Opening DBF file <") + path.Ascii() + ">"},
                  {LOG_PROGRESS, "DBF-File: Reading schema..."}}));
    table.ReadSchema();
    EXPECT_EQ(Names(table.GetSchema()), (std::vector<std::string>{"NAME", "SECOND"}));
    std::filesystem::resize_file(folder.Path() / "t.dbf", 32 + 32 + 31);
    table.ReadSchema();
    EXPECT_EQ(Names(table.GetSchema()), std::vector<std::string>{"NAME"});
    EXPECT_EQ(FirstText(table, 0), "");
}

TEST_F(TableOpening, BadHeadersAreRefused) {
    struct Case {
        std::function<void(TableBuilder&)> damage;
        int headerLength;
        int recordLength;
    };
    std::vector<Case> const cases = {
        {[](TableBuilder& table) { table.RecordLength(0); }, 65, 0},
        {[](TableBuilder& table) { table.HeaderLength(31); }, 31, 6},
        {[](TableBuilder& table) { table.Cut(0); }, 0, 0},
        {[](TableBuilder& table) { table.Cut(9); }, 65, 0},
        {[](TableBuilder& table) { table.Cut(31); }, 65, 6},
    };
    for (Case const& each : cases) {
        TableBuilder builder = TenRecords();
        each.damage(builder);
        BString const path = Write(builder);
        LogCapture log;
        BDbfFile table;
        EXPECT_BEXCEPTION(table.Open(path, 1, false), BFileContentNotValidException, openOperation,
                          BString::Format("%s is not a valid DBF file.", path.Ascii()));
        std::string const line = "DBF-Reader: Header contains invalid values, header length=" +
                                 std::to_string(each.headerLength) +
                                 ", record length=" + std::to_string(each.recordLength);
        EXPECT_EQ(log.TextsOf(LOG_FATAL), std::vector<std::string>{line});
        EXPECT_BEXCEPTION(table.GetAttributeRecordCount(), BNotOpenException,
                          "BDbfFile::GetAttributeRecordCount",
                          BString::Format("File=%s", path.Ascii()));
    }
}

TEST_F(TableOpening, SizeDecidesHowRecordsAreRead) {
    enum Outcome { AsIs, Longer, Defaults };
    struct Case {
        std::function<void(TableBuilder&)> change;
        Outcome outcome;
    };
    std::vector<Case> const cases = {
        {[](TableBuilder&) {}, AsIs},
        {[](TableBuilder& table) { table.EndMark(false); }, AsIs},
        {[](TableBuilder& table) { table.RecordLength(5); }, Longer},
        {[](TableBuilder& table) { table.RecordLength(5).EndMark(false); }, Longer},
        {[](TableBuilder& table) { table.Tail({0}); }, Defaults},
        {[](TableBuilder& table) { table.Cut(65 + 9 * 6); }, Defaults},
        {[](TableBuilder& table) { table.Cut(65 + 10 * 6 - 1); }, Defaults},
        {[](TableBuilder& table) { table.RecordCount(11); }, Defaults},
        // 10 + 2^31 records of six bytes are ten records more than 3 * 2^32 bytes.
        {[](TableBuilder& table) { table.RecordCount(0x8000000A); }, AsIs},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        TableBuilder builder = TenRecords();
        cases[i].change(builder);
        BString const path = Write(builder);
        LogCapture log(LOG_WARNING);
        BDbfFile table;
        table.Open(path, 1, false);
        EXPECT_EQ(FirstText(table, 3), cases[i].outcome == Defaults ? "" : "row3");
        std::vector<std::string> const mismatch = {
            "DBF-Reader: DBF file is not valid.  File size does not match computed data size.",
            "DBF-Reader: Data records are missing or corrupt.",
            "DBF-Reader: Feature attributes contain default values."};
        EXPECT_EQ(log.TextsOf(LOG_WARNING),
                  cases[i].outcome == Defaults ? mismatch : std::vector<std::string>());
        log.Clear();
        BDbfFile strictTable;
        if (cases[i].outcome == Defaults) {
            EXPECT_BEXCEPTION(strictTable.Open(path, 1, true), BFileContentNotValidException,
                              openOperation,
                              BString::Format("%s is not a valid DBF file.", path.Ascii()));
            EXPECT_EQ(log.TextsOf(LOG_WARNING),
                      std::vector<std::string>(mismatch.begin(), mismatch.end() - 1));
        } else {
            EXPECT_NO_THROW(strictTable.Open(path, 1, true));
        }
    }
}

TEST_F(TableOpening, LongestRecordGrowsWithoutWrapping) {
    TableBuilder builder;
    builder.Field("TEXT", 'C', 3);
    for (char const* const text : {"one", "two"}) {
        Bytes row(65536, ' ');
        std::copy_n(text, 3, row.begin() + 1);
        builder.RawRow(row);
    }
    BDbfFile table;
    table.Open(Write(builder.RecordLength(65535).RecordCount(2)), 1, true);
    EXPECT_EQ(FirstText(table, 1), "two");
}

TEST_F(TableOpening, OnlyRegularFilesAreOpened) {
    std::filesystem::create_directory(folder.Path() / "folder.dbf");
    ASSERT_EQ(mkfifo((folder.Path() / "pipe.dbf").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", folder.Path() / "device.dbf");
    for (std::string const name : {"missing.dbf", "folder.dbf", "pipe.dbf", "device.dbf"}) {
        BString const path = folder.File(name);
        BDbfFile table;
        EXPECT_BEXCEPTION(table.Open(path, 1, false), BFileNotFoundException, openOperation, path);
        if (name != "missing.dbf") {
            BDbfFile written;
            EXPECT_BEXCEPTION(written.Open(path, 2, true), BFileNotFoundException, openOperation,
                              path);
        }
    }
}

TEST_F(TableOpening, OperationsAskForTheModeTheyNeed) {
    BDbfFile fresh;
    BAttributes attributes;
    EXPECT_BEXCEPTION(fresh.ReadSchema(), BNotOpenException, "BDbfFile::ReadSchema", "File=");
    EXPECT_BEXCEPTION(fresh.ReadAttributeRecord(0, attributes, true), BNotOpenException,
                      "BDbfFile::ReadAttributeRecord", "File=");
    EXPECT_BEXCEPTION(fresh.Read(0), BNotOpenException, "BDbfFile::Read", "File=");
    EXPECT_BEXCEPTION(fresh.Write(), BNotOpenException, "BDbfFile::Write", "File=");

    BString const path = Write(TenRecords());
    BString const message = BString::Format("File=%s", path.Ascii());
    BDbfFile table;
    table.Open(path, 1, true);
    EXPECT_BEXCEPTION(table.Write(), BNotOpenException, "BDbfFile::Write", message);
    EXPECT_BEXCEPTION(table.PrepareForWriting(BAttributeDefs()), BNotOpenException,
                      "BDbfFile::PrepareForWriting", message);
    EXPECT_BEXCEPTION(table.Open(path, 1, true), BAlreadyOpenException, openOperation, path);
    table.Close();
    EXPECT_EQ(FirstText(table, 9), "row9");
}

} // namespace
} // namespace Ambrel::Test
