// Memory and time follow the bytes of the files, not what they claim; and the largest files that
// the format allows.

#include "AllocationHook.h"
#include "HostileSupport.h"
#include "RecordingRenderer.h"

#include <chrono>
#include <cmath>
#include <filesystem>
#include <numbers>

namespace Ambrel::Test {

namespace {

constexpr std::size_t mebibyte = 1024 * 1024;

/// What living through the files may cost, over what it costs to hold them.
struct Cost {
    std::size_t bytes;
    double seconds;
};

class BoundedCostTest : public testing::Test {
protected:
    Fuzz::LifeReport LiveWithin(Cost const& limit, BString const& path) {
        Allocations::Peak const peak;
        auto const start = std::chrono::steady_clock::now();
        Fuzz::LifeReport const report = Fuzz::LiveThrough(path, true, BString(), 100);
        std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - start;
        RecordProperty("peakKibibytes", static_cast<int>(peak.Bytes() / 1024));
        EXPECT_LT(peak.Bytes(), limit.bytes);
        EXPECT_LT(elapsed.count(), limit.seconds);
        return report;
    }

    SilentLog silence;
    TemporaryFolder folder;
};

Vertices Circle(std::size_t count, double radius) {
    Vertices vertices;
    for (std::size_t i = 0; i <= count; ++i) {
        double const angle =
            -2 * std::numbers::pi * static_cast<double>(i % count) / static_cast<double>(count);
        vertices.push_back({radius * std::cos(angle), radius * std::sin(angle)});
    }
    return vertices;
}

ByteList CountsThatLie(std::uint32_t parts, std::uint32_t points) {
    ByteList content;
    content.Little32(5).Reals({0, 0, 1, 1}).Little32(parts).Little32(points).Fill(40);
    return content;
}

TEST_F(BoundedCostTest, CountsThatLie) {
    ShapefileBuilder builder(5);
    for (auto const& [parts, points] : {std::pair{0x7FFFFFFFU, 1U},
                                        {1U, 0x7FFFFFFFU},
                                        {0x7FFFFFFFU, 0x7FFFFFFFU},
                                        {0x40000000U, 0U},
                                        {0x80000000U, 0x80000000U},
                                        {0U, 0x10000000U},
                                        {0xFFFFFFF5U, 1U}}) {
        builder.Raw(CountsThatLie(parts, points));
    }
    builder.Point(1, 2).IndexLength(0x7FFFFFFF).Point(3, 4).IndexLength(-1);
    Fuzz::LifeReport const report = LiveWithin({4 * mebibyte, 5}, builder.WriteTo(folder, "file"));
    EXPECT_TRUE(report.isRead);
    EXPECT_EQ(report.recordCount, 9U);
}

/// 20,000 entries claim 20 GB of a main file that has 1 MB. Every one is delivered as a feature;
/// after twice the file's bytes without geometry.
TEST_F(BoundedCostTest, IndexEntriesThatAllNameOneLargeRecord) {
    constexpr int entries = 20000;
    ShapefileBuilder builder(3);
    builder.Polyline({Circle(65536, 10)});
    auto const words = static_cast<std::int32_t>(builder.ContentAt(0).size() / 2);
    TableBuilder table;
    table.Field("a", 'C', 1).Row({"x"});
    for (int i = 1; i < entries; ++i) {
        builder.IndexEntry(50, words);
        table.Row({"x"});
    }
    Fuzz::LifeReport const report =
        LiveWithin({48 * mebibyte, 20}, builder.Table(table).WriteTo(folder, "file"));
    EXPECT_TRUE(report.isRead);
    EXPECT_EQ(report.recordCount, static_cast<std::uint32_t>(entries));
}

TEST_F(BoundedCostTest, WidestTable) {
    constexpr int fields = 2046;
    ShapefileBuilder builder(1);
    TableBuilder table;
    for (int i = 0; i < fields; ++i) {
        table.Field("F" + std::to_string(i), 'N', 4);
    }
    for (int i = 0; i < 40; ++i) {
        builder.Point(1, 2);
        table.Row(Texts(fields, std::to_string(i)));
    }
    OpenShapefile const file(builder.Table(table));
    EXPECT_EQ(file->ReadFeature(39, true)->attributes.GetAt(fields - 1).GetValue(), BVariant(39));
    EXPECT_TRUE(LiveWithin({24 * mebibyte, 20}, file.path).isRead);
    // A table that states a size other than its own gives as many default values.
    WriteFile(file.folder.Path() / "file.dbf", table.Cut(table.Build().size() - 100).Build());
    EXPECT_TRUE(LiveWithin({24 * mebibyte, 20}, file.path).isRead);
}

/// Half a shell's edges lie beside each of its holes, whichever way one looks from there.
TEST_F(BoundedCostTest, ManyHolesBetweenTheTeethOfAShell) {
    constexpr int teeth = 50000;
    Vertices shell = {{2 * teeth, -1000}, {0, -1000}};
    for (int i = 0; i < 2 * teeth; ++i) {
        shell.push_back({static_cast<double>(i), i % 2 == 0 ? 0.0 : 1000.0});
    }
    shell.push_back(shell.front());
    Parts parts = {shell};
    for (int tooth = 0; tooth < teeth; ++tooth) {
        double const x = 2 * tooth + 1;
        parts.push_back({{x, 500}, {x + 0.1, 500}, {x, 500.1}, {x, 500}});
    }
    OpenShapefile const file(ShapefileBuilder(5).Polygon(parts));
    EXPECT_TRUE(LiveWithin({128 * mebibyte, 30}, file.path).isRead);
    auto const geometry = file->ReadFeature(0, false)->GetGeometry();
    EXPECT_EQ(static_cast<BDonut const&>(*geometry).GetHoleCount(), std::uint64_t{teeth});
}

TEST_F(BoundedCostTest, MillionParts) {
    constexpr std::size_t count = 1000000;
    Parts parts(count, {{1, 2}});
    OpenShapefile const file(ShapefileBuilder(3).Polyline(parts));
    auto const geometry = file->ReadFeature(0, false)->GetGeometry();
    EXPECT_EQ(static_cast<BAggregateLinear const&>(*geometry).GetCount(), count);
    EXPECT_TRUE(LiveWithin({512 * mebibyte, 60}, file.path).isRead);
}

/// The last position that an index entry can name, in a file that is mostly a hole.
TEST_F(BoundedCostTest, MainFileOfAlmostFourGibibytes) {
    constexpr std::int32_t lastOffset = 0x7FFFFFF0;
    ShapefileBuilder builder(1);
    builder.Point(1, 2).Point(3, 4).IndexOffset(lastOffset);
    BString const path = builder.WriteTo(folder, "file");
    Bytes const main = builder.MainFile();
    std::FILE* const file = std::fopen(path.Ascii(), "r+b");
    std::fseek(file, 2L * lastOffset, SEEK_SET);
    std::fwrite(main.data() + main.size() - 28, 1, 28, file);
    std::fclose(file);

    BShpFile opened;
    opened.Open(path, BShpFile::readMode, true, BString());
    EXPECT_EQ(TextOf(*opened.ReadFeature(1, true)), "point[3 4]");
    EXPECT_EQ(TextOf(opened.GetFeatureMBRAt(1)), "3 4 3 4");
    EXPECT_TRUE(LiveWithin({8 * mebibyte, 5}, path).isRead);
}

} // namespace

} // namespace Ambrel::Test
