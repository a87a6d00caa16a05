#pragma once

#include "Ambrel/BGeometry.h"

#include <QColor>

#include <optional>
#include <string>
#include <string_view>

namespace Ambrel::Tool {

/// How a layer is drawn. An invalid colour draws nothing.
struct LayerStyle {
    QColor color;       ///< of lines, outlines and points
    QColor fill;        ///< of areas
    double width = 1.0; ///< of lines and outlines, and the diameter of points, in pixels
};

/// Whether lines, outlines and dots are seen.
bool HasStroke(LayerStyle const& style);
/// Whether lines are too thin to show their joins and ends; those of others are round.
bool IsThin(LayerStyle const& style);

/// What the user wants of one layer, or of all of them.
struct StyleRule {
    std::string layer; ///< empty: every layer
    std::optional<QColor> color;
    std::optional<QColor> fill;
    std::optional<double> width;
};

/// What a layer of that class looks like when nobody says otherwise.
LayerStyle DefaultStyle(EGeometryClass geometryClass);

/// Reads "[LAYER:]KEY=VALUE[,KEY=VALUE...]" with the keys color, fill and width. A colour is
/// "#rrggbb", "#aarrggbb", an SVG name or "none". Throws UsageException.
StyleRule ParseStyle(std::string_view text);

/// Applies the rule where it is meant for the layer.
void Apply(StyleRule const& rule, std::string_view layer, LayerStyle& style);

} // namespace Ambrel::Tool
