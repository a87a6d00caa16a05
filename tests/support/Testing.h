#pragma once

// All that tests are written with.

#include "Expectations.h"
#include "GeometryText.h"
#include "LogCapture.h"
#include "ShapefileBuilder.h"
#include "TableBuilder.h"
#include "TemporaryFolder.h"

#include <Ambrel/Ambrel.h>

#include <gtest/gtest.h>

#include <limits>

namespace Ambrel::Test {

using Texts = std::vector<std::string>;
using Indexes = std::vector<std::uint64_t>;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// Options({{OPTION_DISK_CACHE, true}})
inline BParamList Options(std::vector<std::pair<BString, BVariant>> const& entries) {
    BParamList options;
    for (auto const& [name, value] : entries) {
        options.Add(name, value);
    }
    return options;
}

} // namespace Ambrel::Test
