#include "ShpSupport.h"

namespace Ambrel::Test {

namespace {

constexpr char const* readFeature = "BShpFile::ReadFeature";

std::string Mismatch(int fromIndex, unsigned fromMain) {
    return "SHP-Reader: Record length from index (" + std::to_string(fromIndex) +
           ") does not match record length from main file (" + std::to_string(fromMain) +
           "): Possible file corruption.";
}

TEST(RecordAccessTest, LetsTheIndexGovernTheLength) {
    OpenShapefile const file(ShapefileBuilder(1).Point(1, 2).ContentLength(12).RecordNumber(77));
    LogCapture const log;
    EXPECT_EQ(TextOf(*file->ReadFeature(0, true)), "point[1 2]");
    EXPECT_EQ(log.Lines(), (LogLines{{LOG_WARNING, Mismatch(10, 12)}}));
}

TEST(RecordAccessTest, ReadsIndexEntriesFromMemoryOrFromTheFile) {
    OpenShapefile const file(Diagonal(2));
    EXPECT_EQ(TextOf(*file->ReadFeature(1, true)), "point[1 1]") << "from the file";
    file->LoadIndex();
    EXPECT_EQ(TextOf(*file->ReadFeature(1, true)), "point[1 1]") << "from memory";
}

TEST(RecordAccessTest, ReusesTheSharedBufferUntilARecordIsLarger) {
    OpenShapefile const file(ShapefileBuilder(3).Raw(Bytes(20)).Raw(Bytes(100)).Raw(Bytes(60)));
    file->LoadIndex();
    for (auto const& [index, size] : {std::pair{0U, 20U}, {1U, 100U}, {2U, 100U}}) {
        file->GetFeatureMBRAt(index);
        EXPECT_EQ(file->GetShapeBufferSize(), size);
    }
    file->ReleaseBuffers();
    EXPECT_EQ(file->GetShapeBufferSize(), 0U);
    EXPECT_FALSE(file->HasIndexInMemory());
}

TEST(RecordAccessTest, GivesTheStoredRectangles) {
    ShapefileBuilder builder(13);
    builder.Point(1, 2, 3).Null().Polyline({{{5, 8}, {7, 6}}});
    builder.Polyline({{{0, 0}}}).Patch(4, ByteList().Reals({9, 8, 1, 2})); // minimum above maximum
    builder.Raw(ByteList().Little32(31).Fill(60)).Raw(ByteList().Little32(13).Fill(30));
    builder.Raw(ByteList().Little32(3).Reals({1, 2, 3, 4})); // no more than its box
    OpenShapefile const file(builder);
    Texts rectangles;
    for (std::uint32_t i = 0; i < file->GetRecordCount(); ++i) {
        rectangles.push_back(TextOf(file->GetFeatureMBRAt(i)));
    }
    EXPECT_EQ(rectangles,
              (Texts{"1 2 1 2", "empty", "5 6 7 8", "9 8 1 2", "empty", "empty", "1 2 3 4"}));
}

TEST(RecordAccessTest, RefusesIndexesBeyondTheCountBeforeAnythingIsReleased) {
    OpenShapefile const file(Diagonal(1));
    file->LoadIndex();
    constexpr std::uint64_t wraps = 0x100000000U; // record 0 in 32 bits
    EXPECT_BEXCEPTION(file->ReadFeature(1, true), BIndexOutOfBoundsException, readFeature,
                      "Index=1, NumRecords=1");
    EXPECT_BEXCEPTION(file->ReadFeature(wraps, true), BIndexOutOfBoundsException, readFeature,
                      "Index=4294967296, NumRecords=1");
    EXPECT_BEXCEPTION(file->GetFeatureMBRAt(wraps), BIndexOutOfBoundsException,
                      "BShpFile::GetFeatureMBRAt", "Index=4294967296, NumRecords=1");
    EXPECT_BEXCEPTION(file->RenderFeatures({wraps}, nullptr), BIndexOutOfBoundsException,
                      "BShpFile::RenderFeatures", "Index=4294967296, NumRecords=1");
    EXPECT_TRUE(file->HasIndexInMemory());
}

TEST(RecordAccessTest, ReleasesTheBuffersWhenAFetchFailsAndGoesOn) {
    OpenShapefile const file(
        ShapefileBuilder(1).Point(1, 2).Raw(ByteList().Little32(31)).Point(5, 6));
    file->LoadIndex();
    EXPECT_THROW(file->ReadFeature(1, true), BUnknownGeometryException);
    EXPECT_FALSE(file->HasIndexInMemory());
    EXPECT_EQ(TextOf(*file->ReadFeature(2, true)), "point[5 6]");
}

/// Geometry, index and rows belong together, whatever has taken their place meanwhile.
TEST(RecordAccessTest, StaysReadableAsItWasOpened) {
    for (bool const isReplaced : {false, true}) {
        OpenShapefile const file(Diagonal(2));
        for (char const* extension : {".shp", ".shx"}) {
            std::filesystem::remove(file.folder.Path() / ("file" + std::string(extension)));
        }
        if (isReplaced) {
            ShapefileBuilder(1).Point(7, 7).Null().Point(8, 8).WriteTo(file.folder, "file");
        }
        BSharedPtr<BVectorLayer> const layer = MakeLayer();
        Indexes selected;
        file->SelectFeatures(BRect(0, 0, 9, 9), BParamList(), selected);
        EXPECT_EQ(selected, (Indexes{0, 1}));
        EXPECT_EQ(TextOf(*file->ReadFeature(1, false)), "point[1 1]");
        EXPECT_EQ(TextOf(file->GetFeatureMBRAt(1)), "1 1 1 1");
        EXPECT_EQ(file->Read(layer), 0);
        EXPECT_EQ(TextsOf(layer->GetFeatures()), (Texts{"point[0 0]", "point[1 1]"}));
    }
}

/// Two damaged lengths in the index would claim more than all records may.
TEST(RecordAccessTest, ChargesAWholeReadWithWhatIsDecoded) {
    ShapefileBuilder builder(3);
    constexpr int count = 20000;
    for (int i = 0; i < count; ++i) {
        builder.Polyline({{{i * 1.0, 0}, {i + 1.0, 1}}});
        if (i < 2) {
            builder.IndexLength(0x01000000U + 40);
        }
    }
    OpenShapefile const file(builder);
    BSharedPtr<BVectorLayer> const layer = MakeLayer();
    LogCapture const log;
    EXPECT_EQ(file->Read(layer), 0);
    EXPECT_EQ(log.Lines(), (LogLines{{LOG_WARNING, Mismatch(16777256, 40)},
                                     {LOG_WARNING, Mismatch(16777256, 40)}}));
    for (int i = 0; i < count; ++i) {
        ASSERT_TRUE(layer->GetFeatures().GetAt(static_cast<std::uint64_t>(i))->GetGeometry()) << i;
    }
}

/// Zero words are no error of the data, but there is no buffer to give; what the end of the file
/// cuts down to nothing is.
TEST(RecordAccessTest, TellsRecordsOfNoWordsFromRecordsThatAreNotThere) {
    OpenShapefile const first(
        ShapefileBuilder(1).Point(1, 2).IndexLength(0).ContentLength(0).Point(3, 4));
    BSharedPtr<BVectorLayer> const layer = MakeLayer();
    EXPECT_BEXCEPTION(first->Read(layer), BResourceException, "BShpFile::ReadRecord",
                      "Unable to allocate memory for shape buffer.");
    LogCapture const log;
    EXPECT_EQ(TextOf(*first->ReadFeature(0, true)), "none");
    ShapefileBuilder beyond(1);
    beyond.Point(1, 2).IndexOffset(0x7FFFFFFF).Raw({}).Point(3, 4);
    EXPECT_EQ(OpenShapefile(beyond)->Read(layer), 0);
    EXPECT_EQ(TextsOf(layer->GetFeatures()), (Texts{"none", "none", "point[3 4]"}));
    std::string const invalid = NotValid(0, "content is too short");
    EXPECT_EQ(log.TextsOf(LOG_WARNING),
              (Texts{invalid, Mismatch(10, 0), invalid, NotValid(1, "content is too short")}));
}

TEST(RecordAccessTest, FollowsTheIndexThroughJunkAndDisorder) {
    ShapefileBuilder builder(1);
    builder.Point(1, 2).IndexOffset(50 + 14 + 500).Junk(Bytes(1000, 0x31)).Point(3, 4);
    builder.IndexOffset(50).Junk(Bytes(33)).IndexEntry(-1U, 10).IndexEntry(50, 0x40000000);
    builder.Field("a", 'C', 1);
    for (int row = 0; row < 7; ++row) { // more than there are records
        builder.Row({"a"});
    }
    OpenShapefile const file(builder);
    file->LoadIndex();
    BSharedPtr<BVectorLayer> const layer = MakeLayer();
    EXPECT_EQ(file->Read(layer), 0);
    EXPECT_EQ(TextsOf(layer->GetFeatures()),
              (Texts{"point[3 4]", "point[1 2]", "none", "point[1 2]"}));
}

} // namespace

} // namespace Ambrel::Test
