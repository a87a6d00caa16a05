// What options make of files that are sound, and of files that are not whole.

#include "RecordingRenderer.h"
#include "ShpReader/BShpFeatureCollection.h"
#include "ShpSupport.h"

namespace Ambrel::Test {

namespace {

/// A shapefile on disk, opened with options; what opening it writes to the log.
class OpenedWith {
public:
    OpenedWith(ShapefileBuilder const& builder, ReadOptions const& options,
               bool useAttributes = true, BString const& attributeZ = BString()) {
        LogCapture const log(LOG_WARNING);
        file->SetOptions(options);
        path = builder.WriteTo(folder, "file");
        file->Open(path, BShpFile::readMode, useAttributes, attributeZ);
        for (LogLine const& line : log.Lines()) {
            lines.push_back(line.text);
        }
    }

    /// Every record, fetched and then read with the others.
    Texts Records() const {
        Texts texts;
        for (std::uint64_t i = 0; i < file->GetRecordCount(); ++i) {
            BSharedPtr<BFeature> const feature = file->ReadFeature(i, false);
            texts.push_back(feature ? TextOf(*feature) + TextOf(feature->GetMetadata()) : "");
        }
        return texts;
    }
    Texts WholeRead() const {
        BSharedPtr<BVectorLayer> layer = MakeLayer();
        file->SetUpLayer(layer);
        EXPECT_EQ(file->Read(layer), 0);
        return TextsOf(layer->GetFeatures());
    }

