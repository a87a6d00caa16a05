#include "OutputFile.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

namespace Ambrel::Test {
namespace {

namespace fs = std::filesystem;

class Output : public testing::Test {
protected:
    Tool::StringSink out;
    Tool::StringSink err;
    Tool::Console console{.out = out, .err = err};
    TemporaryFolder folder;
    std::string const path = Text(folder.File("result"));

    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator()));
    }
};

TEST_F(Output, AppearsWhenItIsComplete) {
    {
        Tool::OutputFile output(console, path);
        output.Append("first, ");
        EXPECT_FALSE(fs::exists(path));
        output.Append("second");
        output.Commit();
    }
    EXPECT_EQ(TextOf(path), "first, second");
    EXPECT_EQ(FilesInFolder(), 1U);
}

TEST_F(Output, LeavesTheOldFileWhenItIsNot) {
    WriteFile(path, {'o', 'l', 'd'});
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    {
        Tool::OutputFile output(console, path);
        output.Append(std::string(1 << 20, 'x'));
    }
    EXPECT_EQ(TextOf(path), "old");
    EXPECT_EQ(FilesInFolder(), 1U);
}

TEST_F(Output, KeepsPermissionsAndFollowsLinks) {
    WriteFile(path, {'o', 'l', 'd'});
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink(path, path + ".link");
    Tool::OutputFile output(console, path + ".link");
    output.Append("new");
    output.Commit();
    EXPECT_TRUE(fs::is_symlink(path + ".link"));
    EXPECT_EQ(TextOf(path), "new");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(Output, GoesToStandardOutputOrADevice) {
    Tool::OutputFile output(console, "-");
    output.Append("text");
    output.Commit();
    EXPECT_EQ(out.Text(), "text");
    Tool::OutputFile device(console, "/dev/null");
    device.Append("text");
    device.Commit();
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(Output, SaysWhyItCanNotBeWritten) {
    struct {
        std::string path;
        char const* reason;
    } const cases[] = {{"/no/such/folder/file", "No such file or directory"},
                       {"/dev/full", "No space left on device"}};
    for (auto const& c : cases) {
        try {
            Tool::OutputFile output(console, c.path);
            output.Append("text");
            output.Commit();
            ADD_FAILURE() << c.path << " was written";
        } catch (Tool::OutputException const& error) {
            EXPECT_EQ(Text(error.GetMessage()), c.path + ": " + c.reason);
        }
    }
}

} // namespace
} // namespace Ambrel::Test
