#include "FeatureSamples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace Ambrel {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

BPoints Vertices(std::vector<BPoint> const& list) {
    BPoints points;
    for (BPoint const& point : list) {
        points.Add(point);
    }
    return points;
}

BPolygon Ring(std::vector<BPoint> const& list) {
    BPolygon ring;
    ring.SetPoints(Vertices(list));
    return ring;
}

/// The same ring with so many vertices (all on its edges, or repeated) that it is indexed.
BPolygon LongRing(std::vector<BPoint> const& list) {
    BPolygon ring;
    for (BPoint const& vertex : list) {
        for (int i = 0; i < 70; ++i) {
            ring.AddPoint(vertex);
        }
    }
    return ring;
}

bool Contains(BPolygon const& ring, BPoint const& point) {
    return ring.Contains(Vertices({point}));
}

TEST(BRect, MeetsWhereAPointIsShared) {
    BRect const area(0, 0, 10, 5);
    struct {
        BRect other;
        bool meets;
    } const cases[] = {
        {{2, 2, 3, 3}, true},     {{-5, -5, 20, 20}, true}, {{10, 5, 12, 8}, true},
        {{-3, 0, 0, 5}, true},    {{4, -9, 5, 9}, true},    {{10.1, 0, 12, 5}, false},
        {{0, 5.1, 10, 6}, false}, {{-2, 0, -1, 5}, false},  {{nan, 0, 10, 5}, false},
        {{0, 0, 10, nan}, false}, {{8, 0, 2, 5}, false},    {BRect(), false},
        {{5, 2.5, 5, 2.5}, true},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(area.Meets(c.other), c.meets) << c.other.xMin << ' ' << c.other.yMin;
        EXPECT_EQ(c.other.Meets(area), c.meets) << c.other.xMin << ' ' << c.other.yMin;
    }
}

TEST(BRect, UnionIgnoresWhatIsNotANumber) {
    BRect rectangle;
    rectangle.Union(BPoint(3, nan));
    rectangle.Union(BPoint(nan, 4));
    rectangle.Union(BRect());
    rectangle.Union(BRect(-1, 2, 1, 3));
    EXPECT_EQ(rectangle.xMin, -1);
    EXPECT_EQ(rectangle.xMax, 3);
    EXPECT_EQ(rectangle.yMin, 2);
    EXPECT_EQ(rectangle.yMax, 4);
}

TEST(BPolygon, OrientationIsTheSignOfTheArea) {
    double const far = 1e9;
    double const small = 1e-6; // a few units in the last place at `far`
    struct {
        char const* name;
        std::vector<BPoint> ring;
        EOrientation orientation;
    } const cases[] = {
        {"counterclockwise", {{0, 0}, {1, 0}, {1, 1}}, ORIENTATION_COUNTERCLOCKWISE},
        {"clockwise", {{0, 0}, {0, 1}, {1, 1}, {1, 0}, {0, 0}}, ORIENTATION_CLOCKWISE},
        {"none", {}, ORIENTATION_NONE},
        {"two vertices", {{0, 0}, {1, 1}}, ORIENTATION_NONE},
        {"there and back", {{.1, .7}, {.3, .2}, {.9, .4}, {.3, .2}, {.1, .7}}, ORIENTATION_NONE},
        {"a figure of eight", {{0, 0}, {1, 1}, {1, 0}, {0, 1}}, ORIENTATION_NONE},
        {"small and far",
         {{far, far}, {far, far + small}, {far + small, far}},
         ORIENTATION_CLOCKWISE},
        {"a sliver", {{0, 0}, {.1, .3}, {.2, std::nextafter(.6, 1)}}, ORIENTATION_COUNTERCLOCKWISE},
        {"tiny", {{0, 0}, {1e-300, 0}, {0, 1e-300}}, ORIENTATION_COUNTERCLOCKWISE},
        {"not a number", {{0, 0}, {1, nan}, {1, 1}}, ORIENTATION_NONE},
        {"endless", {{infinity, 0}, {1, 0}, {1, 1}}, ORIENTATION_NONE},
    };
    for (auto const& c : cases) {
        BPolygon ring = Ring(c.ring);
        EXPECT_EQ(ring.GetOrientation(), c.orientation) << c.name;
        ring.SetOrientation(ORIENTATION_CLOCKWISE);
        bool const hasArea = c.orientation != ORIENTATION_NONE;
        EXPECT_EQ(ring.GetOrientation(), hasArea ? ORIENTATION_CLOCKWISE : ORIENTATION_NONE)
            << c.name;
    }
}

