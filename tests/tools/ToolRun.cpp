#include "ToolRun.h"

#include "commands/Tool.h"
#include "terminal/Console.h"

#include <sstream>

namespace Ambrel::Test {

namespace {

std::string WithoutFolder(std::string text) {
    std::string const folder = std::filesystem::current_path().string() + "/";
    for (auto at = text.find(folder); at != std::string::npos; at = text.find(folder, at)) {
        text.erase(at, folder.size());
    }
    return text;
}

/// Without the lines that end so.
std::string WithoutLines(std::string const& text, std::string_view end) {
    std::istringstream lines(text);
    std::string others;
    for (std::string line; std::getline(lines, line);) {
        others += line.ends_with(end) ? "" : line + "\n";
    }
    return others;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, ToolRun const& run) {
    return stream << "exit code " << run.exitCode << "\n" << run.out << "--\n" << run.err;
}

ToolRun Printed(std::string const& out) {
    return {0, out, ""};
}

ToolRun Failed(int exitCode, std::string const& complaint) {
    return {exitCode, "", "ambrel-shp: " + complaint + "\n"};
}

ToolRun RunTool(std::string const& commandLine) {
    ToolRun run = RunToolVerbatim(commandLine);
    run.err = WithoutLines(run.err, "so the coordinates stay as they are; see --crs");
    return run;
}

ToolRun RunToolVerbatim(std::string const& commandLine) {
    std::istringstream stream(commandLine);
    std::vector<std::string> const words{std::istream_iterator<std::string>(stream), {}};
    Tool::StringSink out;
    Tool::StringSink err;
    Tool::Console console{.out = out, .err = err};
    int const exitCode = Tool::RunTool(words, console);
    return {exitCode, WithoutFolder(out.Text()), WithoutFolder(err.Text())};
}

nlohmann::json RunForJson(std::string const& commandLine) {
    ToolRun const run = RunTool(commandLine);
    EXPECT_EQ(run, Printed(run.out));
    return nlohmann::json::parse(run.out);
}

std::string TextOf(std::filesystem::path const& file) {
    Bytes const bytes = ReadFile(file);
    return {bytes.begin(), bytes.end()};
}

} // namespace Ambrel::Test
