#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace Ambrel {

/// How much a log line matters; less is worse.
enum ELogSeverity : std::uint32_t {
    LOG_FATAL = 1,    ///< what cannot be read or written
    LOG_WARNING = 2,  ///< a problem of the data that is tolerated
    LOG_PROGRESS = 3, ///< the steps of opening, reading and closing
    LOG_DETAIL = 4,   ///< about single layers and records
};

/// A number or a text of a log line; text is UTF-8.
using BLogValue = std::variant<std::int64_t, std::string>;

/// A log line with what it says as fields, valid while a sink is called with it.
struct BLogEntry {
    ELogSeverity severity = LOG_DETAIL;
    std::uint32_t code = 0;              ///< of the plug-in's catalogue; 0: "other"
    std::string_view file;               ///< full path, UTF-8; empty where no file is meant
    std::optional<std::uint64_t> record; ///< counted from 0
    std::span<BLogValue const> values;   ///< in the order of the code's catalogue entry
    std::string_view line;               ///< the sentence: UTF-8, without a line end
};

} // namespace Ambrel