TEST(BPolygon, ContainsWhatLiesInsideOrOnTheRing) {
    std::vector<BPoint> const square{{0, 0}, {4, 0}, {4, 4}, {0, 4}, {0, 0}};
    // Teeth whose tips and valleys share the query's Y.
    std::vector<BPoint> const teeth{{0, 0}, {6, 0}, {6, 2}, {5, 1}, {4, 2},
                                    {3, 2}, {2, 1}, {1, 2}, {0, 1}};
    std::vector<BPoint> const eight{{0, 0}, {4, 4}, {4, 0}, {0, 4}};
    double const far = 1e6;
    double const fine = 1e-9;
    std::vector<BPoint> const slope{{far, far}, {far + 3, far + 1}, {far, far + 1}};
    std::vector<BPoint> const huge{{-1e308, -1e308}, {1e308, -1e308}, {1e308, 1e308}};
    std::vector<BPoint> const tiny{{0, 0}, {4e-310, 0}, {4e-310, 4e-310}};
    struct {
        char const* name;
        std::vector<BPoint> ring;
        BPoint point;
        bool contained;
    } const cases[] = {
        {"middle", square, {2, 2}, true},
        {"corner", square, {4, 4}, true},
        {"first corner", square, {0, 0}, true},
        {"left edge", square, {0, 3}, true},
        {"upper edge", square, {1, 4}, true},
        {"beside the upper edge", square, {-1, 4}, false},
        {"beyond the upper edge", square, {5, 4}, false},
        {"under the lower edge", square, {2, std::nextafter(0., -1.)}, false},
        {"just inside", square, {std::nextafter(4., 0.), 2}, true},
        {"just outside", square, {std::nextafter(4., 5.), 2}, false},
        {"left of the valleys", teeth, {-1, 1}, false},
        {"in a valley's bottom", teeth, {2, 1}, true},
        {"level with the valleys", teeth, {3.5, 1}, true},
        {"level with the tips, in a gap", teeth, {2, 2}, false},
        {"on a flat tip", teeth, {3.5, 2}, true},
        {"left of the tips", teeth, {0, 2}, false},
        {"where the ring crosses itself", eight, {2, 2}, true},
        {"in the right loop", eight, {3, 2}, true},
        {"between the loops", eight, {2, 3}, false},
        {"far, on the slope's end", slope, {far + 3, far + 1}, true},
        {"far, above the slope", slope, {far + 1.5, far + .5 + fine}, true},
        {"far, on the slope", slope, {far + 1.5, far + .5}, true},
        {"far, under the slope", slope, {far + 1.5, far + .5 - fine}, false},
        {"huge, inside", huge, {5e307, 0}, true},
        {"huge, on the diagonal", huge, {3e307, 3e307}, true},
        {"huge, above the diagonal", huge, {3e307, std::nextafter(3e307, 1e308)}, false},
        {"tiny, inside", tiny, {3e-310, 1e-310}, true},
        {"tiny, above the diagonal", tiny, {1e-310, 2e-310}, false},
        {"two vertices, between", {{0, 0}, {4, 2}}, {2, 1}, true},
        {"two vertices, beside", {{0, 0}, {4, 2}}, {2, 1.5}, false},
        {"one vertex", {{1, 1}}, {1, 1}, true},
        {"no vertex", {}, {0, 0}, false},
        {"point without X", square, {nan, 2}, false},
        {"point without end", square, {2, infinity}, false},
        {"ring without a number", {{0, 0}, {nan, 0}, {4, 4}, {0, 4}}, {1, 2}, false},
        {"ring without end", {{0, 0}, {infinity, 0}, {4, 4}, {0, 4}}, {1, 2}, false},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(Contains(Ring(c.ring), c.point), c.contained) << c.name;
        EXPECT_EQ(Contains(LongRing(c.ring), c.point), c.contained) << c.name << ", indexed";
    }
    EXPECT_TRUE(Ring(square).Contains(BPoints()));
    EXPECT_FALSE(Ring(square).Contains(Vertices({{1, 1}, {9, 9}, {2, 2}})));
}

std::vector<BPoint> Turning(int count, double turns, double innerRadius) {
    std::vector<BPoint> ring;
    for (int i = 0; i < count; ++i) {
        double const angle = 2 * std::numbers::pi * turns * i / count;
        double const radius = innerRadius + (10 - innerRadius) * i / count;
        ring.emplace_back(radius * std::cos(angle), radius * std::sin(angle));
    }
    return ring;
}

