// What readers of this format meet in the field and must live with.

#include "HostileSupport.h"

namespace Ambrel::Test {

namespace {

TEST(FieldReportTest, FilesFromTheField) {
    ShapefileBuilder const one = ShapefileBuilder(1).Point(1, 2);
    ShapefileBuilder const two = ShapefileBuilder(one).Point(3, 4);
    TableBuilder const table = TableBuilder().Field("a", 'C', 255).Row({"x"}).Row({"y"});
    ByteList const longTerminator = ByteList().Byte(0x0D).Fill(20);
    struct {
        char const* what;
        ShapefileBuilder builder;
        Texts records;
        Texts warnings = {};
    } const reports[] = {
        {"null shape with longer content",
         ShapefileBuilder(1).Raw(ByteList().Little32(0).Fill(36, 0xFF)).Point(3, 4),
         {"none", "point[3 4]"}},
        {"record number", ShapefileBuilder(one).RecordNumber(0), {"point[1 2]"}},
        {"file length", ShapefileBuilder(one).FileLength(-1), {"point[1 2]"}},
        {"bytes behind the records", ShapefileBuilder(one).Junk(Bytes(33)), {"point[1 2]"}},
        {"half an index entry", ShapefileBuilder(two).CutIndex(112), {"point[1 2]"}},
        {"rows without records", ShapefileBuilder(one).Table(table), {"point[1 2]"}},
        {"extra bytes in the table's header",
         ShapefileBuilder(two).Table(TableBuilder(table).Terminator(longTerminator)),
         {"point[1 2]", "point[3 4]"},
         {"DBF-File: Header length is not valid."}},
    };
    for (auto const& report : reports) {
        SCOPED_TRACE(report.what);
        LogCapture const log;
        OpenShapefile const file(report.builder);
        BSharedPtr<BVectorLayer> const layer = MakeLayer();
        EXPECT_EQ(file->Read(layer), 0);
        EXPECT_EQ(TextsOf(layer->GetFeatures()), report.records);
        EXPECT_EQ(log.TextsOf(LOG_WARNING), report.warnings);
    }
}

} // namespace

} // namespace Ambrel::Test
