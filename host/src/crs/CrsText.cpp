#include "crs/CrsText.h"

#include <algorithm>
#include <array>

namespace Ambrel::CrsText {

namespace {

constexpr std::string_view blanks{" \t\r\n\v\f\0", 7};
constexpr std::string_view digits = "0123456789";
constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr std::string_view word = "_0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

template <std::size_t Count>
bool IsOneOf(std::string_view text, std::array<std::string_view, Count> const& list) noexcept {
    return std::find(list.begin(), list.end(), text) != list.end();
}

bool ConsistsOf(std::string_view text, std::string_view characters) noexcept {
    return text.find_first_not_of(characters) == std::string_view::npos;
}

char Lower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::size_t FindInAnyCase(std::string_view text, std::string_view wanted) noexcept {
    auto const found = std::search(text.begin(), text.end(), wanted.begin(), wanted.end(),
                                   [](char a, char b) { return Lower(a) == Lower(b); });
    return found == text.end() ? std::string_view::npos
                               : static_cast<std::size_t>(found - text.begin());
}

/// Whether PROJ's parameter may have that value. Names are listed where no value of theirs names a
/// file; numbers do no harm but where a file could have one for its name.
bool IsHarmless(std::string_view key, std::string_view value) noexcept {
    constexpr std::array<std::string_view, 12> takesWord = {"proj",   "o_proj", "ellps", "units",
                                                            "vunits", "axis",   "pm",    "type",
                                                            "sweep",  "mode",   "shape", "orient"};
    constexpr std::array<std::string_view, 8> datums = {
        "WGS84", "GGRS87", "NAD83", "potsdam", "carthage", "hermannskogel", "ire65", "nzgd49"};
    constexpr std::array<std::string_view, 9> takesFile = {"grids",    "nadgrids", "geoidgrids",
                                                           "xy_grids", "z_grids",  "catalog",
                                                           "init",     "file",     "model"};
    constexpr std::array<std::string_view, 5> operations = {"pipeline", "vgridshift", "hgridshift",
                                                            "gridshift", "xyzgridshift"};
    if (key == "datum") {
        return IsOneOf(value, datums) || value == "OSGB36";
    }
    if (IsOneOf(key, takesWord)) {
        return ConsistsOf(value, word) && !IsOneOf(value, operations);
    }
    if (IsOneOf(key, takesFile)) {
        return key == "nadgrids" && value == "@null";
    }
    return ConsistsOf(value, "0123456789.,+-eEdDrRnNsSwW'");
}

/// The "key=" before that equals sign where its value may be harmful. PROJ allows blanks at both
/// sides of it.
std::string_view SuspectAssignment(std::string_view text, std::size_t equals) noexcept {
    std::size_t const keyLast = text.find_last_not_of(blanks, equals - 1);
    std::size_t const keyEnd = equals == 0 || keyLast == std::string_view::npos ? 0 : keyLast + 1;
    std::size_t const before =
        keyEnd == 0 ? std::string_view::npos : text.find_last_not_of(word, keyEnd - 1);
    std::size_t const keyStart = before == std::string_view::npos ? 0 : before + 1;
    std::size_t const start = std::min(text.find_first_not_of(blanks, equals + 1), text.size());
    std::size_t const end = std::min(text.find_first_of(" \t\r\n\v\f\"", start), text.size());
    bool const isHarmless =
        IsHarmless(text.substr(keyStart, keyEnd - keyStart), text.substr(start, end - start));
    return isHarmless ? std::string_view() : text.substr(keyStart, equals + 1 - keyStart);
}

} // namespace

std::string Trimmed(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, byteOrderMark.size()) == byteOrderMark) {
        text.remove_prefix(byteOrderMark.size());
    }
    std::size_t const first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

bool IsAuthorityCode(std::string_view text) noexcept {
    std::size_t const colon = text.find(':');
    return colon != std::string_view::npos && colon > 0 && colon + 1 < text.size() &&
           ConsistsOf(text.substr(0, colon), letters) && ConsistsOf(text.substr(colon + 1), digits);
}

std::string WithoutHeightGrids(std::string text) {
    constexpr std::string_view node = ",EXTENSION[\"PROJ4_GRIDS\",\"";
    for (std::size_t start = 0; (start = text.find(node, start)) != std::string::npos;) {
        std::size_t const quote = text.find('"', start + node.size());
        if (quote == std::string::npos || text.compare(quote, 2, "\"]") != 0) {
            break;
        }
        text.erase(start, quote + 2 - start);
    }
    return text;
}

std::string_view SuspectPart(std::string_view text) noexcept {
    // JSON has more ways to spell a name than can be looked for.
    if (text.substr(0, 1) == "{") {
        return text.substr(0, 1);
    }
    for (std::string_view const keyword : {"PARAMETERFILE", "PROJ4_GRIDS"}) {
        std::size_t const found = FindInAnyCase(text, keyword);
        if (found != std::string_view::npos) {
            return text.substr(found, keyword.size());
        }
    }
    for (std::size_t i = text.find('='); i != std::string_view::npos; i = text.find('=', i + 1)) {
        std::string_view const part = SuspectAssignment(text, i);
        if (!part.empty()) {
            return part;
        }
    }
    return {};
}

} // namespace Ambrel::CrsText
