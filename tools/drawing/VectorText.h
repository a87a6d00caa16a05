#pragma once

#include <string>

namespace Ambrel::Tool {

/// Appends a number of pixels, rounded to hundredths, with no zeros at its end: finer than any
/// screen shows, and short. REQUIRES: within what an integer of 32 bits holds.
void AppendPixels(std::string& text, double value);

} // namespace Ambrel::Tool
