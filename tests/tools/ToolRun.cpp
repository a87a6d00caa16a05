#include "ToolRun.h"

#include "Console.h"
#include "Tool.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <sys/wait.h>

namespace Ambrel::Test {

ToolRun RunTool(std::vector<std::string> const& arguments) {
    Tool::StringSink out;
    Tool::StringSink err;
    Tool::Console console{.out = out, .err = err};
    int const exitCode = Tool::RunTool(arguments, console);
    return {exitCode, out.Text(), err.Text()};
}

ToolRun RunShell(std::string const& command) {
    TemporaryFolder const folder;
    std::string const out = Text(folder.File("out"));
    std::string const err = Text(folder.File("err"));
    std::string const whole =
        "TOOL='" TOOL_PROGRAM "'; { " + command + " ; } >'" + out + "' 2>'" + err + "'";
    int const status = std::system(whole.c_str());
    return {WEXITSTATUS(status), TextOf(out), TextOf(err)};
}

nlohmann::json RunForJson(std::vector<std::string> const& arguments) {
    ToolRun const run = RunTool(arguments);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    return nlohmann::json::parse(run.out);
}

std::string Text(BString const& text) {
    return std::string(text.Utf8());
}

std::string TextOf(std::filesystem::path const& file) {
    Bytes const bytes = ReadFile(file);
    return {bytes.begin(), bytes.end()};
}

} // namespace Ambrel::Test
