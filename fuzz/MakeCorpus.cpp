// Writes the inputs that fuzzing starts from: make-fuzz-corpus FOLDER

#include "ShapefileBuilder.h"
#include "TemporaryFolder.h"

#include <iostream>
#include <random>

namespace {

using namespace Ambrel::Test;
namespace fs = std::filesystem;

constexpr char const* prj =
    "GEOGCS[\"WGS 84\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137,298.257223563]],"
    "PRIMEM[\"Greenwich\",0],UNIT[\"Degree\",0.0174532925199433]]";

/// A file of each layout's type in each variant: sound records, empty parts, holes, null shapes.
ShapefileBuilder MakeSource(std::int32_t variant, std::int32_t type) {
    ShapefileBuilder builder(variant + type);
    Vertices const shell = {{0, 0}, {0, 9}, {9, 9}, {9, 0}, {0, 0}};
    Vertices const hole = {{2, 2}, {4, 2}, {4, 4}, {2, 2}};
    Reals const nine = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    switch (type) {
    case 1: builder.Point(1, 2, 3, 4).Point(5, 6); break;
    case 3: builder.Polyline({shell}).Polyline({hole, {}, shell}); break;
    case 5:
        builder.Polygon({shell, hole}, variant == 10 ? nine : Reals(), variant ? nine : Reals());
        builder.Polygon({shell}).Polygon({shell, shell});
        break;
    default: builder.MultiPoint(shell).MultiPoint({}); break;
    }
    builder.Null();
    builder.Field("id", 'N', 4).Field("name", 'C', 6).Field("r", 'F', 8, 2);
    builder.Field("d", 'D', 8).Field("l", 'L', 1);
    for (std::size_t i = 0; i < builder.RecordCount(); ++i) {
        builder.Row({std::to_string(i), "caf\xC3\xA9", "1.25", "20240229", "T"});
    }
    return builder;
}

Bytes MakeInput(ShapefileBuilder const& builder, std::uint8_t options) {
    Bytes const index = builder.Index();
    Bytes const table = builder.TableFile();
    ByteList coordSys;
    coordSys.Text(prj);
    ByteList input;
    input.Byte(options);
    for (std::size_t size : {index.size(), table.size(), coordSys.Size()}) {
        input.Little16(static_cast<std::uint16_t>(size));
    }
    return input.Append(index).Append(table).Append(coordSys).Append(builder.MainFile());
}

void WriteSeeds(fs::path const& folder) {
    for (std::int32_t variant : {0, 10, 20}) {
        for (std::int32_t type : {1, 3, 5, 8}) {
            ShapefileBuilder const builder = MakeSource(variant, type);
            std::string const name = std::to_string(variant + type);
            WriteFile(folder / "source" / name, MakeInput(builder, 0));
            WriteFile(folder / "source" / (name + "-z"), MakeInput(builder, 2));
            WriteFile(folder / "table" / name, builder.TableFile());
            for (std::size_t i = 0; i < builder.RecordCount(); ++i) {
                ByteList input;
                input.Byte(static_cast<std::uint8_t>(variant / 10)).Append(builder.ContentAt(i));
                WriteFile(folder / "decoders" / (name + "-" + std::to_string(i)), input);
            }
        }
    }
}

/// Schemas and values have no layout of their own: random bytes are as good as any.
void WriteNoise(fs::path const& folder) {
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same seeds every time
    for (int i = 0; i < 32; ++i) {
        Bytes bytes(512);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        WriteFile(folder / "writing" / std::to_string(i), bytes);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Usage: make-fuzz-corpus FOLDER\n";
        return 2;
    }
    fs::path const folder = argv[1];
    for (char const* target : {"source", "decoders", "table", "writing"}) {
        fs::create_directories(folder / target);
    }
    WriteSeeds(folder);
    WriteNoise(folder);
    return 0;
}
