// Times the pieces that reading consists of, so that a step back shows where it happened.

#include "Random.h"
#include "ShpReader/dbf/BDbfFile.h"

#include <Ambrel/BAreaGeo.h>
#include <Ambrel/BString.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <string>
#include <string_view>
#include <vector>

namespace Ambrel::Bench {

namespace {

struct FieldCase {
    char const* label;
    EVariantType type;
    std::uint8_t width;
    std::uint8_t decimals;
    char const* texts[4]; ///< cells of exactly `width` bytes
};
constexpr FieldCase fieldCases[] = {
    {"integer", VAR_INTEGER, 9, 0, {"    12345", "123456789", "        7", "   -98765"}},
    {"integer64",
     VAR_INTEGER64,
     18,
     0,
     {"  1234567890123456", "                 0", "   -98765432109876", "           1000000"}},
    {"real",
     VAR_DOUBLE,
     18,
     6,
     {"     -12345.678901", "     999999.000001", "          0.500000", "     271828.182846"}},
    {"long-real",
     VAR_DOUBLE,
     24,
     15,
     {" 3.141592653589793115998", "-2.718281828459045090796", " 1.79769313486231571e308",
      "0.1000000000000000055511"}},
    {"exponent-real",
     VAR_DOUBLE,
     19,
     11,
     {"  1.23456789010e+05", " -9.87654321000e-05", "  6.02214076000e+23", "  0.00000000000e+00"}},
    {"date", VAR_DATE, 8, 0, {"20210315", "19991231", "00000000", "20000229"}},
    {"boolean", VAR_BOOLEAN, 1, 0, {"T", "F", "?", "y"}},
    {"text",
     VAR_STRING,
     20,
     0,
     {"Kalo 12             ", "Renstaverdal 999    ", "                    ",
      "Ostr\xC3\xB3w Wielkopolsk "}},
    {"text-1252",
     VAR_STRING,
     20,
     0,
     {"M\xFCnchen             ", "\xC5rhus               ", "S\xE3o Paulo           ",
      "K\xF8"
      "benhavn           "}},
};

/// What ReadAttributeRecord does for one field of a record.
void ConvertField(benchmark::State& state, FieldCase const& fieldCase) {
    BAttributeDef definition;
    definition.name = "FIELD";
    definition.SetType(fieldCase.type);
    definition.width = fieldCase.width;
    definition.decimals = fieldCase.decimals;
    std::vector<std::string> records;
    for (char const* text : fieldCase.texts) {
        records.push_back(" " + std::string(text));
        if (records.back().size() != fieldCase.width + 1U) {
            state.SkipWithError("a cell has not the field's width");
            return;
        }
    }
    std::size_t next = 0;
    for (auto _ : state) {
        BAttribute attribute;
        BDbfFile::DbfField2Attribute(records[next++ % records.size()], definition, 1, attribute);
        benchmark::DoNotOptimize(attribute);
    }
    state.SetItemsProcessed(state.iterations());
}

void DecodeText(benchmark::State& state, std::string_view bytes) {
    for (auto _ : state) {
        BString text(bytes.data(), bytes.size());
        benchmark::DoNotOptimize(text);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void CopyText(benchmark::State& state) {
    BString const text("a name of twenty by");
    for (auto _ : state) {
        BString copy(text);
        benchmark::DoNotOptimize(copy);
    }
}

/// A ring around the origin whose radius goes up and down between 0.9 and 1.
void FillRing(BPolygon& ring, std::int64_t vertexCount) {
    Random random(1);
    for (std::int64_t i = 0; i < vertexCount; ++i) {
        double const angle = 2 * std::numbers::pi * static_cast<double>(i) / vertexCount;
        double const radius = random.Between(0.9, 1.0);
        ring.AddPoint(BPoint(radius * std::cos(angle), radius * std::sin(angle)));
    }
}

/// One question to a ring that has been asked before. Argument: the ring's vertices.
void AskRing(benchmark::State& state) {
    BPolygon ring;
    FillRing(ring, state.range(0));
    BPoints hole;
    for (double const corner : {-0.1, 0.0, 0.1, 0.05}) {
        hole.Add(BPoint(0.3 + corner, 0.2 - corner));
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(ring.Contains(hole));
    }
}

/// The first question to a ring, which makes its index where it keeps one.
void AskRingFirst(benchmark::State& state) {
    BPoints hole;
    hole.Add(BPoint(0.3, 0.2));
    BPolygon pattern;
    FillRing(pattern, state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        BPolygon ring(pattern);
        state.ResumeTiming();
        benchmark::DoNotOptimize(ring.Contains(hole));
    }
}

void Orientation(benchmark::State& state) {
    BPolygon ring;
    FillRing(ring, state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(ring.GetOrientation());
    }
}

void RegisterAll() {
    for (FieldCase const& fieldCase : fieldCases) {
        std::string const name = std::string("Field/") + fieldCase.label;
        benchmark::RegisterBenchmark(name.c_str(), [&fieldCase](benchmark::State& state) {
            ConvertField(state, fieldCase);
        });
    }
    benchmark::RegisterBenchmark("Text/ascii", DecodeText, "Renstaverdal 999");
    benchmark::RegisterBenchmark("Text/utf8", DecodeText, "Ostr\xC3\xB3w Wielkopolsk");
    benchmark::RegisterBenchmark("Text/windows-1252", DecodeText,
                                 "K\xF8"
                                 "benhavn og omegn");
    benchmark::RegisterBenchmark("Text/copy", CopyText);
    benchmark::RegisterBenchmark("Ring/contains", AskRing)->RangeMultiplier(10)->Range(10, 100'000);
    benchmark::RegisterBenchmark("Ring/contains-first", AskRingFirst)
        ->RangeMultiplier(10)
        ->Range(10, 100'000);
    benchmark::RegisterBenchmark("Ring/orientation", Orientation)
        ->RangeMultiplier(10)
        ->Range(10, 100'000);
}

} // namespace

} // namespace Ambrel::Bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    Ambrel::Bench::RegisterAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
