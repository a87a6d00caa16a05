#include "Testing.h"

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

    TemporaryFolder folder;
};

TEST_F(FileUtilitiesTest, ChangesTheExtensionInTheLetterCaseThatIsThere) {
    Make({"a.shp", "a.SHX", "B.SHP", "B.shx", "B.SHX", "C.SHP", "C.dBf"});
    for (auto const& [path, extension, expected] :
         {std::tuple{"roads.shp", ".shx", "roads.shx"},
          {"ROADS.SHP", ".shx", "ROADS.SHX"},
          {"roads.Shp", ".dbf", "roads.Dbf"},
          {"roads.v2.SHP", ".prj", "roads.v2.PRJ"},
          {"data.d/roads", ".shx", "data.d/roads.shx"},
          {"DATA.SHP/roads.shp", ".shx", "DATA.SHP/roads.shx"},
          {"ROADS.SHP", ".index", "ROADS.INDEX"},
          {"a.shp", ".shx", "a.SHX"},
          {"B.SHP", ".shx", "B.SHX"},
          {"C.SHP", ".dbf", "C.dBf"},
          {"A.shp", ".shx", "A.shx"}}) { // the name itself differs
        EXPECT_EQ(BFileUtilities::ChangeExtension(folder.File(path), extension),
                  folder.File(expected));
    }
}

TEST_F(FileUtilitiesTest, TakesPathsApart) {
    for (auto const& [path, name] : {std::pair{"/data/roads.shp", "roads"},
                                     {"roads.v2.shp", "roads.v2"},
                                     {"/data.d/roads", "roads"},
                                     {"/data/", ""}}) {
        EXPECT_EQ(BFileUtilities::GetBasename(path), BString(name));
    }
    EXPECT_EQ(BFileUtilities::CompletePath("/data/./x/../roads.shp"), BString("/data/roads.shp"));
    std::string const here = std::filesystem::current_path().string();
    for (std::string const name : {"roads.shp", ":roads.shp", "\xEF\xBB\xBFroads.shp"}) {
        EXPECT_EQ(BFileUtilities::CompletePath(name.c_str()).Utf8(), here + "/" + name);
    }
    Make({"elsewhere/deep/x"});
    std::filesystem::create_symlink("elsewhere/deep", folder.Path() / "link");
    EXPECT_EQ(BFileUtilities::CompletePath(folder.File("link/./../deep/../roads.shp")),
              folder.File("elsewhere/roads.shp"));
}

TEST_F(FileUtilitiesTest, KnowsRegularFilesAlone) {
    Make({"file"});
    std::filesystem::create_symlink(folder.Path() / "file", folder.Path() / "link");
    std::filesystem::create_symlink(folder.Path() / "none", folder.Path() / "broken");
    ASSERT_EQ(mkfifo(folder.File("pipe").Ascii(), 0600), 0);
    for (char const* const name : {"file", "link"}) {
        EXPECT_TRUE(BFileUtilities::Exists(folder.File(name))) << name;
        EXPECT_EQ(BFileUtilities::GetSize(folder.File(name)), 3U) << name;
    }
    for (BString const& path : {folder.File("broken"), folder.File("pipe"), folder.File("."),
                                folder.File("none"), BString("/dev/null"), BString()}) {
        EXPECT_FALSE(BFileUtilities::Exists(path)) << path.Ascii();
        EXPECT_EQ(BFileUtilities::GetSize(path), 0U) << path.Ascii();
    }
    std::filesystem::resize_file(folder.Path() / "file", (std::uintmax_t{1} << 32) + 5);
    EXPECT_EQ(BFileUtilities::GetSize(folder.File("file")), 5U);
    for (auto const& [name, isRemoved] : {std::pair{"pipe", false},
                                          {"broken", false},
                                          {"link", true},
                                          {"file", true},
                                          {"file", false}}) {
        EXPECT_EQ(BFileUtilities::Delete(folder.File(name)), isRemoved) << name;
    }
    EXPECT_TRUE(std::filesystem::is_fifo(folder.Path() / "pipe"));
}

TEST_F(FileUtilitiesTest, ListsWhatANameStandsFor) {
    Make({"roads.shp", "ROADS2.SHP", "rails.shp", "rails.dbf", "x[1].shp", "upper.SHP", ".hid.shp",
          "sub/deep.shp", "v2.0.shp", "case/a.shp", "case/A.shp", "case/A.SHP", "case/aaab.shp"});
    std::filesystem::create_directory(folder.Path() / "folder.shp");
    ASSERT_EQ(mkfifo(folder.File("pipe.shp").Ascii(), 0600), 0);
    std::pair<char const*, std::vector<char const*>> const cases[] = {
        {".", {"ROADS2.SHP", "rails.shp", "roads.shp", "upper.SHP", "v2.0.shp", "x[1].shp"}},
        {"sub/", {"sub/deep.shp"}},
        {"folder.shp", {}},
        {"r*", {"ROADS2.SHP", "rails.shp", "roads.shp"}},
        {"r?ils.shp", {"rails.shp"}},
        {"*.dbf", {}},
        {"x[1]*", {"x[1].shp"}},
        {"none*", {}},
        {"case", {"case/A.SHP", "case/A.shp", "case/a.shp", "case/aaab.shp"}},
        {"case/*A?B.*", {"case/aaab.shp"}},
        {"case/*?a**b.shp", {"case/aaab.shp"}},
        {"case/?a.shp", {}},
        {".h*", {".hid.shp"}},
        {"roads", {"roads.shp"}},
        {"upper", {"upper.SHP"}},
        {"v2.0", {"v2.0.shp"}},
        {"rails.dbf", {"rails.dbf"}},
        {"missing", {"missing.shp"}},
        {"missing.shp", {"missing.shp"}},
        {"sub/../roads.shp", {"roads.shp"}},
    };
    for (auto const& [name, names] : cases) {
        std::vector<BString> expected;
        for (char const* const file : names) {
            expected.push_back(folder.File(file));
        }
        EXPECT_EQ(BFileUtilities::ListFiles(folder.File(name), ".shp"), expected) << name;
    }
}

} // namespace
} // namespace Ambrel::Test