    TemporaryFolder folder;
    BString path;
    BSharedPtr<BShpFile> file{new BShpFile};
    Texts lines;
};

TEST(ReadOptionsTest, SkipsDeletedRecordsEverywhereButInTheCount) {
    TableBuilder table;
    table.Field("a", 'C', 1).Row({"x"}).RawRow(ByteList().Text("*y")).Row({"z"});
    ShapefileBuilder const builder = Diagonal(3).Table(table);
    for (bool const useAttributes : {true, false}) {
        OpenedWith opened(builder, {.skipDeleted = true}, useAttributes);
        EXPECT_EQ(opened.file->GetRecordCount(), 3U);
        EXPECT_EQ(opened.Records(), (Texts{"point[0 0]", "", "point[2 2]"}));
        Indexes selected;
        opened.file->SelectFeatures(BRect(0, 0, 9, 9), BParamList(), selected);
        EXPECT_EQ(selected, (Indexes{0, 2}));
        EXPECT_FALSE(opened.file->HasFeaturesInArea(BRect(1, 1, 1, 1), BParamList()));
        RecordingRenderer const renderer;
        opened.file->RenderFeatures({0, 1, 2}, &renderer);
        EXPECT_EQ(renderer.calls, (Texts{"point 0,0", "point 2,2"}));
        EXPECT_EQ(opened.WholeRead(), (Texts{"point[0 0]", "point[2 2]"}));
        EXPECT_FALSE(BShpFeatureCollection(opened.file).GetGeometryAt(1));
    }
    EXPECT_EQ(OpenedWith(builder, {}).WholeRead().size(), 3U);
    // A table in whose place default values stand has no marks.
    EXPECT_EQ(OpenedWith(Diagonal(3).Table(table.End(Bytes(9))), {.skipDeleted = true})
                  .WholeRead()
                  .size(),
              3U);
}

TEST(ReadOptionsTest, ReadsMeasuresThatTheHeaderHides) {
    Parts const line = {{{0, 0}, {1, 1}}};
    ShapefileBuilder builder(23);
    builder.Polyline(line, {}, {7, 8}).Polyline(line).MRange(0, 0);
    std::string const measures = "ShpMinMeasure=7 ShpMaxMeasure=8 ShpMeasures=(7 8 )";
    EXPECT_EQ(OpenedWith(builder, {.measuresAlways = true}).Records(),
              (Texts{"line[0 0,1 1]" + measures, "line[0 0,1 1]"}));
    EXPECT_EQ(OpenedWith(builder, {}).Records(), (Texts{"line[0 0,1 1]", "line[0 0,1 1]"}));
    OpenedWith const opened(builder, {.measuresAlways = true});
    BSharedPtr<BVectorLayer> layer = MakeLayer();
    opened.file->SetUpLayer(layer);
    EXPECT_EQ(TextOf(layer->GetMetadata()), "ShpHasMeasures=false");
    // A type that has none does not get any.
    EXPECT_EQ(OpenedWith(ShapefileBuilder(3).Polyline(line, {}, {7, 8}), {.measuresAlways = true})
                  .Records(),
              Texts{"line[0 0,1 1]"});
}

TEST(ReadOptionsTest, SaysThatZFromAnAttributeNeedsAttributes) {
    OpenedWith const opened(Diagonal(1), {}, false, "h");
    EXPECT_EQ(opened.lines, Texts{"SHP-Reader: USE_ATTRIBUTE_Z (h) needs USE_ATTRIBUTES. File=" +
                                  std::string(opened.path.Ascii())});
    EXPECT_BEXCEPTION(opened.file->ReadFeature(0, true), BAttributeDataException,
                      "BAttributes::GetAttribute", "Attribute=h");
}

std::string Salvaged(OpenedWith const& opened, unsigned count) {
    return "SHP-Reader: The index is missing or unusable: " + std::to_string(count) +
           " records found in the main file. File=" + opened.folder.File("file.shx").Ascii();
}

/// Lines of two vertices, 0 0 to 1 1 and so on.
ShapefileBuilder Steps(int count) {
    ShapefileBuilder builder(3);
    for (int i = 0; i < count; ++i) {
        builder.Polyline({{{i * 1.0, i * 1.0}, {i + 1.0, i + 1.0}}});
    }
    return builder;
}

TEST(ReadOptionsTest, MakesAnIndexWhereThereIsNone) {
    ReadOptions const salvage = {.salvage = true};
    Texts const expected = OpenedWith(Steps(4), {}).Records();
    ShapefileBuilder unusable(3);
    for (int i = 0; i < 4; ++i) {
        unusable.Polyline({{{i * 1.0, i * 1.0}, {i + 1.0, i + 1.0}}}).IndexOffset(51);
    }
    for (ShapefileBuilder const& builder :
         {Steps(4).Without(".shx"), Steps(4).Cut(".shx", 0), Steps(4).Cut(".shx", 104), unusable}) {
        OpenedWith const opened(builder, salvage);
        EXPECT_EQ(opened.lines, Texts{Salvaged(opened, 4)});
        EXPECT_EQ(opened.Records(), expected);
        EXPECT_EQ(opened.WholeRead(), expected);
        opened.file->ReleaseBuffers();
        EXPECT_TRUE(opened.file->HasIndexInMemory());
        EXPECT_EQ(opened.Records(), expected);
    }
    EXPECT_BEXCEPTION(OpenedWith(Steps(1).Without(".shx"), {}), BFileNotFoundException,
                      "BShpFile::Open", "*");
    // One sound entry is enough, and an index of a file without records is whole.
    EXPECT_EQ(OpenedWith(Steps(4).IndexOffset(51), salvage).lines, Texts());
    EXPECT_EQ(OpenedWith(ShapefileBuilder(3), salvage).lines, Texts());
}

/// Rows belong to records by their order, so a record that is lost leaves its place.
TEST(ReadOptionsTest, WalksOnBehindDamage) {
    auto const walk = [](ShapefileBuilder& builder) {
        return OpenedWith(builder.Without(".shx"), {.salvage = true}).Records();
    };
    Texts const sound = OpenedWith(Steps(5), {}).Records();
    Texts lost = sound;
    lost[1] = "none";
    ShapefileBuilder damaged[] = {Steps(2), Steps(2), Steps(2), Steps(2)};
    damaged[0].ContentLength(0x7000);            // beyond the end
    damaged[1].ContentLength(41);                // into the next record
    damaged[2].Patch(0, ByteList().Little32(9)); // no type
    damaged[3].Junk(Bytes(100, 0xFF)).ContentLength(0);
    for (ShapefileBuilder& builder : damaged) {
        for (int i = 2; i < 5; ++i) {
            builder.Polyline({{{i * 1.0, i * 1.0}, {i + 1.0, i + 1.0}}});
        }
        EXPECT_EQ(walk(builder), lost);
    }
    ShapefileBuilder spaced = Steps(2).Junk(Bytes(34, 0xFF));
    spaced.Polyline({{{2, 2}, {3, 3}}});
    EXPECT_EQ(walk(spaced), Texts(sound.begin(), sound.begin() + 3));
    // Damage inside a record is the record's own; the last one is cut.
    ShapefileBuilder counts = Steps(5);
    Texts cut = sound;
    cut[4] = "none";
    EXPECT_EQ(walk(counts.Cut(".shp", counts.PlaceOf(4).first + 60)), cut);
}

TEST(ReadOptionsTest, DoesWithoutATable) {
    for (ShapefileBuilder const& builder :
         {Diagonal(1).Without(".dbf"), Diagonal(1).Cut(".dbf", 7)}) {
        OpenedWith const opened(builder, {.salvage = true}, true, "h");
        EXPECT_EQ(opened.lines.back(),
                  std::string("SHP-Reader: The table is missing or unusable: features have no "
                              "attributes. File=") +
                      opened.folder.File("file.dbf").Ascii());
        BSharedPtr<BVectorLayer> layer = MakeLayer();
        opened.file->SetUpLayer(layer);
        EXPECT_EQ(layer->GetSchema().GetCount(), 0U);
        BSharedPtr<BFeature> const feature = opened.file->ReadFeature(0, true);
        EXPECT_EQ(feature->attributes.GetCount(), 0U);
        EXPECT_EQ(TextOf(*feature), "point[0 0]");
    }
}

} // namespace

} // namespace Ambrel::Test
