// Times the writing of a million records of five attributes, beside the least that it can cost:
// formatting the same values and writing the same bytes. Prints `write`, `floor` and the ratio.

#include "ShpReader/shp/BShpFile.h"

#include <Ambrel/Ambrel.h>

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>

namespace Ambrel::Bench {

namespace {

constexpr int recordCount = 1'000'000;
constexpr int rounds = 3;
constexpr std::size_t recordLength = 1 + 20 + 9 + 18 + 8 + 10;
constexpr std::size_t shapeLength = 12; ///< bytes of a null-shape record
constexpr std::size_t entryLength = 8;  ///< bytes of an index entry

BAttributeDef Field(char const* name, EVariantType type, int width, int decimals = 0) {
    BAttributeDef field;
    field.name = name;
    field.width = width;
    field.decimals = decimals;
    field.SetType(type);
    return field;
}

BAttributeDefs Schema() {
    BAttributeDefs schema;
    schema.Add(Field("name", VAR_STRING, 20));
    schema.Add(Field("count", VAR_INTEGER, 9));
    schema.Add(Field("area", VAR_DOUBLE, 18, 6));
    schema.Add(Field("day", VAR_DATE, 8));
    schema.Add(Field("kind", VAR_STRING, 10));
    return schema;
}

void WriteShapefile(BString const& path) {
    BShpFile file;
    file.Open(path, BShpFile::writeMode, true, BString());
    file.PrepareTable(Schema());
    BSharedPtr<BFeature> const feature(new BFeature);
    BAttributes& values = feature->attributes;
    for (BAttribute const& value :
         {BAttribute("name", "Renstaverdal"), BAttribute("count", 0), BAttribute("area", 0.0),
          BAttribute("day", "20210315"), BAttribute("kind", "harbour")}) {
        values.Add(value);
    }
    for (int i = 0; i < recordCount; ++i) {
        values.GetAt(1).SetValue(BVariant(i));
        values.GetAt(2).SetValue(BVariant(i * 1.25));
        file.WriteFeature(feature);
    }
}

void FormatAndWrite(QString const& path) {
    QFile main(path + ".a");
    QFile index(path + ".b");
    QFile table(path + ".c");
    for (QFile* const file : {&main, &index, &table}) {
        file->open(QIODevice::WriteOnly);
    }
    char const bytes[shapeLength] = {};
    char record[recordLength + 1];
    for (int i = 0; i < recordCount; ++i) {
        std::snprintf(record, sizeof record, " %-20s%9d%18.6f%8s%-10s", "Renstaverdal", i, i * 1.25,
                      "20210315", "harbour");
        main.write(bytes, shapeLength);
        index.write(bytes, entryLength);
        table.write(record, recordLength);
    }
}

double Seconds(std::function<void()> const& action) {
    auto const start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

} // namespace Ambrel::Bench

int main() {
    using namespace Ambrel;
    QTemporaryDir const folder;
    QString const path = folder.filePath("written.shp");
    double write = 1e9;
    double floor = 1e9;
    for (int round = 0; round < Bench::rounds; ++round) {
        write = std::min(
            write, Bench::Seconds([&] { Bench::WriteShapefile(BString::FromQString(path)); }));
        floor = std::min(floor, Bench::Seconds([&] { Bench::FormatAndWrite(path); }));
    }
    std::printf("records      write              %.4f %8.2f\n", write, write / floor);
    std::printf("records      floor              %.4f     1.00\n", floor);
    return 0;
}
