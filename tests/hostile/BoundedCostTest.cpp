// Memory and time follow the bytes of the files, not what they claim; and the largest files that
// the format allows.

#include "AllocationHook.h"
#include "HostileSupport.h"

#include <chrono>

namespace Ambrel::Test {

namespace {

class BoundedCostTest : public testing::Test {
protected:
    /// Lives through a file, fetching a hundred of its records; the cost is that over holding it.
    void LiveWithin(std::size_t mebibytes, double seconds, ShapefileBuilder const& builder,
                    std::size_t recordCount) {
        path = builder.WriteTo(folder, "file");
        Allocations::Peak const peak;
        auto const start = std::chrono::steady_clock::now();
        Fuzz::LifeReport const report = LiveThrough(path, 100);
        std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - start;
        RecordProperty("peakKibibytes", static_cast<int>(peak.Bytes() / 1024));
        EXPECT_LT(peak.Bytes(), mebibytes * 1024 * 1024);
        EXPECT_LT(elapsed.count(), seconds);
        EXPECT_TRUE(report.isRead);
        EXPECT_EQ(report.recordCount, recordCount);
    }

    /// A record of the file that was lived through.
    BSharedPtr<BFeature> Record(std::uint32_t index) const {
        BShpFile file;
        file.Open(path, BShpFile::readMode, true, BString());
        return file.ReadFeature(index, true);
    }

    Fuzz::SilentLog silence;
    TemporaryFolder folder;
    BString path;
};

TEST_F(BoundedCostTest, CountsThatLie) {
    ShapefileBuilder builder(5);
    for (auto const& [parts, points] : {std::pair{0x7FFFFFFFU, 1U},
                                        {1U, 0x7FFFFFFFU},
                                        {0x7FFFFFFFU, 0x7FFFFFFFU},
                                        {0x40000000U, 0U},
                                        {0x80000000U, 0x80000000U},
                                        {0U, 0x10000000U},
                                        {0xFFFFFFF5U, 1U}}) {
        ByteList content;
        content.Little32(5).Reals({0, 0, 1, 1}).Little32(parts).Little32(points).Fill(40);
        builder.Raw(content);
    }
    builder.Point(1, 2).IndexLength(0x7FFFFFFF).Point(3, 4).IndexLength(-1U);
    LiveWithin(4, 5, builder, 9);
}

/// 20,000 entries claim 20 GB of a main file that has 1 MB. Every one is delivered as a feature;
/// after twice the file's bytes without geometry.
TEST_F(BoundedCostTest, IndexEntriesThatAllNameOneLargeRecord) {
    ShapefileBuilder builder(3);
    builder.Polyline({Vertices(65536, {1, 2})});
    auto const words = static_cast<std::uint32_t>(builder.PlaceOf(0).second / 2 - 4);
    TableBuilder table;
    table.Field("a", 'C', 1).Row({"x"});
    for (int i = 1; i < 20000; ++i) {
        builder.IndexEntry(50, words);
        table.Row({"x"});
    }
    LiveWithin(48, 20, builder.Table(table), 20000);
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
    LiveWithin(24, 20, builder.Table(table), 40);
    EXPECT_EQ(Record(39)->attributes.GetAt(fields - 1).GetValue(), BVariant(39));
    // A table that states a size other than its own gives as many default values.
    table.Cut(table.Build().size() - 100);
    LiveWithin(24, 20, builder.Table(table), 40);
}

/// Half a shell's edges lie beside each of its holes, whichever way one looks from there.
TEST_F(BoundedCostTest, ManyHolesBetweenTheTeethOfAShell) {
    constexpr int teeth = 50000;
    Vertices shell = {{2 * teeth, -1000}, {0, -1000}};
    Parts parts(1);
    for (int tooth = 0; tooth < teeth; ++tooth) {
        double const x = 2 * tooth + 1;
        shell.insert(shell.end(), {{x - 1, 0}, {x, 1000}});
        parts.push_back({{x, 500}, {x + 0.1, 500}, {x, 500.1}, {x, 500}});
    }
    shell.push_back(shell.front());
    parts[0] = shell;
    LiveWithin(128, 30, ShapefileBuilder(5).Polygon(parts), 1);
    auto const geometry = Record(0)->GetGeometry();
    EXPECT_EQ(static_cast<BDonut const&>(*geometry).GetHoleCount(), std::uint64_t{teeth});
}

TEST_F(BoundedCostTest, MillionParts) {
    LiveWithin(512, 60, ShapefileBuilder(3).Polyline(Parts(1000000, {{1, 2}})), 1);
    auto const geometry = Record(0)->GetGeometry();
    EXPECT_EQ(static_cast<BAggregateLinear const&>(*geometry).GetCount(), 1000000U);
}

/// The last position that an index entry can name, in a file that is mostly a hole.
TEST_F(BoundedCostTest, MainFileOfAlmostFourGibibytes) {
    constexpr std::uint32_t lastOffset = 0x7FFFFFF0;
    ShapefileBuilder builder(1);
    builder.Point(1, 2).Point(3, 4).IndexOffset(lastOffset);
    Bytes const main = builder.Files()[".shp"];
    path = builder.WriteTo(folder, "file");
    std::FILE* const file = std::fopen(path.Ascii(), "r+b");
    std::fseek(file, 2L * lastOffset, SEEK_SET);
    std::fwrite(main.data() + main.size() - 28, 1, 28, file);
    std::fclose(file);
    EXPECT_EQ(TextOf(*Record(1)), "point[3 4]");
    Allocations::Peak const peak;
    EXPECT_TRUE(LiveThrough(path).isRead);
    EXPECT_LT(peak.Bytes(), 8U * 1024 * 1024);
}

} // namespace

} // namespace Ambrel::Test
