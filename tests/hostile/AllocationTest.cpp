// Every allocation fails once, one after the other: what is thrown, and that nothing leaks.

#include "AllocationHook.h"
#include "HostileSupport.h"
#include "RecordingRenderer.h"

#include "ShpReader/BShpFeatureCollection.h"

#include <functional>

namespace Ambrel::Test {

namespace {

using Action = std::function<void()>;

/// What the action throws: a class and an operation, or nothing.
std::string Thrown(Action const& action) {
    try {
        action();
        return "";
    } catch (BException const& failure) {
        return std::string(failure.GetClassName()) + " " + failure.GetOperation().Ascii();
    } catch (std::bad_alloc const&) {
        return "std::bad_alloc";
    }
}

class AllocationTest : public testing::Test {
protected:
    /// Fails the allocations of an action in turn until it passes without. `make` gives a fresh
    /// action with what it works on, which is made, and goes, with memory.
    static void FailInTurn(Texts const& expected, std::function<Action()> const& make) {
        make()(); // what is made once for the process is there now
        std::int64_t const before = Allocations::LiveBlocks();
        std::uint64_t number = 1;
        while (FailOnce(number, expected, make())) {
            ASSERT_EQ(Allocations::LiveBlocks(), before) << "allocation " << number;
            ++number;
        }
        EXPECT_GT(number, 1U) << "nothing was allocated";
    }

    static bool FailOnce(std::uint64_t number, Texts const& expected, Action const& action) {
        Allocations::FailAt(number);
        std::string const thrown = Thrown(action);
        bool const hasFailed = Allocations::StopFailing();
        EXPECT_TRUE(thrown.empty() || std::count(expected.begin(), expected.end(), thrown) > 0)
            << "allocation " << number << ": " << thrown;
        return hasFailed;
    }

    Fuzz::SilentLog silence;
    TemporaryFolder folder;
    BString path = SmallFile(15).WriteTo(folder, "file");
    BParamList none;
};

TEST_F(AllocationTest, Open) {
    Texts const expected = {"BException BShpReader::Open", "BException BShpFile::Open",
                            "BException BDbfFile::Open"};
    FailInTurn(expected, [this] {
        auto const reader = std::make_shared<BShpReader>(none);
        return [=, this] { reader->Open(path, none); };
    });
}

TEST_F(AllocationTest, OpenFolderAndWildcard) {
    SmallFile(5).WriteTo(folder, "other");
    for (BString const& name : {folder.File("."), folder.File("x/../f*?e.shp")}) {
        FailInTurn({"BException BShpReader::Open", "BException BShpFile::Open",
                    "BException BDbfFile::Open"},
                   [&, this] {
                       auto const reader = std::make_shared<BShpReader>(none);
                       return [=, this] { reader->Open(name, none); };
                   });
    }
}

TEST_F(AllocationTest, Read) {
    Texts const expected = {"BResourceException BShpReader::Read",
                            "BResourceException BShpFile::ReadRecord"};
    FailInTurn(expected, [this] {
        auto const reader = std::make_shared<BShpReader>(none);
        reader->Open(path, none);
        return [reader] {
            try {
                reader->Read();
            } catch (BResourceException const& failure) {
                bool const isReader = failure.GetOperation() == "BShpReader::Read";
                EXPECT_EQ(reader->GetStatus() == 2, isReader);
                EXPECT_EQ(failure.GetMessage() == std::bad_alloc().what(), isReader);
                // Then its files are let go.
                BParamList const extents = reader->QueryInfo(QUERY_DATA_EXTENTS);
                EXPECT_EQ(BDataManager::ExtentsOf(extents).IsEmpty(), isReader);
                reader->ResetStatus();
                EXPECT_EQ(reader->GetStatus(), 4615U);
                throw;
            }
        };
    });
}

TEST_F(AllocationTest, FetchSelectAndDraw) {
    FailInTurn({"std::bad_alloc", "BResourceException BShpFile::ReadRecord"}, [this] {
        BSharedPtr<BShpFile> file(new BShpFile);
        file->Open(path, BShpFile::readMode, true, BString());
        file->LoadIndex();
        auto const features = std::make_shared<BShpFeatureCollection>(file);
        return [=, this] {
            features->GetAt(0, true);
            std::vector<std::uint64_t> selected;
            features->SelectFeatures(BRect(0, 0, 99, 99), none, selected);
            features->GetFeatureMBRAt(0);
            RecordingRenderer const renderer;
            features->RenderFeatures(selected, &renderer);
        };
    });
}

/// A scan that has no memory to read ahead goes on without.
TEST_F(AllocationTest, Scan) {
    BString const longPath = Diagonal(3000).WriteTo(folder, "long");
    FailInTurn({}, [&, this] {
        auto const file = std::make_shared<BShpFile>();
        file->Open(longPath, BShpFile::readMode, true, BString());
        file->LoadIndex();
        return
            [=, this] { EXPECT_TRUE(file->HasFeaturesInArea(BRect(2999, 0, 2999, 9999), none)); };
    });
}

TEST_F(AllocationTest, Write) {
    Texts const expected = {"std::bad_alloc", "BException BShpFile::Open",
                            "BException BDbfFile::Open"};
    FailInTurn(expected, [this] {
        return [schema = NameSchema(), feature = FeatureNamed("x"), name = folder.File("out.shp")] {
            BShpFile file;
            file.Open(name, BShpFile::writeMode, true, BString());
            file.PrepareTable(schema);
            file.WriteFeature(feature);
        };
    });
}

} // namespace

} // namespace Ambrel::Test
