// Small files, cut at every length and with every byte set to nasty values.

#include "HostileSupport.h"

#include <map>
#include <optional>

namespace Ambrel::Test {

namespace {

/// What a record is, or the class of what was thrown.
std::string Fetch(BShpFile& file, std::size_t index, bool complete) {
    try {
        BSharedPtr<BFeature> const feature =
            file.ReadFeature(static_cast<std::uint32_t>(index), complete);
        return TextOf(*feature) + Fuzz::TextOf(feature->attributes);
    } catch (BException const& failure) {
        return failure.GetClassName();
    }
}

class MutationTest : public testing::TestWithParam<std::int32_t> {
protected:
    MutationTest() : builder(SmallFile(GetParam())), path(builder.WriteTo(folder, "file")) {
        files = {
            {".shp", builder.MainFile()}, {".shx", builder.Index()}, {".dbf", builder.TableFile()}};
        BShpFile file;
        file.Open(path, BShpFile::readMode, true, BString());
        for (std::size_t i = 0; i < builder.RecordCount(); ++i) {
            geometries.push_back(Fetch(file, i, false));
            completed.push_back(Fetch(file, i, true));
        }
    }

    /// Whether a record's geometry may change with the bytes from `first` up to before `end`. The
    /// header of the index is never looked at, nor is most of that of the main file.
    bool Concerns(std::string const& extension, std::size_t record, std::size_t first,
                  std::size_t end) const {
        constexpr std::size_t shapeType = 32;
        constexpr std::size_t measureRange = 84;
        bool const isMain = extension == ".shp";
        std::size_t start = 100;
        for (std::size_t i = 0; i < record; ++i) {
            start += isMain ? 8 + builder.ContentAt(i).size() : 8;
        }
        std::size_t const size = isMain ? 8 + builder.ContentAt(record).size() : 8;
        bool const isHeader =
            isMain && first < 100 &&
            ((first >= shapeType && first < shapeType + 4) || first >= measureRange);
        return extension != ".dbf" && (isHeader || (first < start + size && end > start));
    }

    /// Cuts the file before the byte, or sets that to a value, lives through it, and holds the
    /// records that it does not concern against what they were.
    void Damage(std::string const& extension, std::size_t position,
                std::optional<std::uint8_t> value) {
        SCOPED_TRACE(extension + " at " + std::to_string(position) +
                     (value ? " set to " + std::to_string(*value) : " cut"));
        Bytes bytes = files[extension];
        if (value) {
            bytes[position] = *value;
        } else {
            bytes.resize(position);
        }
        Replace(extension, bytes);
        if (LiveThrough(path).isOpened) {
            ExpectTheRestUnchanged(extension, position, value ? position + 1 : SIZE_MAX);
        }
        Replace(extension, files[extension]);
    }

    /// A new file: to empty one that was just written makes some file systems wait for the disk.
    void Replace(std::string const& extension, Bytes const& bytes) const {
        std::filesystem::path const target = folder.Path() / ("file" + extension);
        std::filesystem::remove(target);
        WriteFile(target, bytes);
    }

    void ExpectTheRestUnchanged(std::string const& extension, std::size_t first, std::size_t end) {
        bool const isTable = extension == ".dbf";
        BShpFile file;
        file.Open(path, BShpFile::readMode, true, BString());
        for (std::size_t i = 0; i < completed.size() && i < file.GetRecordCount(); ++i) {
            if (!Concerns(extension, i, first, end)) {
                EXPECT_EQ(Fetch(file, i, !isTable), isTable ? geometries[i] : completed[i]);
            }
        }
    }

    Fuzz::SilentLog silence;
    TemporaryFolder folder;
    ShapefileBuilder builder;
    BString path;
    std::map<std::string, Bytes> files;
    Texts geometries;
    Texts completed;
};

TEST_P(MutationTest, LeavesTheRestAsItIs) {
    for (auto const& [extension, bytes] : files) {
        for (std::size_t position = 0; position < bytes.size(); ++position) {
            Damage(extension, position, std::nullopt);
            for (std::uint8_t const value : {0x00, 0x7F, 0x80, 0xFF}) {
                Damage(extension, position, value);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Types, MutationTest,
                         testing::Values(1, 3, 5, 8, 11, 13, 15, 18, 21, 23, 25, 28));

} // namespace

} // namespace Ambrel::Test
