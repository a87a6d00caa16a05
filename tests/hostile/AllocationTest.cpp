// Every allocation fails once, one after the other: what is thrown, and that nothing leaks.

#include "AllocationHook.h"
#include "HostileSupport.h"
#include "RecordingRenderer.h"

#include "ShpReader/BShpFeatureCollection.h"

#include <functional>

namespace Ambrel::Test {

namespace {

constexpr char const* outOfMemory = "std::bad_alloc";

/// What the action throws: a class and an operation, or nothing.
std::string Thrown(std::function<void()> const& action) {
    try {
        action();
        return "";
    } catch (BException const& failure) {
        return std::string(failure.GetClassName()) + " " + failure.GetOperation().Ascii();
    } catch (std::bad_alloc const&) {
        return outOfMemory;
    }
}

class AllocationTest : public testing::Test {
protected:
    /// Fails the allocations of `action` in turn until it passes without. `make` gives a fresh
    /// action with what it works on, which is made, and goes, with memory.
    void FailInTurn(std::function<std::function<void()>()> const& make, Texts const& expected) {
        make()(); // what is made once for the process is there now
        std::int64_t const before = Allocations::LiveBlocks();
        bool hasFailed = true;
        std::uint64_t number = 0;
        while (hasFailed) {
            hasFailed = FailOnce(make, ++number, expected);
            ASSERT_EQ(Allocations::LiveBlocks(), before) << "allocation " << number;
        }
        EXPECT_GT(number, 1U) << "nothing was allocated";
    }

    static bool FailOnce(std::function<std::function<void()>()> const& make, std::uint64_t number,
                         Texts const& expected) {
        std::function<void()> const action = make();
        Allocations::FailAt(number);
        std::string const thrown = Thrown(action);
        bool const hasFailed = Allocations::StopFailing();
        EXPECT_TRUE(thrown.empty() || std::count(expected.begin(), expected.end(), thrown) > 0)
            << "allocation " << number << ": " << thrown;
        return hasFailed;
    }

    std::shared_ptr<BShpFeatureCollection> Collection() const {
        BSharedPtr<BShpFile> file(new BShpFile);
        file->Open(path, BShpFile::readMode, true, BString());
        file->LoadIndex();
        return std::make_shared<BShpFeatureCollection>(file);
    }

    SilentLog silence;
    TemporaryFolder folder;
    BString path = SmallFile(15).WriteTo(folder, "file");
    BParamList none;
};

TEST_F(AllocationTest, Open) {
    FailInTurn(
        [this] {
            auto const reader = std::make_shared<BShpReader>(none);
            return [=, this] { reader->Open(path, none); };
        },
        {"BException BShpReader::Open", "BException BShpFile::Open", "BException BDbfFile::Open"});
}

TEST_F(AllocationTest, Read) {
    FailInTurn(
        [this] {
            auto const reader = std::make_shared<BShpReader>(none);
            reader->Open(path, none);
            return [reader] {
                try {
                    reader->Read();
                } catch (BResourceException const& failure) {
                    bool const isReader = failure.GetOperation() == "BShpReader::Read";
                    EXPECT_EQ(reader->GetStatus() == STATUS_OUT_OF_MEMORY, isReader);
                    throw;
                }
            };
        },
        {"BResourceException BShpReader::Read", "BResourceException BShpFile::ReadRecord"});
}

TEST_F(AllocationTest, Fetch) {
    FailInTurn(
        [this] {
            auto const features = Collection();
            return [features] { features->GetAt(0, true); };
        },
        {outOfMemory, "BResourceException BShpFile::ReadRecord"});
}

TEST_F(AllocationTest, SelectAndDraw) {
    FailInTurn(
        [this] {
            auto const features = Collection();
            return [=, this] {
                std::vector<std::uint64_t> selected;
                features->SelectFeatures(BRect(0, 0, 99, 99), none, selected);
                features->HasFeaturesInArea(BRect(0, 0, 99, 99), none);
                features->GetFeatureMBRAt(0);
                RecordingRenderer const renderer;
                features->RenderFeatures(selected, &renderer);
            };
        },
        {outOfMemory, "BResourceException BShpFile::ReadRecord"});
}

TEST_F(AllocationTest, Write) {
    FailInTurn(
        [this] {
            BAttributeDefs schema;
            BAttributeDef field;
            field.name = "a name that is cut";
            field.width = 9;
            schema.Add(field);
            BSharedPtr<BFeature> const feature(new BFeature);
            feature->attributes.Add(field.name, "text");
            BString const name = folder.File("out.shp");
            return [=] {
                BShpFile file;
                file.Open(name, BShpFile::writeMode, true, BString());
                file.PrepareTable(schema);
                file.WriteFeature(feature);
            };
        },
        {outOfMemory, "BException BShpFile::Open", "BException BDbfFile::Open"});
}

} // namespace

} // namespace Ambrel::Test
