#pragma once

// All that tests are written with.

#include "Expectations.h"
#include "GeometryText.h"
#include "LogCapture.h"
#include "ShapefileBuilder.h"
#include "SmallFile.h"
#include "TableBuilder.h"
#include "TemporaryFolder.h"

#include <Ambrel/Ambrel.h>

#include <gtest/gtest.h>

namespace Ambrel::Test {

using Texts = std::vector<std::string>;
using Indexes = std::vector<std::uint64_t>;

} // namespace Ambrel::Test
