#include "drawing/VectorText.h"

#include <charconv>
#include <cmath>

namespace Ambrel::Tool {

void AppendPixels(std::string& text, double value) {
    long long const hundredths = std::llround(value * 100.0);
    long long const size = std::llabs(hundredths);
    char digits[24];
    char* end = std::to_chars(digits, digits + sizeof digits - 3, size / 100).ptr;
    if (auto const rest = static_cast<int>(size % 100); rest != 0) {
        *end++ = '.';
        *end++ = static_cast<char>('0' + rest / 10);
        if (rest % 10 != 0) {
            *end++ = static_cast<char>('0' + rest % 10);
        }
    }
    if (hundredths < 0) {
        text += '-';
    }
    text.append(digits, end);
}

} // namespace Ambrel::Tool
