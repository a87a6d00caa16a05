#include "StructuredMutation.h"

#include "ShpReader/format/DbfFormat.h"
#include "ShpReader/format/ShpFormat.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

namespace Ambrel::Fuzz {

namespace {

using Test::ByteList;
using Test::Bytes;

constexpr double infinity = std::numeric_limits<double>::infinity();

constexpr std::array<double, 12> coordinates = {
    0.0,    -0.0,     1e30,      -1e30, 1e308,    -1e308,
    1e-308, infinity, -infinity, -1e39, 180.0001, std::numeric_limits<double>::quiet_NaN()};
constexpr std::array<std::uint32_t, 11> integers = {
    0, 1, 2, 3, 0x7F, 0x100, 0xFFFF, 0x01000000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
constexpr std::array<std::int32_t, 17> shapeTypeCodes = {0,  1,  3,  5,  8,  11, 13, 15, 18,
                                                         21, 23, 25, 28, 31, 2,  32, -1};
constexpr std::string_view typeLetters = "CNFLDMIT\0cnfld?";
constexpr std::array<std::string_view, 10> cells = {"*****",       "     ", "-1.5e308",
                                                    "nan",         "inf",   "20210230",
                                                    "00000000",    "?",     "9999999999999999999",
                                                    "\xE4\xFF\xC3"};
constexpr std::array<std::string_view, 11> coordSysTexts = {
    "",
    "EPSG:4326",
    "GEOGCS[\"x\",DATUM[\"D\",SPHEROID[\"S\",6378137,298.25]],PRIMEM[\"G\",0],"
    "UNIT[\"Degree\",0.0174532925199433]]",
    "GEOGCS[\"x\",DATUM[\"D\",SPHEROID[\"S\",6378137,0],EXTENSION[\"PROJ4_GRIDS\",\"f.shp\"]]]",
    "PROJCS[\"x\",EXTENSION[\"PROJ4\",\"+proj=longlat +nadgrids=f.shp\"]]",
    "+proj=longlat +geoidgrids=f.shp",
    "+init=f.shp:1",
    "+proj=pipeline +step +proj=hgridshift +grids=f.shp",
    "{\"type\":\"GeographicCRS\",\"name\":\"x\"}",
    "urn:ogc:def:crs:EPSG::99999999",
    "PARAMETERFILE[\"Grid\",\"f.shp\"]"};

class Damage {
public:
    Damage(SourceInput& damaged, std::mt19937& source) : input(damaged), random(source) {}
    void Run();

private:
    std::size_t Below(std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    }
    template <class Values>
    auto Pick(Values const& values) {
        return values[Below(values.size())];
    }
    /// A nasty number, or one near `old`.
    std::uint32_t Number(std::uint32_t old) {
        return Below(2) == 0 ? Pick(integers) : old + static_cast<std::uint32_t>(Below(9)) - 4;
    }

    /// Puts bytes into a file, as far as it has room.
    static void Put(Bytes& file, std::size_t offset, Bytes const& bytes) {
        for (std::size_t i = 0; i < bytes.size() && offset + i < file.size(); ++i) {
            file[offset + i] = bytes[i];
        }
    }
    static std::uint32_t Little32At(Bytes const& file, std::size_t offset) {
        return offset + 4 <= file.size() ? POSH_ReadU32FromLittle(file.data() + offset) : 0;
    }

    std::size_t EntryCount() const {
        return input.index.size() < ShpFileHeader::size + ShpIndexEntry::size
                   ? 0
                   : (input.index.size() - ShpFileHeader::size) / ShpIndexEntry::size;
    }
    std::size_t AnyEntry() {
        return ShpFileHeader::size +
               ShpIndexEntry::size * Below(std::max<std::size_t>(EntryCount(), 1));
    }
    /// Where some record's header stands, as the index has it.
    std::size_t AnyRecord() {
        std::size_t const entry = AnyEntry();
        if (entry + ShpIndexEntry::size > input.index.size()) {
            return ShpFileHeader::size;
        }
        std::int64_t const position =
            ShpIndexEntry::Decode(input.index.data() + entry).RecordPosition();
        return position < 0 ? 0 : static_cast<std::size_t>(position);
    }
    std::size_t AnyContent() { return AnyRecord() + ShpRecordHeader::size; }

    void IndexEntry() {
        std::size_t const entry = AnyEntry();
        if (entry + ShpIndexEntry::size > input.index.size()) {
            return;
        }
        ShpIndexEntry const old = ShpIndexEntry::Decode(input.index.data() + entry);
        switch (Below(4)) {
        case 0: // one record's bytes again
            Put(input.index, entry,
                {input.index.begin() + static_cast<std::ptrdiff_t>(AnyEntry()), input.index.end()});
            break;
        case 1: Put(input.index, entry + 4, {1}); break;
        case 2:
            Put(input.index, entry,
                ByteList().Big32(Number(static_cast<std::uint32_t>(old.offset))));
            break;
        default:
            Put(input.index, entry + 4,
                ByteList().Big32(Number(static_cast<std::uint32_t>(old.contentLength))));
        }
    }
    void RecordHeader() { Put(input.main, AnyRecord() + 4, ByteList().Big32(Pick(integers))); }
    void ShapeTypeOfRecord() {
        auto const code = static_cast<std::uint32_t>(Pick(shapeTypeCodes));
        Put(input.main, AnyContent(), ByteList().Little32(code));
    }
    /// The counts and the part starts of records with vertices.
    void Counts() {
        std::size_t const field = AnyContent() + 36 + 4 * Below(6);
        Put(input.main, field, ByteList().Little32(Number(Little32At(input.main, field))));
    }
    void Coordinate() {
        Put(input.main, AnyContent() + 4 + 4 * Below(40), ByteList().Real(Pick(coordinates)));
    }
    void FileHeader() {
        if (Below(2) == 0) {
            auto const code = static_cast<std::uint32_t>(Pick(shapeTypeCodes));
            Put(input.main, 32, ByteList().Little32(code));
        } else {
            Put(input.main, 36 + 8 * Below(8), ByteList().Real(Pick(coordinates)));
        }
    }
    void TableHeader() {
        std::uint32_t const number = Number(Little32At(input.table, 4));
        switch (Below(4)) {
        case 0: Put(input.table, 4, ByteList().Little32(number)); break;
        case 1: Put(input.table, 8, ByteList().Little16(static_cast<std::uint16_t>(number))); break;
        case 2:
            Put(input.table, 10, ByteList().Little16(static_cast<std::uint16_t>(number)));
            break;
        default: Put(input.table, 29, {static_cast<std::uint8_t>(Below(256))}); // the code page
        }
    }
    void Descriptor() {
        std::size_t const descriptor = DbfHeader::size * (1 + Below(4));
        auto const byte = static_cast<std::uint8_t>(Number(0));
        switch (Below(4)) {
        case 0: Put(input.table, descriptor, {byte}); break; // the name
        case 1:
            Put(input.table, descriptor + 11, {static_cast<std::uint8_t>(Pick(typeLetters))});
            break;
        default: Put(input.table, descriptor + 16 + Below(2), {byte}); // width or decimals
        }
    }
    void Cell() {
        if (input.table.size() <= DbfHeader::size) {
            return;
        }
        std::size_t const offset = DbfHeader::size + Below(input.table.size() - DbfHeader::size);
        bool const isMark = Below(4) == 0;
        Put(input.table, offset, isMark ? Bytes{'*'} : ByteList().Text(Pick(cells)));
    }
    void CoordSys() { input.coordSys = ByteList().Text(Pick(coordSysTexts)); }
    void LengthOfFile() {
        std::array<Bytes*, 3> const files = {&input.index, &input.table, &input.main};
        Bytes& file = *Pick(files);
        if (Below(2) == 0) {
            file.resize(Below(file.size() + 1));
        } else {
            file.resize(file.size() + 1 + Below(24), static_cast<std::uint8_t>(Below(256)));
        }
    }

    SourceInput& input;
    std::mt19937& random;
};

void Damage::Run() {
    using Step = void (Damage::*)();
    constexpr std::array<Step, 12> steps = {
        &Damage::IndexEntry,  &Damage::RecordHeader, &Damage::ShapeTypeOfRecord,
        &Damage::Counts,      &Damage::Counts,       &Damage::Coordinate,
        &Damage::TableHeader, &Damage::Descriptor,   &Damage::Cell,
        &Damage::CoordSys,    &Damage::FileHeader,   &Damage::LengthOfFile};
    (this->*Pick(steps))();
}

} // namespace

void DamageField(SourceInput& input, std::mt19937& random) {
    Damage(input, random).Run();
}

} // namespace Ambrel::Fuzz
