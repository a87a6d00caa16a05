// Small files, cut at every length and with every byte of their heads set to nasty values.

#include "HostileSupport.h"

#include <array>
#include <map>
#include <optional>

namespace Ambrel::Test {

namespace {

/// Bytes from one position to before another.
struct Span {
    std::size_t first;
    std::size_t last;
    bool Meets(Span const& other) const { return first < other.last && other.first < last; }
};

/// A file's bytes from a position on lost, or one of them replaced.
struct Damage {
    std::string extension;
    std::size_t position;
    std::optional<std::uint8_t> value;

    Bytes ApplyTo(Bytes bytes) const {
        if (value) {
            bytes[position] = *value;
        } else {
            bytes.resize(position);
        }
        return bytes;
    }
    std::string Describe() const {
        return extension + " at " + std::to_string(position) +
               (value ? " set to " + std::to_string(*value) : " cut");
    }
};

/// What a record is without its attributes, or the class of what was thrown.
std::string Fetch(BShpFile& file, std::uint32_t index, bool complete) {
    try {
        BSharedPtr<BFeature> const feature = file.ReadFeature(index, complete);
        std::string text = TextOf(*feature);
        for (std::uint64_t i = 0; i < feature->attributes.GetCount(); ++i) {
            text += ' ';
            text += feature->attributes.GetAt(i).GetValue().GetValueAsString("?").Ascii();
        }
        return text;
    } catch (BException const& failure) {
        return failure.GetClassName();
    }
}

class MutationTest : public testing::TestWithParam<std::int32_t> {
protected:
    MutationTest() : builder(SmallFile(GetParam())), path(builder.WriteTo(folder, "file")) {
        sound = {
            {".shp", builder.MainFile()}, {".shx", builder.Index()}, {".dbf", builder.TableFile()}};
        BShpFile file;
        file.Open(path, BShpFile::readMode, true, BString());
        for (std::uint32_t i = 0; i < builder.RecordCount(); ++i) {
            geometries.push_back(Fetch(file, i, false));
            completed.push_back(Fetch(file, i, true));
        }
    }

    /// Where the bytes stand that record `index` is made of, its heads and the file's included.
    Span SpanOf(std::string const& extension, std::size_t index) const {
        if (extension == ".shx") {
            return {100 + 8 * index, 108 + 8 * index};
        }
        std::size_t first = 100;
        for (std::size_t i = 0; i < index; ++i) {
            first += 8 + builder.ContentAt(i).size();
        }
        return {first, first + 8 + builder.ContentAt(index).size()};
    }

    /// Whether the damage can change the geometry of record `index`. The header of the index is
    /// never looked at; that of the main file tells what all records hold.
    bool Touches(Damage const& damage, std::size_t index) const {
        if (damage.extension == ".dbf") {
            return false;
        }
        bool const isMain = damage.extension == ".shp";
        Span const damaged = {damage.position, damage.value ? damage.position + 1 : SIZE_MAX};
        return damaged.Meets(SpanOf(damage.extension, index)) ||
               (isMain && damaged.Meets({0, 100}));
    }

    void Inflict(Damage const& damage) {
        SCOPED_TRACE(damage.Describe());
        std::filesystem::path const target = folder.Path() / ("file" + damage.extension);
        Replace(target, damage.ApplyTo(sound[damage.extension]));
        Fuzz::LifeReport const report = Fuzz::LiveThrough(path, true, BString(), allRecords);
        if (report.isOpened) {
            ExpectTheRestUnchanged(damage);
        }
        Replace(target, sound[damage.extension]);
    }

    /// A new file: to empty one that was just written makes some file systems wait for the disk.
    static void Replace(std::filesystem::path const& path, Bytes const& bytes) {
        std::filesystem::remove(path);
        WriteFile(path, bytes);
    }

    void ExpectTheRestUnchanged(Damage const& damage) {
        BShpFile file;
        file.Open(path, BShpFile::readMode, true, BString());
        bool const tableIsSound = damage.extension != ".dbf";
        for (std::uint32_t i = 0;
             i < std::min<std::size_t>(file.GetRecordCount(), completed.size()); ++i) {
            if (!Touches(damage, i)) {
                EXPECT_EQ(Fetch(file, i, tableIsSound),
                          tableIsSound ? completed[i] : geometries[i]);
            }
        }
    }

    /// The parts of a file that tell what the rest of it means.
    std::vector<Span> HeadsOf(std::string const& extension) const {
        if (extension == ".dbf") {
            return {{0, 32 + 3 * 32 + 1}};
        }
        std::vector<Span> heads = {{0, 100}};
        constexpr std::size_t longestHead = 8 + 52; // up to the second part start
        for (std::size_t i = 0; i < builder.RecordCount(); ++i) {
            Span const span = SpanOf(extension, i);
            heads.push_back({span.first, std::min(span.last, span.first + longestHead)});
        }
        return heads;
    }

    SilentLog silence;
    TemporaryFolder folder;
    ShapefileBuilder builder;
    BString path;
    std::map<std::string, Bytes> sound;
    Texts geometries;
    Texts completed;
};

TEST_P(MutationTest, CutAtEveryLength) {
    for (auto const& [extension, bytes] : sound) {
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            Inflict({extension, size, std::nullopt});
        }
    }
}

TEST_P(MutationTest, EveryByteOfTheHeads) {
    for (auto const& [extension, bytes] : sound) {
        for (Span const& head : HeadsOf(extension)) {
            for (std::size_t at = head.first; at < head.last; ++at) {
                for (int value : {0x00, 0x7F, 0x80, 0xFF}) {
                    Inflict({extension, at, static_cast<std::uint8_t>(value)});
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Types, MutationTest,
                         testing::Values(1, 3, 5, 8, 11, 13, 15, 18, 21, 23, 25, 28));

} // namespace

} // namespace Ambrel::Test
