#include "drawing/MapStyle.h"

#include "terminal/Console.h"

#include <charconv>

namespace Ambrel::Tool {

namespace {

constexpr double widest = 1000.0; // pixels

[[noreturn]] void Reject(std::string_view text, std::string const& reason) {
    throw UsageException("--style \"" + std::string(text) + "\": " + reason);
}

QColor ParseColor(std::string_view whole, std::string const& value) {
    if (value == "none") {
        return QColor();
    }
    QColor const color(QString::fromStdString(value));
    if (!color.isValid()) {
        Reject(whole, value + " is no colour");
    }
    return color;
}

double ParseWidth(std::string_view whole, std::string const& value) {
    double width = 0.0;
    auto const result = std::from_chars(value.data(), value.data() + value.size(), width);
    if (result.ec != std::errc() || result.ptr != value.data() + value.size() ||
        !(width >= 0.0 && width <= widest)) {
        Reject(whole, value + " is no width in pixels");
    }
    return width;
}

void ParseSetting(std::string_view whole, std::string_view setting, StyleRule& rule) {
    auto const sign = setting.find('=');
    std::string_view const key = setting.substr(0, sign);
    if (sign == std::string_view::npos) {
        Reject(whole, "KEY=VALUE is wanted");
    }
    std::string const value(setting.substr(sign + 1));
    if (key == "color") {
        rule.color = ParseColor(whole, value);
    } else if (key == "fill") {
        rule.fill = ParseColor(whole, value);
    } else if (key == "width") {
        rule.width = ParseWidth(whole, value);
    } else {
        Reject(whole, "the keys are color, fill and width");
    }
}

} // namespace

bool HasStroke(LayerStyle const& style) {
    return style.color.isValid() && style.width > 0.0;
}

bool IsThin(LayerStyle const& style) {
    constexpr double thinWidth = 2.0; // pixels
    return style.width <= thinWidth;
}

LayerStyle DefaultStyle(EGeometryClass geometryClass) {
    switch (geometryClass) {
    case GEO_CLASS_AREAS: return {QColor("#8a8474"), QColor("#ede6d3"), 0.7};
    case GEO_CLASS_LINES: return {QColor("#3f7fb5"), QColor(), 1.0};
    case GEO_CLASS_POINTS:
    case GEO_CLASS_MULTIPOINTS: return {QColor("#b5342c"), QColor(), 4.0};
    case GEO_CLASS_NONE: break;
    }
    return {QColor("#555555"), QColor("#dddddd"), 1.0};
}

StyleRule ParseStyle(std::string_view text) {
    StyleRule rule;
    std::string_view settings = text;
    // The last colon before the first "=": a layer's name may have colons of its own.
    auto const colon = text.substr(0, text.find('=')).rfind(':');
    if (colon != std::string_view::npos) {
        rule.layer = text.substr(0, colon);
        settings = text.substr(colon + 1);
    }
    for (bool isMore = true; isMore;) {
        auto const comma = settings.find(',');
        isMore = comma != std::string_view::npos;
        ParseSetting(text, settings.substr(0, comma), rule);
        settings.remove_prefix(isMore ? comma + 1 : settings.size());
    }
    return rule;
}

void Apply(StyleRule const& rule, std::string_view layer, LayerStyle& style) {
    if (!rule.layer.empty() && rule.layer != layer) {
        return;
    }
    style.color = rule.color.value_or(style.color);
    style.fill = rule.fill.value_or(style.fill);
    style.width = rule.width.value_or(style.width);
}

} // namespace Ambrel::Tool
