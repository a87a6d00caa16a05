#pragma once

#include "Testing.h"

#include <nlohmann/json.hpp>

namespace Ambrel::Test {

/// What a run of the tool leaves behind.
struct ToolRun {
    int exitCode = 0;
    std::string out;
    std::string err;
    bool operator==(ToolRun const&) const = default;
};
std::ostream& operator<<(std::ostream& stream, ToolRun const& run);

/// A run that prints this and complains of nothing.
ToolRun Printed(std::string const& out);
/// A run that prints nothing but one line on standard error.
ToolRun Failed(int exitCode, std::string const& complaint);

/// Runs the tool in this process, with the words of the command line: RunTool("info map.shp").
/// What it prints names files of the current folder without the folder.
/// The warning that a layer's coordinate system is not known, which holds for most of the files
/// that tests write, is left out.
ToolRun RunTool(std::string const& commandLine);
/// The same with that warning.
ToolRun RunToolVerbatim(std::string const& commandLine);

/// The tool's standard output as JSON; a run that fails or complains is a test failure.
nlohmann::json RunForJson(std::string const& commandLine);

/// The bytes of a file as text.
std::string TextOf(std::filesystem::path const& file);

/// Has a fresh folder, which is the current one, so that its files go by their mere names.
class ToolTest : public testing::Test {
protected:
    ToolTest() { std::filesystem::current_path(folder.Path()); }
    ~ToolTest() override { std::filesystem::current_path(former); }

    static void Write(ShapefileBuilder const& builder, std::string const& name = "map") {
        builder.WriteTo(".", name);
    }

private:
    std::filesystem::path former = std::filesystem::current_path();
    TemporaryFolder folder;
};

} // namespace Ambrel::Test
