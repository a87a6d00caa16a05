// What readers of this format meet in the field and must live with.

#include "HostileSupport.h"

namespace Ambrel::Test {

namespace {

struct Report {
    char const* what;
    ShapefileBuilder builder;
    Texts records;
    Texts warnings = {};
};

TableBuilder LongTable() {
    return TableBuilder().Field("a", 'C', 1).Row({"x"}).Row({"y"}).Row({"z"});
}

TEST(FieldReportTest, FilesFromTheField) {
    std::string const text255(255, 'w');
    Report const reports[] = {
        {"null shape with longer content",
         ShapefileBuilder(1).Raw(ByteList().Little32(0).Fill(36, 0xFF)).Point(3, 4),
         {"none", "point[3 4]"}},
        {"record numbers out of order",
         ShapefileBuilder(1).Point(1, 2).RecordNumber(9).Point(3, 4).RecordNumber(0),
         {"point[1 2]", "point[3 4]"}},
        {"wrong file length in the header",
         ShapefileBuilder(1).Point(1, 2).FileLength(3),
         {"point[1 2]"}},
        {"no file length in the header",
         ShapefileBuilder(1).Point(1, 2).FileLength(-1),
         {"point[1 2]"}},
        {"bytes behind the last record",
         ShapefileBuilder(1).Point(1, 2).Junk(Bytes(33)),
         {"point[1 2]"}},
        {"half an index entry",
         ShapefileBuilder(1).Point(1, 2).Point(3, 4).CutIndex(112),
         {"point[1 2]"}},
        {"table longer than the geometry",
         ShapefileBuilder(1).Point(1, 2).Table(LongTable()),
         {"point[1 2]"}},
        {"header of the table with extra bytes",
         ShapefileBuilder(1).Point(1, 2).Table(
             LongTable().Terminator(ByteList().Byte(0x0D).Fill(20))),
         {"point[1 2]"},
         {"DBF-File: Header length is not valid."}},
        {"a field of 255 bytes",
         ShapefileBuilder(1).Point(1, 2).Field("t", 'C', 255).Row({text255}),
         {"point[1 2] " + text255}},
        {"text of another code page",
         ShapefileBuilder(1).Point(1, 2).Field("t", 'C', 4).Row({"caf\xE9"}),
         {"point[1 2] caf\xC3\xA9"}},
    };
    for (Report const& report : reports) {
        SCOPED_TRACE(report.what);
        LogCapture const log;
        OpenShapefile const file(report.builder);
        BSharedPtr<BVectorLayer> const layer = MakeLayer();
        EXPECT_EQ(file->Read(layer), 0);
        Texts records;
        for (std::uint32_t i = 0; i < file->GetRecordCount(); ++i) {
            BSharedPtr<BFeature> const feature = layer->GetFeatures().GetAt(i);
            records.push_back(TextOf(*feature));
            if (BAttribute const* const text = feature->attributes.Find("t")) {
                records.back() += " ";
                records.back() += text->GetValue().GetValueAsString("").Ascii();
            }
        }
        EXPECT_EQ(records, report.records);
        EXPECT_EQ(log.TextsOf(LOG_WARNING), report.warnings);
    }
}

} // namespace

} // namespace Ambrel::Test
