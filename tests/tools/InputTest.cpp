#include "ToolRun.h"
#include "ZipFile.h"

#include <cstdlib>

#include <sys/stat.h>

namespace Ambrel::Test {
namespace {

namespace fs = std::filesystem;

/// The tool's input: folders, archives and what is in them.
class Input : public ToolTest {
protected:
    Input() {
        fs::create_directories("data/north/deep");
        fs::create_directories("data/.hidden");
        fs::create_directory("tmp");
        ::setenv("TMPDIR", (fs::current_path() / "tmp").c_str(), 1);
        for (char const* const folder : {"data", "data/north/deep", "data/.hidden"}) {
            ShapefileBuilder(1).Point(1, 2).WriteTo(folder, "towns");
        }
        fs::create_directory_symlink("..", "data/north/loop");
    }
    ~Input() override { ::unsetenv("TMPDIR"); }

    /// A shapefile of one point as members of an archive.
    static std::vector<ZipMember> Members(std::string const& place) {
        Write(ShapefileBuilder(1).Point(1, 2), "member");
        std::vector<ZipMember> members;
        for (char const* const extension : {".shp", ".shx", ".dbf"}) {
            members.push_back({place + extension, TextOf("member" + std::string(extension))});
            fs::remove("member" + std::string(extension));
        }
        return members;
    }

    static std::string Layers(std::string const& arguments) {
        std::string paths;
        ToolRun const run = RunTool("info --json " + arguments);
        EXPECT_EQ(run, Printed(run.out));
        for (auto const& layer : nlohmann::json::parse(run.out)) {
            paths += std::string(layer["path"]) + " ";
        }
        return paths;
    }
};

TEST_F(Input, TakesFoldersBelowWhenAsked) {
    EXPECT_EQ(Layers("data"), "data/towns.shp ");
    EXPECT_EQ(Layers("-r data"), "data/towns.shp data/north/deep/towns.shp ");
    EXPECT_EQ(Layers("-r data data/towns.dbf data/towns"),
              "data/towns.shp data/north/deep/towns.shp ");
}

TEST_F(Input, MirrorsFoldersInTheOutput) {
    EXPECT_EQ(RunTool("export -r data -o new/out --format csv"), Printed(""));
    EXPECT_EQ(TextOf("new/out/towns.csv"), "id,wkt\r\n1,POINT (1 2)\r\n");
    EXPECT_EQ(TextOf("new/out/north/deep/towns.csv"), TextOf("new/out/towns.csv"));
    // For one layer, too, a slash makes a folder, and a mere name does not.
    EXPECT_EQ(RunTool("export data -o one/"), Printed(""));
    EXPECT_TRUE(fs::is_regular_file("one/towns.geojson"));
    EXPECT_EQ(RunTool("export data -o two").exitCode, 2);
    EXPECT_EQ(RunTool("export data/towns data/north/deep/towns -o none/"),
              Failed(2, "none/towns.geojson would be made of two layers: data/towns.shp and "
                        "data/north/deep/towns.shp"));
    EXPECT_FALSE(fs::exists("none"));
    EXPECT_EQ(RunTool("select -r data --bbox 0,0,9,9").exitCode, 2);
}

TEST_F(Input, LooksIntoArchives) {
    std::vector<ZipMember> members = Members("a");
    for (ZipMember& member : Members("north\\b")) {
        members.push_back(member);
    }
    WriteZip("map.zip", members);
    WriteZip("one.SHZ", Members("one"));
    EXPECT_EQ(Layers("map.zip one.SHZ"), "map.zip/a.shp map.zip/north/b.shp one.SHZ/one.shp ");
    EXPECT_EQ(Layers("map.zip/north"), "map.zip/north/b.shp ");
    EXPECT_EQ(Layers("map.zip/a"), "map.zip/a.shp ");
    EXPECT_EQ(Layers("map.zip/north/*.shp"), "map.zip/north/b.shp ");
    EXPECT_EQ(RunTool("export map.zip -o out"), Printed(""));
    EXPECT_TRUE(fs::is_regular_file("out/north/b.geojson"));
    EXPECT_EQ(RunTool("info map.zip/c").exitCode, 1);
    fs::rename("data", "data.zip");
    EXPECT_EQ(Layers("data.zip"), "data.zip/towns.shp ");
    EXPECT_TRUE(fs::is_empty("tmp"));
}

TEST_F(Input, KeepsArchivesInBounds) {
    std::vector<ZipMember> members = Members("a");
    members.push_back({"../out.shp", "x"});
    members.push_back({"/out.shp", "x"});
    members.push_back({"x/../../out.shp", "x"});
    members.push_back({"link.shp", "/etc/passwd", S_IFLNK | 0777});
    members.push_back({"a.txt", "x"});
    WriteZip("bad.zip", members);
    ToolRun const run = RunTool("table bad.zip");
    EXPECT_EQ(run.out, "record  id\n     0   1\n");
    EXPECT_NE(run.err.find("4 of its members are left out"), std::string::npos) << run;
    EXPECT_FALSE(fs::exists("tmp/out.shp") || fs::exists("out.shp"));
    WriteZip("bomb.zip", {{"b.dbf", std::string(std::size_t{2} << 20, ' ')}});
    ToolRun const bomb = RunTool("info bomb.zip --unpack-limit 1");
    EXPECT_EQ(bomb.exitCode, 1);
    EXPECT_NE(bomb.err.find("unpacks to more than 1 MiB"), std::string::npos) << bomb;
    EXPECT_TRUE(fs::is_empty("tmp"));
}

} // namespace
} // namespace Ambrel::Test
