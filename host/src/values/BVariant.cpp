#include "Ambrel/BVariant.h"

#include "Ambrel/BException.h"
#include "text/NumberText.h"

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

namespace Ambrel {

namespace {

template <class T>
void Hold(T* list) noexcept {
    list->holders.Increment();
}

template <class T>
void Release(T* list) noexcept {
    if (list->holders.Decrement()) {
        delete list;
    }
}

template <class List, class T>
List* MakeList(T const* values, int count) {
    auto list = std::make_unique<List>();
    if (count > 0) {
        list->values.assign(values, values + count);
    }
    return list.release();
}

char Lower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool EqualsIgnoringCase(std::string_view text, std::string_view word) noexcept {
    if (text.size() != word.size()) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (Lower(text[i]) != word[i]) {
            return false;
        }
    }
    return true;
}

std::optional<bool> TextAsBoolean(std::string_view text) noexcept {
    constexpr std::array<std::string_view, 5> yes = {"true", "t", "yes", "y", "1"};
    constexpr std::array<std::string_view, 5> no = {"false", "f", "no", "n", "0"};
    for (std::size_t i = 0; i < yes.size(); ++i) {
        if (EqualsIgnoringCase(text, yes[i])) {
            return true;
        }
        if (EqualsIgnoringCase(text, no[i])) {
            return false;
        }
    }
    return std::nullopt;
}

} // namespace

BVariant::BVariant(BString const& value, int length)
    : BVariant(length > 0 ? value.Left(static_cast<std::uint64_t>(length)) : BString(value)) {}

BVariant::BVariant(char const* value) : BVariant(BString(value)) {}
BVariant::BVariant(wchar_t const* value) : BVariant(BString(value)) {}

BVariant::BVariant(double const* values, int count)
    : type(VAR_DOUBLE_LIST), storage(Storage::Doubles),
      doubles(MakeList<List<double>>(values, count)) {}

BVariant::BVariant(std::vector<double>&& values)
    : type(VAR_DOUBLE_LIST), storage(Storage::Doubles), doubles(new List<double>) {
    doubles->values = std::move(values);
}

BVariant::BVariant(std::int32_t const* values, int count)
    : type(VAR_INTEGER_LIST), storage(Storage::Integers),
      integers(MakeList<List<std::int32_t>>(values, count)) {}

BVariant::BVariant(BString const* values, int count)
    : type(VAR_STRING_LIST), storage(Storage::Strings),
      strings(MakeList<List<BString>>(values, count)) {}

BVariant::BVariant(BVariant const& other) noexcept : type(other.type), storage(other.storage) {
    switch (storage) {
    case Storage::Text: new (&text) BString(other.text); break;
    case Storage::Integers: Hold(integers = other.integers); break;
    case Storage::Doubles: Hold(doubles = other.doubles); break;
    case Storage::Strings: Hold(strings = other.strings); break;
    default: integer = 0; std::memcpy(&integer, &other.integer, sizeof integer);
    }
}

BVariant& BVariant::operator=(BVariant const& other) noexcept {
    return *this = BVariant(other);
}

void BVariant::ReleaseShared() noexcept {
    switch (storage) {
    case Storage::Text: text.~BString(); break;
    case Storage::Integers: Release(integers); break;
    case Storage::Doubles: Release(doubles); break;
    case Storage::Strings: Release(strings); break;
    default: break;
    }
}

void BVariant::SetValue(std::uint32_t value) noexcept {
    *this = BVariant(static_cast<std::int64_t>(value));
    type = VAR_UNSIGNED_INTEGER;
}

void BVariant::SetValue(std::uint64_t value) noexcept {
    *this = BVariant(static_cast<std::int64_t>(value));
    type = VAR_UNSIGNED_INTEGER64;
}

void BVariant::SetValue(float value) noexcept {
    *this = BVariant(static_cast<double>(value));
    type = VAR_FLOAT;
}

void BVariant::SetValue(char const* value, std::uint64_t length) {
    *this = length == 0 ? BVariant(BString(value)) : BVariant(BString(value, length));
}

std::optional<BVariant::Whole> BVariant::AsWhole() const {
    switch (storage) {
    case Storage::Integer:
        return Whole{static_cast<std::uint64_t>(integer), integer < 0 && !IsUnsigned64()};
    case Storage::Real: {
        // 2^63 and 2^64 as doubles; NaN fails both comparisons.
        constexpr double twoTo63 = 9223372036854775808.0;
        if (real >= -twoTo63 && real < twoTo63) {
            auto const cut = static_cast<std::int64_t>(real);
            return Whole{static_cast<std::uint64_t>(cut), cut < 0};
        }
        if (real >= twoTo63 && real < 2.0 * twoTo63) {
            return Whole{static_cast<std::uint64_t>(real), false};
        }
        return std::nullopt;
    }
    case Storage::Text:
        if (auto const whole = NumberText::ToSigned(text.Utf8())) {
            return Whole{static_cast<std::uint64_t>(*whole), *whole < 0};
        }
        if (auto const whole = NumberText::ToUnsigned(text.Utf8())) {
            return Whole{*whole, false};
        }
        if (auto const number = NumberText::ToReal(text.Utf8())) {
            return BVariant(*number).AsWhole();
        }
        return std::nullopt;
    default: return std::nullopt;
    }
}

