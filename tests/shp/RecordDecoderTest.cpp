// The decoder alone, without a file, and what becomes of its findings.

#include "ShpReader/shp/RecordDecoder.h"
#include "ShpSupport.h"

namespace Ambrel::Test {

namespace {

/// What a content is decoded to, with its findings or the class of what was thrown.
std::string Decoded(RecordContent content, bool hasZ, bool hasMeasures) {
    RecordFindings findings;
    std::string text;
    try {
        auto const feature = RecordDecoder(hasZ, hasMeasures).Decode(content, findings);
        text = TextOf(*feature) + TextOf(feature->GetMetadata());
    } catch (BException const& failure) {
        text = failure.GetClassName();
    }
    for (RecordFinding const& finding : findings) {
        text += " " + std::string(KindOf(finding.code).name) + std::to_string(finding.part);
    }
    return text;
}

/// The bytes that are to be read of a content give what the whole content gives, however long it
/// claims to be.
TEST(RecordDecoderTest, NeedsNoMoreBytesThanItSays) {
    for (std::int32_t const type : {0, 1, 3, 5, 8, 11, 13, 15, 18, 21, 23, 25, 28, 31}) {
        ShapefileBuilder const builder = SmallFile(type);
        Bytes const main = builder.Files().at(".shp");
        for (std::size_t record = 0; record < builder.RecordCount(); ++record) {
            std::uint8_t const* const bytes = main.data() + builder.PlaceOf(record).first + 8;
            std::size_t const most = main.data() + main.size() - bytes;
            for (std::size_t size = 0; size < most; ++size) {
                bool const hasZ = type / 10 == 1;
                bool const hasMeasures = type > 10;
                std::size_t const held = std::min<std::size_t>(size, mostBytesWithCounts);
                auto const needed =
                    BytesToDecode(RecordContent(bytes, held), size, hasZ, hasMeasures);
                ASSERT_LE(needed, size);
                EXPECT_EQ(Decoded({bytes, needed}, hasZ, hasMeasures),
                          Decoded({bytes, size}, hasZ, hasMeasures))
                    << type << ", record " << record << ", " << size << " bytes";
            }
        }
    }
}

/// The vertices that the counts claim are not there: nothing beyond the counts is looked at.
TEST(RecordDecoderTest, NeedsTheStartAloneWhereVerticesAreMissing) {
    ByteList fields;
    fields.Little32(3).Reals({0, 0, 1, 1}).Little32(1).Little32(0x7FFFFFFF).Little32(0);
    Bytes const content = fields;
    RecordContent const start(content.data(), mostBytesWithCounts);
    EXPECT_EQ(BytesToDecode(start, 0xFFFFFFF0, true, true), mostBytesWithCounts);
}

TEST(RecordDecoderTest, FindingsReachTheHostWithTheirFields) {
    ShapefileBuilder builder(5);
    builder.Polygon({{{0, 0}, {0, 9}, {9, 9}, {0, 0}}, {}}).ContentLength(12).Null();
    builder.Field("t", 'C', 1).Row({"x"}).Row({"x"});
    OpenShapefile const file(builder, true, "t");
    Texts entries;
    LogCapture const log;
    BLogger::Instance()->SetEntrySink([&](BLogEntry const& entry) {
        std::string text = std::string(KindOf(static_cast<FindingCode>(entry.code)).name) + " " +
                           std::to_string(*entry.record);
        for (BLogValue const& value : entry.values) {
            auto const* const number = std::get_if<std::int64_t>(&value);
            text += " " + (number ? std::to_string(*number) : std::get<std::string>(value));
        }
        EXPECT_EQ(entry.file, std::string_view(file.path.Ascii()));
        entries.push_back(text);
    });
    file->ReadFeature(0, true);
    file->ReadFeature(1, true);
    BLogger::Instance()->SetEntrySink({});
    EXPECT_EQ(entries, (Texts{"lengths-differ 0 58 12", "empty-part 0 1",
                              "attribute-z-not-a-number 0 t", "null-shape 1"}));
}

} // namespace

} // namespace Ambrel::Test