std::vector<BPoint> Comb(int teeth, bool upright) {
    std::vector<BPoint> ring{{-10, -11}};
    for (int i = 0; i < 2 * teeth; ++i) {
        double const x = -10 + 10.0 * i / teeth;
        ring.emplace_back(x, i % 2 == 0 ? -10 : 10);
        ring.emplace_back(x + 10.0 / teeth, i % 2 == 0 ? -10 : 10);
    }
    ring.emplace_back(10, -11);
    for (BPoint& vertex : ring) {
        vertex = upright ? vertex : BPoint(vertex.X - vertex.Y, vertex.X + vertex.Y);
    }
    return ring;
}

std::vector<BPoint> Zigzag(std::mt19937& random, int count) {
    std::uniform_int_distribution<int> coordinate(-10, 10);
    std::vector<BPoint> ring;
    for (int i = 0; i < count; ++i) {
        double const x = coordinate(random);
        ring.emplace_back(x, coordinate(random));
    }
    return ring;
}

/// Whether the point is in the ring, in integers: the ring's vertices and the point are multiples
/// of 1/4 below 2^10, so that every product is exact.
bool IsInsideExactly(std::vector<BPoint> const& ring, BPoint const& point) {
    bool inside = false;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        BPoint const& a = ring[i];
        BPoint const& b = ring[(i + 1) % ring.size()];
        double const side = (b.X - a.X) * (point.Y - a.Y) - (b.Y - a.Y) * (point.X - a.X);
        double const along = (a.X - point.X) * (b.X - point.X) + (a.Y - point.Y) * (b.Y - point.Y);
        if (side == 0 && along <= 0) {
            return true;
        }
        bool const upward = a.Y <= point.Y && point.Y < b.Y;
        bool const downward = b.Y <= point.Y && point.Y < a.Y;
        inside ^= (upward && side > 0) || (downward && side < 0);
    }
    return inside;
}

/// Rounded to quarters, with every third vertex repeated.
std::vector<BPoint> OnGrid(std::vector<BPoint> ring) {
    std::vector<BPoint> rounded;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        rounded.emplace_back(std::round(ring[i].X * 4) / 4, std::round(ring[i].Y * 4) / 4);
        if (i % 3 == 0) {
            rounded.push_back(rounded.back());
        }
    }
    return rounded;
}

TEST(BPolygon, LongRingsAnswerAsTheWholeWalkDoes) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> quarter(-48, 48);
    std::vector<std::pair<std::string, std::vector<BPoint>>> const rings{
        {"circle", Turning(5000, 1, 10)},      {"short circle", Turning(64, 1, 10)},
        {"spiral", Turning(3000, 20, 1)},      {"square spiral", Turning(1000, 250, 1)},
        {"star", Turning(999, 444, 10)},       {"comb", Comb(700, true)},
        {"diagonal comb", Comb(40, false)},    {"zigzag", Zigzag(random, 1500)},
        {"crowded zigzag", Zigzag(random, 65)}};
    for (auto const& [name, exactRing] : rings) {
        std::vector<BPoint> const ring = OnGrid(exactRing);
        BPolygon const polygon = Ring(ring);
        for (int i = 0; i < 4000; ++i) {
            BPoint const point(quarter(random) / 4.0, quarter(random) / 4.0);
            ASSERT_EQ(Contains(polygon, point), IsInsideExactly(ring, point))
                << name << ' ' << point.X << ' ' << point.Y;
        }
    }
}

TEST(BPolygon, EveryChangeIsSeenByTheNextQuestion) {
    BPolygon ring = Ring(Turning(500, 1, 10));
    EXPECT_TRUE(Contains(ring, {0, 0}));
    ring.Transform(Ambrel::Test::Shift(), false);
    EXPECT_FALSE(Contains(ring, {0, 0}));
    EXPECT_TRUE(Contains(ring, {100, 0}));
    ring.Transform(Ambrel::Test::Shift(), true);
    EXPECT_TRUE(Contains(ring, {0, 0}));
    ring.SetOrientation(ORIENTATION_CLOCKWISE);
    EXPECT_TRUE(Contains(ring, {9, 0}));
    EXPECT_FALSE(Contains(ring, {11, 0}));
    ring.AddPoint({30, -1});
    EXPECT_TRUE(Contains(ring, {29, -.953}));
    ring.SetPoints(Vertices({{0, 0}, {1, 0}, {1, 1}}));
    EXPECT_FALSE(Contains(ring, {0, .5}));
    EXPECT_EQ(ring.TakePoints().GetCount(), 3u);
    EXPECT_FALSE(Contains(ring, {1, .5}));
}

