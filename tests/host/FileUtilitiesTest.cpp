#include "TemporaryFolder.h"

#include <Ambrel/BFileUtilities.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace Ambrel::Test {
namespace {

class FileUtilitiesTest : public testing::Test {
protected:
    void Make(std::vector<std::string> const& names) {
        for (std::string const& name : names) {
            std::filesystem::create_directories((folder.Path() / name).parent_path());
            WriteFile(folder.Path() / name, {1, 2, 3});
        }
    }
    /// The listed paths without the folder.
    std::vector<std::string> List(std::string const& name) const {
        std::vector<std::string> names;
        std::string const start = folder.Path().string() + "/";
        for (BString const& path : BFileUtilities::ListFiles(folder.File(name), ".shp")) {
            std::string const text = path.Ascii();
            names.push_back(text.rfind(start, 0) == 0 ? text.substr(start.size()) : text);
        }
        return names;
    }

    TemporaryFolder folder;
};

using Names = std::vector<std::string>;

TEST_F(FileUtilitiesTest, ChangesTheExtensionInItsLetterCase) {
    struct {
        char const* path;
        char const* extension;
        char const* expected;
    } const cases[] = {
        {"/data/roads.shp", ".shx", "/data/roads.shx"},
        {"/data/ROADS.SHP", ".shx", "/data/ROADS.SHX"},
        {"roads.Shp", ".dbf", "roads.Dbf"},
        {"roads.v2.SHP", ".prj", "roads.v2.PRJ"},
        {"/data.d/roads", ".shx", "/data.d/roads.shx"},
        {"/DATA.SHP/roads.shp", ".shx", "/DATA.SHP/roads.shx"},
        {"ROADS.SHP", ".index", "ROADS.INDEX"},
    };
    for (auto const& test : cases) {
        EXPECT_STREQ(BFileUtilities::ChangeExtension(test.path, test.extension).Ascii(),
                     test.expected);
    }
}

TEST_F(FileUtilitiesTest, FindsAnExtensionInAnotherLetterCase) {
    Make({"a.shp", "a.SHX", "B.SHP", "B.shx", "B.SHX", "C.SHP", "C.dBf"});
    auto const change = [&](char const* name, char const* extension) {
        BString const changed = BFileUtilities::ChangeExtension(folder.File(name), extension);
        return std::filesystem::path(changed.Ascii()).filename().string();
    };
    EXPECT_EQ(change("a.shp", ".shx"), "a.SHX");
    EXPECT_EQ(change("B.SHP", ".shx"), "B.SHX");
    EXPECT_EQ(change("C.SHP", ".dbf"), "C.dBf");
    EXPECT_EQ(change("A.shp", ".shx"), "A.shx"); // the name itself differs
}

TEST_F(FileUtilitiesTest, TakesPathsApart) {
    struct {
        char const* path;
        char const* basename;
    } const cases[] = {{"/data/roads.shp", "roads"},
                       {"roads.v2.shp", "roads.v2"},
                       {"/data.d/roads", "roads"},
                       {"/data/", ""}};
    for (auto const& test : cases) {
        EXPECT_STREQ(BFileUtilities::GetBasename(test.path).Ascii(), test.basename);
    }
    EXPECT_STREQ(BFileUtilities::CompletePath("/data/./x/../roads.shp").Ascii(), "/data/roads.shp");
    std::string const here = std::filesystem::current_path().string();
    EXPECT_EQ(BFileUtilities::CompletePath("roads.shp").Ascii(), here + "/roads.shp");
}

TEST_F(FileUtilitiesTest, KnowsRegularFilesAlone) {
    Make({"file"});
    std::filesystem::create_symlink(folder.Path() / "file", folder.Path() / "link");
    std::filesystem::create_symlink(folder.Path() / "none", folder.Path() / "broken");
    ASSERT_EQ(mkfifo(folder.File("pipe").Ascii(), 0600), 0);
    struct {
        BString path;
        bool exists;
    } const cases[] = {{folder.File("file"), true},    {folder.File("link"), true},
                       {folder.File("broken"), false}, {folder.File("pipe"), false},
                       {folder.File("."), false},      {folder.File("none"), false},
                       {"/dev/null", false},           {"", false}};
    for (auto const& test : cases) {
        EXPECT_EQ(BFileUtilities::Exists(test.path), test.exists) << test.path.Ascii();
        EXPECT_EQ(BFileUtilities::GetSize(test.path), test.exists ? 3U : 0U) << test.path.Ascii();
    }
    std::filesystem::resize_file(folder.Path() / "file", (std::uintmax_t{1} << 32) + 5);
    EXPECT_EQ(BFileUtilities::GetSize(folder.File("file")), 5U);
    EXPECT_TRUE(BFileUtilities::Delete(folder.File("file")));
    EXPECT_FALSE(BFileUtilities::Delete(folder.File("file")));
}

TEST_F(FileUtilitiesTest, ListsWhatANameStandsFor) {
    Make({"roads.shp", "ROADS2.SHP", "rails.shp", "rails.dbf", "x[1].shp", "upper.SHP", ".hid.shp",
          "sub/deep.shp", "v2.0.shp"});
    std::filesystem::create_directory(folder.Path() / "folder.shp");
    ASSERT_EQ(mkfifo(folder.File("pipe.shp").Ascii(), 0600), 0);
    struct {
        char const* name;
        Names expected;
    } const cases[] = {
        {"sub", {"sub/deep.shp"}},
        {"sub/", {"sub/deep.shp"}},
        {"folder.shp", {}},
        {"r*", {"ROADS2.SHP", "rails.shp", "roads.shp"}},
        {"r?ils.shp", {"rails.shp"}},
        {"*.dbf", {}},
        {"x[1]*", {"x[1].shp"}},
        {"none*", {}},
        {"roads", {"roads.shp"}},
        {"upper", {"upper.SHP"}},
        {"v2.0", {"v2.0.shp"}},
        {"rails.dbf", {"rails.dbf"}},
        {"missing", {"missing.shp"}},
        {"missing.shp", {"missing.shp"}},
        {"sub/../roads.shp", {"roads.shp"}},
    };
    for (auto const& test : cases) {
        EXPECT_EQ(List(test.name), test.expected) << test.name;
    }
    EXPECT_EQ(List("."),
              (Names{"ROADS2.SHP", "rails.shp", "roads.shp", "upper.SHP", "v2.0.shp", "x[1].shp"}));
}

} // namespace
} // namespace Ambrel::Test
