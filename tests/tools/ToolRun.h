#pragma once

#include "ShapefileBuilder.h"
#include "TemporaryFolder.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace Ambrel::Test {

/// What a run of the tool left behind.
struct ToolRun {
    int exitCode;
    std::string out;
    std::string err;
};

/// Runs the tool in this process.
ToolRun RunTool(std::vector<std::string> const& arguments);

/// Runs a shell command in which "$TOOL" is the program.
ToolRun RunShell(std::string const& command);

/// The tool's standard output as JSON; a run that fails or complains is a test failure.
nlohmann::json RunForJson(std::vector<std::string> const& arguments);

std::string Text(BString const& text);
/// The bytes of a file as text.
std::string TextOf(std::filesystem::path const& file);

} // namespace Ambrel::Test
