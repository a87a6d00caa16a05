#include "FeatureSamples.h"

#include <atomic>
#include <cmath>
#include <numbers>
#include <random>
#include <thread>

namespace Ambrel::Test {
namespace {

using Vertices = std::vector<BPoint>;

BPolygon Ring(Vertices const& vertices) {
    return *WithVertices<BPolygon>(vertices);
}

bool Contains(BPolygon const& ring, Vertices const& vertices) {
    return ring.Contains(Ring(vertices).GetPoints());
}

TEST(BRect, MeetsWhereAPointIsShared) {
    BRect const area(0, 0, 10, 5);
    std::pair<BRect, bool> const cases[] = {
        {{2, 2, 3, 3}, true},
        {{-5, -5, 20, 20}, true},
        {{10, 5, 12, 8}, true},
        {{-3, 0, 0, 5}, true},
        {{4, -9, 5, 9}, true},
        {{10.1, 0, 12, 5}, false},
        {{0, 5.1, 10, 6}, false},
        {{-2, 0, -1, 5}, false},
        {{notANumber, 0, 10, 5}, false},
        {{0, 0, 10, notANumber}, false},
        {{8, 0, 2, 5}, false},
        {BRect(), false},
        {{5, 2.5, 5, 2.5}, true},
    };
    for (auto const& [other, meets] : cases) {
        EXPECT_EQ(area.Meets(other), meets) << TextOf(other);
        EXPECT_EQ(other.Meets(area), meets) << TextOf(other);
    }
}

TEST(BRect, UnionIgnoresWhatIsNotANumber) {
    BRect rectangle;
    rectangle.Union(BPoint(3, notANumber));
    rectangle.Union(BPoint(notANumber, 4));
    rectangle.Union(BRect());
    rectangle.Union(BRect(-1, 2, 1, 3));
    EXPECT_EQ(TextOf(rectangle), "-1 2 3 4");
}

TEST(BPolygon, OrientationIsTheSignOfTheArea) {
    std::tuple<char const*, Vertices, EOrientation> const cases[] = {
        {"counterclockwise", {{0, 0}, {1, 0}, {1, 1}}, ORIENTATION_COUNTERCLOCKWISE},
        {"clockwise", {{0, 0}, {0, 1}, {1, 1}, {1, 0}, {0, 0}}, ORIENTATION_CLOCKWISE},
        {"none", {}, ORIENTATION_NONE},
        {"two vertices", {{0, 0}, {1, 1}}, ORIENTATION_NONE},
        {"there and back", {{.1, .7}, {.3, .2}, {.9, .4}, {.3, .2}, {.1, .7}}, ORIENTATION_NONE},
        {"a figure of eight", {{0, 0}, {1, 1}, {1, 0}, {0, 1}}, ORIENTATION_NONE},
        // A few units in the last place.
        {"far", {{1e9, 1e9}, {1e9, 1e9 + 1e-6}, {1e9 + 1e-6, 1e9}}, ORIENTATION_CLOCKWISE},
        {"a sliver", {{0, 0}, {.1, .3}, {.2, std::nextafter(.6, 1)}}, ORIENTATION_COUNTERCLOCKWISE},
        {"tiny", {{0, 0}, {1e-300, 0}, {0, 1e-300}}, ORIENTATION_COUNTERCLOCKWISE},
        {"not a number", {{0, 0}, {1, notANumber}, {1, 1}}, ORIENTATION_NONE},
        {"endless", {{infinity, 0}, {1, 0}, {1, 1}}, ORIENTATION_NONE},
    };
    for (auto const& [name, vertices, orientation] : cases) {
        BPolygon ring = Ring(vertices);
        EXPECT_EQ(ring.GetOrientation(), orientation) << name;
        ring.SetOrientation(ORIENTATION_CLOCKWISE);
        // A ring without area still has none.
        EXPECT_EQ(ring.GetOrientation(), std::min(orientation, ORIENTATION_CLOCKWISE)) << name;
    }
}

/// The same ring with so many vertices (all on its edges, or repeated) that it is indexed.
Vertices Lengthened(Vertices const& ring) {
    Vertices repeated;
    for (BPoint const& vertex : ring) {
        repeated.insert(repeated.end(), 70, vertex);
    }
    return repeated;
}

TEST(BPolygon, ContainsWhatLiesInsideToTheLastBit) {
    std::tuple<char const*, Vertices, Vertices, Vertices> const cases[] = {
        {"a square",
         {{0, 0}, {4, 0}, {4, 4}, {0, 4}, {0, 0}},
         {{std::nextafter(4., 0.), 2}},
         {{2, std::nextafter(0., -1.)},
          {std::nextafter(4., 5.), 2},
          {notANumber, 2},
          {2, infinity}}},
        {"far",
         {{1e6, 1e6}, {1e6 + 3, 1e6 + 1}, {1e6, 1e6 + 1}},
         {{1e6 + 3, 1e6 + 1}, {1e6 + 1.5, 1e6 + .5 + 1e-9}, {1e6 + 1.5, 1e6 + .5}},
         {{1e6 + 1.5, 1e6 + .5 - 1e-9}}},
        {"huge",
         {{-1e308, -1e308}, {1e308, -1e308}, {1e308, 1e308}},
         {{5e307, 0}, {3e307, 3e307}},
         {{3e307, std::nextafter(3e307, 1e308)}}},
        {"tiny", {{0, 0}, {4e-310, 0}, {4e-310, 4e-310}}, {{3e-310, 1e-310}}, {{1e-310, 2e-310}}},
        {"two vertices", {{0, 0}, {4, 2}}, {{2, 1}}, {{2, 1.5}}},
        {"one vertex", {{1, 1}}, {{1, 1}}, {{1, 2}}},
        {"no vertex", {}, {}, {{0, 0}}},
        {"not a number", {{0, 0}, {notANumber, 0}, {4, 4}, {0, 4}}, {}, {{1, 2}}},
        {"without end", {{0, 0}, {infinity, 0}, {4, 4}, {0, 4}}, {}, {{1, 2}}},
    };
    for (auto const& [name, vertices, inside, outside] : cases) {
        for (BPolygon const& ring : {Ring(vertices), Ring(Lengthened(vertices))}) {
            EXPECT_TRUE(Contains(ring, inside)) << name;
            for (BPoint const& point : outside) {
                EXPECT_FALSE(Contains(ring, {point})) << name << ' ' << point.X << ' ' << point.Y;
            }
        }
    }
}

/// A spiral or, with `innerRadius` 10, a circle or a star; its coordinates are multiples of 1/4.
Vertices Turning(int count, double turns, double innerRadius) {
    Vertices ring;
    for (int i = 0; i < count; ++i) {
        double const angle = 2 * std::numbers::pi * turns * i / count;
        double const radius = innerRadius + (10 - innerRadius) * i / count;
        ring.emplace_back(std::round(4 * radius * std::cos(angle)) / 4,
                          std::round(4 * radius * std::sin(angle)) / 4);
    }
    return ring;
}

Vertices Zigzag(std::mt19937& random, int count) {
    std::uniform_int_distribution<int> coordinate(-10, 10);
    Vertices ring;
    for (int i = 0; i < count; ++i) {
        double const x = coordinate(random);
        ring.emplace_back(x, coordinate(random));
    }
    return ring;
}

/// Whether the point is in the ring: all coordinates are multiples of 1/32 below 2^10, so that
/// every product is exact.
bool IsInsideExactly(Vertices const& ring, BPoint const& point) {
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

TEST(BPolygon, ContainsWhatExactArithmeticFinds) {
    std::mt19937 random(7); // NOLINT: the same points at every run
    std::uniform_int_distribution<int> quarter(-48, 48);
    // Teeth whose tips and valleys share their Y.
    Vertices const teeth{{0, 0}, {6, 0}, {6, 2}, {5, 1}, {4, 2}, {3, 2}, {2, 1}, {1, 2}, {0, 1}};
    // Longer ones are indexed; those that turn often get a tree of their edges.
    Vertices const rings[] = {teeth,
                              Zigzag(random, 9),
                              Zigzag(random, 65),
                              Zigzag(random, 1500),
                              Turning(64, 1, 10),
                              Turning(5000, 1, 10),
                              Turning(3000, 20, 1),
                              Turning(1000, 250, 1),
                              Turning(999, 444, 10)};
    for (Vertices const& ring : rings) {
        BPolygon const polygon = Ring(ring);
        for (int i = 0; i < 4000; ++i) {
            BPoint const point(quarter(random) / 4.0, quarter(random) / 4.0);
            BPoint const near(point.X + quarter(random) / 32.0, point.Y + quarter(random) / 32.0);
            bool const isInside = IsInsideExactly(ring, point);
            SCOPED_TRACE(testing::Message() << "ring " << &ring - rings << ", point " << i);
            ASSERT_EQ(Contains(polygon, {point}), isInside);
            ASSERT_EQ(Contains(polygon, {point, near}), isInside && IsInsideExactly(ring, near));
        }
    }
}

TEST(BPolygon, EveryChangeIsSeenByTheNextQuestion) {
    BPolygon ring = Ring(Turning(500, 1, 10));
    EXPECT_TRUE(Contains(ring, {{0, 0}}));
    ring.Transform(Shift(), false);
    EXPECT_FALSE(Contains(ring, {{0, 0}}));
    EXPECT_TRUE(Contains(ring, {{100, 0}}));
    ring.Transform(Shift(), true);
    EXPECT_TRUE(Contains(ring, {{0, 0}}));
    ring.SetOrientation(ORIENTATION_CLOCKWISE);
    EXPECT_TRUE(Contains(ring, {{9, 0}}));
    EXPECT_FALSE(Contains(ring, {{11, 0}}));
    ring.AddPoint({30, -1});
    EXPECT_TRUE(Contains(ring, {{29, -.953}}));
    ring.SetPoints(Ring({{0, 0}, {1, 0}, {1, 1}}).GetPoints());
    EXPECT_FALSE(Contains(ring, {{0, .5}}));
    EXPECT_EQ(ring.TakePoints().GetCount(), 3U);
    EXPECT_FALSE(Contains(ring, {{1, .5}}));
}

TEST(BPolygon, SeveralThreadsMayAskOneRing) {
    // The star's edges all pass near the points, so that its index changes while it is asked.
    for (double const turns : {1.0, 999.0}) {
        BPolygon const ring = Ring(Turning(2000, turns, 10));
        Vertices const hole = {{10, 0}, {1, 1}};
        bool const expected = Contains(Ring(Turning(2000, turns, 10)), hole);
        std::atomic<int> agreed = 0;
        auto const ask = [&] {
            for (int i = 0; i < 200; ++i) {
                agreed += Contains(ring, hole) == expected;
            }
        };
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back(ask);
        }
        threads.clear(); // waits for them
        EXPECT_EQ(agreed, 800) << turns;
    }
}

TEST(BDonut, StandsForItsShellAndHoles) {
    BDonut donut;
    EXPECT_EQ(donut.GetOrientation(), ORIENTATION_NONE);
    EXPECT_TRUE(donut.ComputeMBB().IsEmpty());
    donut.SetShell(WithVertices<BPolygon>({{0, 0, 5}, {0, 9, 6}, {9, 9, 7}}));
    donut.AddHole(WithVertices<BPolygon>({{1, 2, -3}, {2, 3, 1}, {1, 3, 1}}));
    EXPECT_EQ(donut.GetOrientation(), ORIENTATION_CLOCKWISE);
    EXPECT_GT(donut.ComputeMBB().zMin, donut.ComputeMBB().zMax);
    // The rings do not say that they have Z; the donut does.
    donut.is3d = 1;
    EXPECT_EQ(TextOf(donut.ComputeMBB()), "0 0 9 9");
    EXPECT_EQ(donut.ComputeMBB().zMin, -3);
    EXPECT_EQ(donut.ComputeMBB().zMax, 7);

    BSharedPtr<BGeometry> const copy = donut.Clone();
    donut.SetOrientation(ORIENTATION_COUNTERCLOCKWISE);
    donut.Transform(Shift(), false);
    EXPECT_EQ(TextOf(&donut), "donut Z{polygon[109 9 7,100 9 6,100 0 5] "
                              "polygon[101 2 -3,102 3 1,101 3 1]}");
    EXPECT_EQ(TextOf(copy.Get()),
              "donut Z{polygon[0 0 5,0 9 6,9 9 7] polygon[1 2 -3,2 3 1,1 3 1]}");
}

TEST(BAggregate, UnitesAndCopiesItsMembers) {
    BAggregateLinear lines;
    lines.Add(WithVertices<BPolyline>({{1, 1, 50}, {2, 8, 60}}));
    lines.Add(WithVertices<BPolyline>({{-4, 3, 7}}, true));
    lines.Add(BSharedPtr<BLinearGeo>());
    EXPECT_EQ(TextOf(lines.ComputeMBB()), "-4 1 2 8");
    EXPECT_EQ(lines.ComputeMBB().zMax, 7) << "only the member in three dimensions counts";
    lines.is3d = 1;
    EXPECT_EQ(lines.ComputeMBB().zMax, 60);

    BSharedPtr<BGeometry> const copy = lines.Clone();
    lines.Transform(Shift(), true);
    EXPECT_EQ(TextOf(&lines), "lines Z{line[-99 1 50,-98 8 60] line Z[-104 3 7] none}");
    EXPECT_EQ(TextOf(copy.Get()), "lines Z{line[1 1 50,2 8 60] line Z[-4 3 7] none}");
    EXPECT_EQ(BGeometry::ClassOf(copy->type), GEO_CLASS_LINES);
}

TEST(BSharedPtr, CountsGoBackOnAnyThread) {
    auto const token = std::make_shared<int>();
    // The counts that came back from ended threads are as good as new in the next round.
    for (int round = 0; round < 3; ++round) {
        std::vector<BSharedPtr<std::shared_ptr<int>>> made;
        std::thread([&] {
            for (int i = 0; i < 15000; ++i) {
                made.emplace_back(new std::shared_ptr<int>(token));
            }
        }).join();
        EXPECT_EQ(token.use_count(), 15001);
        // Two threads share every object; whichever lets go last deletes it.
        std::thread first([copies = made]() mutable { copies.clear(); });
        std::thread second([&] { made.clear(); });
        first.join();
        second.join();
        EXPECT_EQ(token.use_count(), 1);
    }
}

} // namespace
} // namespace Ambrel::Test
