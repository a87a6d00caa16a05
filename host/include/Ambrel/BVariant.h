#pragma once

#include "Ambrel/BString.h"
#include "Ambrel/EVariantType.h"

#include <concepts>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <vector>

namespace Ambrel {

/// A value with a type. Text and lists are shared by copies and never changed in place, so copies
/// may be read by several threads.
///
/// The GetValueAs... operations return the value converted, or their argument when it cannot be:
/// null, a number outside the asked type's range, text that is not wholly a number, a scalar where
/// a list is asked for (and the other way round). A real number becomes an integer by cutting its
/// fraction. Numbers and text are converted independently of the locale.
class AMBREL_API BVariant final {
public:
    BVariant() noexcept : integer(0) {}
    BVariant(int value) noexcept : type(VAR_INTEGER), storage(Storage::Integer), integer(value) {}
    BVariant(std::int64_t value) noexcept
        : type(VAR_INTEGER64), storage(Storage::Integer), integer(value) {}
    BVariant(double value) noexcept : type(VAR_DOUBLE), storage(Storage::Real), real(value) {}
    /// A pointer is no boolean, so that text of a kind that is not known here does not compile.
    template <std::same_as<bool> Bool>
    BVariant(Bool value) noexcept : type(VAR_BOOLEAN), storage(Storage::Integer), integer(value) {}
    /// Text: the first `length` characters, or all of it when `length` is 0.
    BVariant(BString const& value, int length = 0);
    BVariant(BString&& value) noexcept
        : type(VAR_STRING), storage(Storage::Text), text(std::move(value)) {}
    BVariant(char const* value);
    BVariant(wchar_t const* value);
    /// Lists, copied from `count` elements.
    BVariant(double const* values, int count);
    explicit BVariant(std::vector<double>&& values);
    BVariant(std::int32_t const* values, int count);
    BVariant(BString const* values, int count);

    BVariant(BVariant const& other) noexcept;
    BVariant(BVariant&& other) noexcept : type(other.type), storage(other.storage) { Take(other); }
    BVariant& operator=(BVariant const& other) noexcept;
    BVariant& operator=(BVariant&& other) noexcept {
        if (this != &other) {
            this->~BVariant();
            new (this) BVariant(std::move(other));
        }
        return *this;
    }
    ~BVariant() {
        if (storage >= Storage::Text) {
            ReleaseShared();
        }
    }

    void SetValue(int value) noexcept { *this = BVariant(value); }
    void SetValue(std::int64_t value) noexcept { *this = BVariant(value); }
    void SetValue(double value) noexcept { *this = BVariant(value); }
    template <std::same_as<bool> Bool>
    void SetValue(Bool value) noexcept {
        *this = BVariant(value);
    }
    void SetValue(std::uint32_t value) noexcept;
    void SetValue(std::uint64_t value) noexcept;
    void SetValue(float value) noexcept;
    void SetValue(BString const& value) { *this = BVariant(value); }
    void SetValue(char const* value) { *this = BVariant(value); }
    void SetValue(wchar_t const* value) { *this = BVariant(value); }
    void SetValue(BString&& value) noexcept { *this = BVariant(std::move(value)); }
    /// 8-bit text of `length` bytes, or up to its NUL when `length` is 0.
    void SetValue(char const* value, std::uint64_t length);
    void SetAsNull() noexcept { *this = BVariant(); }

    EVariantType GetType() const noexcept { return type; }
    /// Renames the value's type without converting the value: a text becomes a date, an integer a
    /// short one. What a type cannot mean for the value held is found when it is asked for.
    void SetType(EVariantType asType) noexcept { type = asType; }
    bool IsNull() const noexcept { return storage == Storage::Nothing; }

    std::int8_t GetValueAsByte(std::int8_t otherwise) const;
    std::uint8_t GetValueAsUnsignedByte(std::uint8_t otherwise) const;
    std::int16_t GetValueAsShort(std::int16_t otherwise) const;
    std::uint16_t GetValueAsUnsignedShort(std::uint16_t otherwise) const;
    std::int32_t GetValueAsInteger(std::int32_t otherwise) const;
    std::uint32_t GetValueAsUnsignedInteger(std::uint32_t otherwise) const;
    std::int64_t GetValueAsInteger64(std::int64_t otherwise) const;
    std::uint64_t GetValueAsUnsignedInteger64(std::uint64_t otherwise) const;
    float GetValueAsFloat(float otherwise) const;
    double GetValueAsDouble(double otherwise) const;
    /// Throws BAttributeDataException when the value cannot be converted.
    double GetValueAsDouble() const;
    bool GetValueAsBoolean(bool otherwise) const;
    BString GetValueAsString(BString const& otherwise) const;
    std::vector<std::int32_t>
    GetValueAsIntegerList(std::vector<std::int32_t> const& otherwise) const;
    std::vector<double> GetValueAsDoubleList(std::vector<double> const& otherwise) const;
    std::vector<BString> GetValueAsStringList(std::vector<BString> const& otherwise) const;

    /// Same type and equal value. Two nulls are equal; NaN equals nothing.
    bool operator==(BVariant const& other) const;

private:
    friend class VariantStream; // turns values into bytes and back

    enum class Storage : std::uint8_t { Nothing, Integer, Real, Text, Integers, Doubles, Strings };

    template <class T>
    struct List {
        detail::HolderCount holders{1};
        std::vector<T> values;
    };

    bool IsUnsigned64() const noexcept { return type == VAR_UNSIGNED_INTEGER64; }
    void ReleaseShared() noexcept;
    /// Takes over what `other`, of the same storage, has, and leaves it null.
    void Take(BVariant& other) noexcept {
        if (storage == Storage::Text) {
            new (&text) BString(std::move(other.text));
            other.text.~BString();
        } else {
            std::memcpy(&integer, &other.integer, sizeof integer);
        }
        other.type = VAR_NONE;
        other.storage = Storage::Nothing;
        other.integer = 0;
    }
    /// The value cut to an integer; `isNegative` tells how to read the 64 bits.
    struct Whole {
        std::uint64_t bits;
        bool isNegative;
    };
    std::optional<Whole> AsWhole() const;
    std::optional<double> AsReal() const;
    template <class T>
    T AsInteger(T otherwise) const;

    EVariantType type = VAR_NONE;
    Storage storage = Storage::Nothing;
    union {
        std::int64_t integer; ///< an unsigned 64-bit value keeps its bits here
        double real;
        BString text;
        List<std::int32_t>* integers;
        List<double>* doubles;
        List<BString>* strings;
    };
};

} // namespace Ambrel
