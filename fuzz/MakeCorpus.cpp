// Writes the inputs that fuzzing starts from: make-fuzz-corpus FOLDER

#include "ShapefileBuilder.h"
#include "SourceInput.h"

#include <iostream>

namespace {

using namespace Ambrel::Test;
namespace fs = std::filesystem;

constexpr char const* prj =
    "GEOGCS[\"WGS 84\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137,298.257223563]],"
    "PRIMEM[\"Greenwich\",0],UNIT[\"Degree\",0.0174532925199433]]";

Bytes Source(ShapefileBuilder const& builder, std::uint8_t options) {
    std::map<std::string, Bytes> const files = builder.Files();
    return Ambrel::Fuzz::SourceInput{options, files.at(".shx"), files.at(".dbf"),
                                     ByteList().Text(prj), files.at(".shp")}
        .Encode();
}

void WriteSeedsOf(std::int32_t shapeType, fs::path const& folder) {
    ShapefileBuilder const builder = SmallFile(shapeType);
    std::string const name = std::to_string(shapeType);
    WriteFile(folder / "source" / name, Source(builder, 0));
    WriteFile(folder / "source" / (name + "-z"), Source(builder, 2));
    WriteFile(folder / "table" / name, builder.Files()[".dbf"]);
    // Schemas and values to write have no layout of their own: these are as good as any bytes.
    WriteFile(folder / "writing" / name, Source(builder, 0));
    Bytes const main = builder.Files()[".shp"];
    for (std::size_t i = 0; i < builder.RecordCount(); ++i) {
        auto const [start, size] = builder.PlaceOf(i);
        auto const record = main.begin() + static_cast<std::ptrdiff_t>(start);
        ByteList input;
        input.Byte(static_cast<std::uint8_t>(shapeType / 10));
        input.Append({record + 8, record + static_cast<std::ptrdiff_t>(size)});
        WriteFile(folder / "decoders" / (name + "-" + std::to_string(i)), input);
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
    for (std::int32_t const shapeType : {1, 3, 5, 8, 11, 13, 15, 18, 21, 23, 25, 28}) {
        WriteSeedsOf(shapeType, folder);
    }
    return 0;
}