template <class T>
T BVariant::AsInteger(T otherwise) const {
    std::optional<Whole> const whole = AsWhole();
    if (!whole) {
        return otherwise;
    }
    if (whole->isNegative) {
        auto const value = static_cast<std::int64_t>(whole->bits);
        bool const fits = std::numeric_limits<T>::is_signed &&
                          value >= static_cast<std::int64_t>(std::numeric_limits<T>::min());
        return fits ? static_cast<T>(value) : otherwise;
    }
    bool const fits = whole->bits <= static_cast<std::uint64_t>(std::numeric_limits<T>::max());
    return fits ? static_cast<T>(whole->bits) : otherwise;
}

std::optional<double> BVariant::AsReal() const {
    switch (storage) {
    case Storage::Integer:
        return IsUnsigned64() ? static_cast<double>(static_cast<std::uint64_t>(integer))
                              : static_cast<double>(integer);
    case Storage::Real: return real;
    case Storage::Text: return NumberText::ToReal(text.Utf8());
    default: return std::nullopt;
    }
}

std::int8_t BVariant::GetValueAsByte(std::int8_t otherwise) const {
    return AsInteger(otherwise);
}
std::uint8_t BVariant::GetValueAsUnsignedByte(std::uint8_t otherwise) const {
    return AsInteger(otherwise);
}
std::int16_t BVariant::GetValueAsShort(std::int16_t otherwise) const {
    return AsInteger(otherwise);
}
std::uint16_t BVariant::GetValueAsUnsignedShort(std::uint16_t otherwise) const {
    return AsInteger(otherwise);
}
std::int32_t BVariant::GetValueAsInteger(std::int32_t otherwise) const {
    return AsInteger(otherwise);
}
std::uint32_t BVariant::GetValueAsUnsignedInteger(std::uint32_t otherwise) const {
    return AsInteger(otherwise);
}
std::int64_t BVariant::GetValueAsInteger64(std::int64_t otherwise) const {
    return AsInteger(otherwise);
}
std::uint64_t BVariant::GetValueAsUnsignedInteger64(std::uint64_t otherwise) const {
    return AsInteger(otherwise);
}

float BVariant::GetValueAsFloat(float otherwise) const {
    std::optional<double> const number = AsReal();
    if (!number) {
        return otherwise;
    }
    // Converting a finite number beyond float's range is undefined.
    bool const fits =
        !std::isfinite(*number) || std::fabs(*number) <= std::numeric_limits<float>::max();
    return fits ? static_cast<float>(*number) : otherwise;
}

double BVariant::GetValueAsDouble(double otherwise) const {
    return AsReal().value_or(otherwise);
}

double BVariant::GetValueAsDouble() const {
    if (std::optional<double> const number = AsReal()) {
        return *number;
    }
    throw BAttributeDataException("BVariant::GetValueAsDouble",
                                  BString::Format("Value=%s", GetValueAsString(BString()).Ascii()));
}

bool BVariant::GetValueAsBoolean(bool otherwise) const {
    switch (storage) {
    case Storage::Integer: return integer != 0;
    case Storage::Real: return real != 0.0;
    case Storage::Text: return TextAsBoolean(text.Utf8()).value_or(otherwise);
    default: return otherwise;
    }
}

BString BVariant::GetValueAsString(BString const& otherwise) const {
    switch (storage) {
    case Storage::Integer:
        if (type == VAR_BOOLEAN) {
            return BString::FromUtf8(integer ? "true" : "false");
        }
        return IsUnsigned64() ? NumberText::FromUnsigned(static_cast<std::uint64_t>(integer))
                              : NumberText::FromSigned(integer);
    case Storage::Real:
        return type == VAR_FLOAT ? NumberText::FromReal(static_cast<float>(real))
                                 : NumberText::FromReal(real);
    case Storage::Text: return text;
    default: return otherwise;
    }
}

std::vector<std::int32_t>
BVariant::GetValueAsIntegerList(std::vector<std::int32_t> const& otherwise) const {
    return storage == Storage::Integers ? integers->values : otherwise;
}

std::vector<double> BVariant::GetValueAsDoubleList(std::vector<double> const& otherwise) const {
    if (storage == Storage::Integers) {
        return {integers->values.begin(), integers->values.end()};
    }
    return storage == Storage::Doubles ? doubles->values : otherwise;
}

std::vector<BString> BVariant::GetValueAsStringList(std::vector<BString> const& otherwise) const {
    return storage == Storage::Strings ? strings->values : otherwise;
}

bool BVariant::operator==(BVariant const& other) const {
    if (type != other.type || storage != other.storage) {
        return false;
    }
    switch (storage) {
    case Storage::Nothing: return true;
    case Storage::Integer: return integer == other.integer;
    case Storage::Real: return real == other.real;
    case Storage::Text: return text == other.text;
    case Storage::Integers: return integers->values == other.integers->values;
    case Storage::Doubles: return doubles->values == other.doubles->values;
    case Storage::Strings: return strings->values == other.strings->values;
    }
    return false;
}

} // namespace Ambrel
