#include "ToolRun.h"

#include <gtest/gtest.h>

namespace Ambrel::Test {
namespace {

class Check : public testing::Test {
protected:
    ToolRun Run(ShapefileBuilder const& builder) {
        file = Text(builder.WriteTo(folder, "map"));
        return RunTool({"check", file});
    }

    TemporaryFolder folder;
    std::string file;
};

TEST_F(Check, FindsNothingInASoundFile) {
    ToolRun const run = Run(ShapefileBuilder(1).Point(1, 2).Point(3, 4));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, file + ": 2 records, no problems\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(Check, CountsWhatIsLegalButOdd) {
    ShapefileBuilder builder(13);
    builder.Null().Null().Polyline({{{1, 2}, {3, 4}}}, {5, 6}).MRange(0, 1);
    ToolRun const run = Run(builder);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, file + ": 3 records, no problems, 2 null shapes, 1 without measures\n");
}

TEST_F(Check, NamesExactlyTheDamagedRecords) {
    Parts const line = {{{1, 2}, {3, 4}}};
    ShapefileBuilder builder(3);
    builder.Polyline(line)
        .Polyline(line)
        .CutContent(50)
        .Polyline(line)
        .Raw({31, 0, 0, 0})
        .Polyline(line)
        .IndexLength(40)
        .ContentLength(39)
        .Polyline(line);
    ToolRun const run = Run(builder);
    EXPECT_EQ(run.exitCode, 1);
    std::string const start = file + ": record ";
    EXPECT_EQ(run.out,
              start + "1: is not valid: counts do not fit the content; geometry skipped.\n" +
                  start +
                  "3: BUnknownGeometryException: BShpFile::Read: Multipatch geometry is "
                  "not supported.\n" +
                  start +
                  "4: Record length from index (40) does not match record length from main "
                  "file (39): Possible file corruption.\n" +
                  file + ": 6 records, 3 problems\n");
}

TEST_F(Check, TellsWhatIsWrongWithTheTable) {
    TableBuilder table;
    table.Field("id", 'N', 3).Row({"1"}).Row({"2"}).Tail({0, 0, 0});
    ToolRun const run = Run(ShapefileBuilder(1).Point(1, 2).Point(3, 4).Table(table));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.out.find(file + ": DBF file is not valid."), std::string::npos) << run.out;
}

TEST_F(Check, ReportsAProblemOfTheFileOnce) {
    // A record that throws makes the check open the file once more.
    TableBuilder table;
    table.Field("id", 'N', 3).Row({"1"}).Row({"2"}).Tail({0, 0, 0});
    ToolRun const run = Run(ShapefileBuilder(1).Raw({31, 0, 0, 0}).Point(3, 4).Table(table));
    std::string const line = "File size does not match computed data size.";
    EXPECT_NE(run.out.find(line), std::string::npos) << run.out;
    EXPECT_EQ(run.out.find(line), run.out.rfind(line)) << run.out;
}

TEST_F(Check, SaysTwoWhereAFileCanNotBeRead) {
    ShapefileBuilder(1).Point(1, 2).WriteTo(folder, "a");
    ShapefileBuilder(1).Point(1, 2).WithoutTable().WriteTo(folder, "b");
    ToolRun const run = RunTool({"check", folder.Path().string()});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.out, Text(folder.File("a.shp")) + ": 1 records, no problems\n");
    EXPECT_EQ(run.err, "ambrel-shp: BFileNotFoundException: BShpFile::Open: " +
                           Text(folder.File("b.dbf")) + "\n");
}

} // namespace
} // namespace Ambrel::Test