TEST(BPolygon, SeveralThreadsMayAskOneRing) {
    // The star's edges all pass near the points, so that its index changes while it is asked.
    for (double const turns : {1.0, 999.0}) {
        BPolygon const ring = Ring(Turning(2000, turns, 10));
        BPoints const hole = Vertices({{10, 0}, {1, 1}});
        bool const expected = Ring(Turning(2000, turns, 10)).Contains(hole);
        std::vector<int> agreed(4);
        std::vector<std::thread> threads;
        for (int& count : agreed) {
            threads.emplace_back([&] {
                for (int i = 0; i < 200; ++i) {
                    count += ring.Contains(hole) == expected;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(agreed, std::vector<int>(4, 200)) << turns;
    }
}

BSharedPtr<BAreaGeo> Area(std::vector<BPoint> const& list) {
    return BSharedPtr<BAreaGeo>(new BPolygon(Ring(list)));
}

TEST(BDonut, StandsForItsShellAndHoles) {
    BSharedPtr<BDonut> const donut(new BDonut);
    EXPECT_EQ(donut->GetOrientation(), ORIENTATION_NONE);
    EXPECT_TRUE(donut->ComputeMBB().IsEmpty());
    donut->SetShell(Area({{0, 0, 5}, {0, 9, 6}, {9, 9, 7}}));
    donut->AddHole(Area({{1, 2, -3}, {2, 3, 1}, {1, 3, 1}}));
    EXPECT_EQ(donut->GetOrientation(), ORIENTATION_CLOCKWISE);
    EXPECT_GT(donut->ComputeMBB().zMin, donut->ComputeMBB().zMax);

    donut->is3d = 1;
    BSharedPtr<BGeometry> const copy = donut->Clone();
    donut->SetOrientation(ORIENTATION_COUNTERCLOCKWISE);
    EXPECT_EQ(donut->GetShell()->GetOrientation(), ORIENTATION_COUNTERCLOCKWISE);
    auto const& cloned = static_cast<BDonut const&>(*copy);
    EXPECT_EQ(cloned.GetOrientation(), ORIENTATION_CLOCKWISE);
    ASSERT_EQ(cloned.GetHoleCount(), 1u);
    EXPECT_FALSE(cloned.GetHoleAt(0) == donut->GetHoleAt(0));

    // The rings do not say that they have Z; the donut does.
    BBox const box = cloned.ComputeMBB();
    EXPECT_EQ(box.xMax, 9);
    EXPECT_EQ(box.zMin, -3);
    EXPECT_EQ(box.zMax, 7);
}

TEST(BAggregate, UnitesAndCopiesItsMembers) {
    BSharedPtr<BPolyline> const flat(new BPolyline);
    flat->AddPoint({1, 1, 50});
    flat->AddPoint({2, 8, 60});
    BSharedPtr<BPolyline> const solid(new BPolyline);
    solid->AddPoint({-4, 3, 7});
    solid->is3d = 1;
    BSharedPtr<BAggregateLinear> const lines(new BAggregateLinear);
    lines->Add(flat);
    lines->Add(solid);
    lines->Add(BSharedPtr<BLinearGeo>());

    BBox box = lines->ComputeMBB();
    EXPECT_EQ(box.xMin, -4);
    EXPECT_EQ(box.yMax, 8);
    EXPECT_EQ(box.zMax, 7) << "only the member in three dimensions counts";
    lines->is3d = 1;
    EXPECT_EQ(lines->ComputeMBB().zMax, 60);

    BSharedPtr<BGeometry> const copy = lines->Clone();
    auto& cloned = static_cast<BAggregateLinear&>(*copy);
    ASSERT_EQ(cloned.GetCount(), 3u);
    EXPECT_EQ(cloned.is3d, 1);
    EXPECT_FALSE(cloned.GetGeometryAt(2));
    flat->AddPoint({1000, 1000, 0});
    box = cloned.ComputeMBB();
    EXPECT_EQ(box.xMax, 2);
    EXPECT_EQ(BGeometry::ClassOf(copy->type), GEO_CLASS_LINES);
}

struct Counted {
    explicit Counted(std::atomic<int>& newAlive) : alive(newAlive) { ++alive; }
    ~Counted() { --alive; }
    std::atomic<int>& alive;
};

TEST(BSharedPtr, CountsGoBackOnAnyThread) {
    std::atomic<int> alive = 0;
    // The counts that came back from ended threads are as good as new in the next round.
    for (int round = 0; round < 3; ++round) {
        std::vector<BSharedPtr<Counted>> made;
        std::thread([&] {
            for (int i = 0; i < 15000; ++i) {
                made.emplace_back(new Counted(alive));
            }
        }).join();
        EXPECT_EQ(alive, 15000);
        // Two threads share every object; whichever lets go last deletes it.
        std::thread first([copies = made]() mutable { copies.clear(); });
        std::thread second([&] { made.clear(); });
        first.join();
        second.join();
        EXPECT_EQ(alive, 0);
    }
}

} // namespace
} // namespace Ambrel
