#pragma once

#include "formats/TextFormat.h"

#include "Ambrel/BPoint.h"

#include <cmath>
#include <optional>

namespace Ambrel::Tool {

/// Appends coordinates to a text, separated by one character.
class CoordinateText final {
public:
    /// `decimals`: see FormatOptions::precision.
    CoordinateText(std::string& target, char separatingChar, std::optional<int> decimals)
        : text(target), separator(separatingChar), precision(decimals) {}

    void Append(BPoint const& point, bool hasZ) {
        Append(point.X);
        text += separator;
        Append(point.Y);
        if (hasZ) {
            text += separator;
            Append(point.Z);
        }
    }
    void Append(double value) {
        if (!std::isfinite(value)) {
            text += "nan";
        } else if (precision) {
            AppendRounded(text, value, *precision);
        } else {
            AppendNumber(text, value);
        }
    }

private:
    std::string& text;
    char separator;
    std::optional<int> precision;
};

} // namespace Ambrel::Tool
