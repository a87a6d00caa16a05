#include "terminal/TextWidth.h"

#include <algorithm>
#include <clocale>
#include <cwchar>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Ambrel::Tool {

namespace {

/// Has the C library look at characters as Unicode while it lives, whatever the user's locale is.
class UnicodeLocale final {
public:
    UnicodeLocale() : former(Utf8() ? uselocale(Utf8()) : nullptr) {}
    ~UnicodeLocale() {
        if (former) {
            uselocale(former);
        }
    }
    UnicodeLocale(UnicodeLocale const&) = delete;
    UnicodeLocale& operator=(UnicodeLocale const&) = delete;

private:
    static locale_t Utf8() {
        static locale_t const locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale;
    }

    locale_t former;
};

struct Character {
    std::size_t size;  ///< bytes
    std::size_t width; ///< columns
};

/// The bytes of a character that begins with this one.
std::size_t SizeOf(unsigned char first) {
    if (first < 0xC0) {
        return 1;
    }
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

/// REQUIRES: the text is not empty, and a UnicodeLocale lives.
Character FirstOf(std::string_view text) {
    auto const first = static_cast<unsigned char>(text.front());
    if (first < 0x80) {
        return {1, 1};
    }
    std::size_t const size = std::min(SizeOf(first), text.size());
    auto code = static_cast<char32_t>(first & (0xFF >> (size + 1)));
    for (std::size_t i = 1; i < size; ++i) {
        code = (code << 6) | (static_cast<unsigned char>(text[i]) & 0x3F);
    }
    int const columns = wcwidth(static_cast<wchar_t>(code));
    return {size, columns < 0 ? 1 : static_cast<std::size_t>(columns)};
}

/// As much of the text as fits.
std::string_view Beginning(std::string_view text, std::size_t width) {
    std::size_t size = 0;
    std::size_t used = 0;
    while (size < text.size()) {
        Character const next = FirstOf(text.substr(size));
        if (used + next.width > width) {
            break;
        }
        size += next.size;
        used += next.width;
    }
    return text.substr(0, size);
}

} // namespace

std::size_t WidthOf(std::string_view text) {
    UnicodeLocale const locale;
    std::size_t width = 0;
    while (!text.empty()) {
        Character const next = FirstOf(text);
        width += next.width;
        text.remove_prefix(next.size);
    }
    return width;
}

std::string Fit(std::string_view text, std::size_t width, bool standsRight) {
    UnicodeLocale const locale;
    std::string fitted(text);
    if (WidthOf(text) > width) {
        fitted = Beginning(text, width > 0 ? width - 1 : 0);
        fitted += width > 0 ? "…" : "";
    }
    std::size_t const used = WidthOf(fitted);
    fitted.insert(standsRight ? 0 : fitted.size(), width > used ? width - used : 0, ' ');
    return fitted;
}

std::size_t TerminalWidth() {
    winsize size{};
    bool const isTerminal = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
    constexpr std::size_t usual = 80; // a terminal that does not know its size
    return !isTerminal ? 0 : size.ws_col > 0 ? size.ws_col : usual;
}

} // namespace Ambrel::Tool
