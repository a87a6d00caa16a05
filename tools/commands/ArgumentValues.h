#pragma once

#include "commands/RowChoice.h"
#include "source/Inputs.h"
#include "source/RecordList.h"

#include "Ambrel/BRect.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

/// What the options of several commands have in common.
namespace Ambrel::Tool {

constexpr char const* windowHelp = "Rectangle in the layer's own map units";

/// Paths, at least one, and what goes for all of them: "--recursive", "--unpack-limit".
void AddPaths(CLI::App& app, InputPaths& paths);
/// "--encoding".
void AddEncoding(CLI::App& app, std::string& encoding);
/// "--crs".
void AddCrs(CLI::App& app, std::string& crs);
/// Throws UsageException for a coordinate system that nobody knows; an empty name is none.
void RefuseUnknownSystem(std::string const& option, std::string const& name);
/// "--with-deleted".
void AddWithDeleted(CLI::App& app, bool& withDeleted);
/// "--records", as text for ParseRecords.
void AddRecords(CLI::App& app, std::optional<std::string>& records);
/// The same with "--fields" and "--limit".
void AddRows(CLI::App& app, RowOptions& rows, std::optional<std::string>& records);
/// "--where", as text for RecordFilter.
void AddWhere(CLI::App& app, std::string& where);
/// "--bbox", as text for ParseWindow.
void AddWindow(CLI::App& app, std::string& window, char const* help = windowHelp);

/// "XMIN,YMIN,XMAX,YMAX" of "--bbox". Throws UsageException.
BRect ParseWindow(std::string const& text);
/// The same; none for an empty text.
std::optional<BRect> ParseOptionalWindow(std::string const& text);
/// The value of "--records"; reads standard input where that is asked for. None where the option
/// was not given. Throws as RecordList::FromOption.
std::optional<RecordList> ParseRecords(std::optional<std::string> const& text);
/// "WxH" as two numbers. Throws UsageException that begins with the option.
std::vector<int> ParseSides(std::string const& option, std::string const& text);
/// Throws UsageException where "--output" got an empty path.
void RefuseEmptyOutput(std::string const& output);

} // namespace Ambrel::Tool
