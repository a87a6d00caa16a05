// Small files, cut at every length and with every byte set to nasty values.

#include "HostileSupport.h"

namespace Ambrel::Test {

namespace {

class MutationTest : public testing::TestWithParam<std::int32_t> {
protected:
    /// What each record is, with or without its attributes, or the class of what was thrown.
    Texts Records(bool complete) const {
        Texts texts;
        BShpFile file;
        file.Open(path, BShpFile::readMode, true, BString());
        for (std::uint32_t i = 0; i < file.GetRecordCount(); ++i) {
            try {
                BSharedPtr<BFeature> const feature = file.ReadFeature(i, complete);
                texts.push_back(TextOf(*feature) + Fuzz::TextOf(feature->attributes));
            } catch (BException const& failure) {
                texts.emplace_back(failure.GetClassName());
            }
        }
        return texts;
    }

    /// Whether a record's geometry may change with the bytes from `first` up to before `end`. The
    /// header of the index is never looked at, nor is most of that of the main file.
    bool Concerns(std::string const& extension, std::size_t record, std::size_t first,
                  std::size_t end) const {
        bool const isMain = extension == ".shp";
        auto const [start, size] =
            isMain ? builder.PlaceOf(record) : std::pair(100 + 8 * record, std::size_t{8});
        bool const isShapeType = first >= 32 && first < 36;
        bool const isMeasureRange = first >= 84 && first < 100;
        return extension != ".dbf" && ((isMain && (isShapeType || isMeasureRange)) ||
                                       (first < start + size && end > start));
    }

    /// A new file: to empty one that was just written makes some file systems wait for the disk.
    void Replace(std::string const& extension, Bytes const& bytes) const {
        std::filesystem::path const target = folder.Path() / ("file" + extension);
        std::filesystem::remove(target);
        WriteFile(target, bytes);
    }

    /// The file has changed from `first` up to before `end`.
    void LiveThroughChange(std::string const& extension, std::size_t first, std::size_t end) const {
        if (!LiveThrough(path).isOpened) {
            return;
        }
        bool const isTable = extension == ".dbf";
        Texts const& expected = isTable ? geometries : completed;
        Texts const found = Records(!isTable);
        for (std::size_t i = 0; i < std::min(found.size(), expected.size()); ++i) {
            if (!Concerns(extension, i, first, end)) {
                EXPECT_EQ(found[i], expected[i]) << "record " << i;
            }
        }
    }

    Fuzz::SilentLog silence;
    TemporaryFolder folder;
    ShapefileBuilder builder = SmallFile(GetParam());
    BString path = builder.WriteTo(folder, "file");
    Texts geometries = Records(false);
    Texts completed = Records(true);
};

TEST_P(MutationTest, LeavesTheRestAsItIs) {
    for (auto const& [extension, bytes] : builder.Files()) {
        for (std::size_t position = 0; position < bytes.size(); ++position) {
            SCOPED_TRACE(extension + " at " + std::to_string(position));
            Replace(extension, ByteList().Append(bytes).Cut(position));
            LiveThroughChange(extension, position, SIZE_MAX);
            for (std::uint8_t const value : {0x00, 0x7F, 0x80, 0xFF}) {
                Replace(extension, ByteList().Append(bytes).Put(position, {value}));
                LiveThroughChange(extension, position, position + 1);
            }
        }
        Replace(extension, bytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Types, MutationTest,
                         testing::Values(1, 3, 5, 8, 11, 13, 15, 18, 21, 23, 25, 28));

} // namespace

} // namespace Ambrel::Test
