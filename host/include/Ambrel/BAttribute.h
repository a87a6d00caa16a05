#pragma once

#include "Ambrel/BVariant.h"
#include "Ambrel/detail/FlatArray.h"

#include <vector>

namespace Ambrel {

/// The definition of one attribute: a column of a table.
class AMBREL_API BAttributeDef final {
public:
    BString name;              ///< of the column
    std::int32_t width = 0;    ///< bytes in a record of the table
    std::int32_t decimals = 0; ///< digits after the decimal point
    bool isDate = false;       ///< whether the values are dates: eight digits, year first

    void SetType(EVariantType valueType) noexcept { type = valueType; }
    EVariantType GetType() const noexcept { return type; }

private:
    EVariantType type = VAR_STRING;
};

/// A schema: attribute definitions in column order.
class AMBREL_API BAttributeDefs final {
public:
    void Add(BAttributeDef const& definition) { definitions.push_back(definition); }
    void Reserve(std::uint64_t count) { definitions.reserve(count); }
    void Clear() noexcept { definitions.clear(); }
    std::uint64_t GetCount() const noexcept { return definitions.size(); }
    /// REQUIRES: index < GetCount().
    BAttributeDef& GetAt(std::uint64_t index) noexcept { return definitions[index]; }
    BAttributeDef const& GetAt(std::uint64_t index) const noexcept { return definitions[index]; }

private:
    std::vector<BAttributeDef> definitions;
};

/// A named value.
class AMBREL_API BAttribute final {
public:
    BAttribute() noexcept = default;
    BAttribute(BString const& fieldName, BVariant const& content)
        : name(fieldName), value(content) {}
    BAttribute(BString const& fieldName, BVariant&& content) noexcept
        : name(fieldName), value(std::move(content)) {}

    void SetName(BString const& fieldName) { name = fieldName; }
    BString const& GetName() const noexcept { return name; }
    void SetValue(BVariant const& content) { value = content; }
    void SetValue(BVariant&& content) noexcept { value = std::move(content); }
    BVariant& GetValue() noexcept { return value; }
    BVariant const& GetValue() const noexcept { return value; }
    void SetAsNull() noexcept { value.SetAsNull(); }
    bool IsNull() const noexcept { return value.IsNull(); }

private:
    BString name;
    BVariant value;
};

/// The attribute values of a feature, in column order.
class AMBREL_API BAttributes final {
public:
    void Add(BAttribute const& attribute) { attributes.Emplace(attribute); }
    void Add(BAttribute&& attribute) { attributes.Emplace(std::move(attribute)); }
    void Add(BString const& name, BVariant const& value) { attributes.Emplace(name, value); }
    void Add(BString const& name, BVariant&& value) { attributes.Emplace(name, std::move(value)); }
    void Reserve(std::uint64_t count) { attributes.Reserve(count); }
    void Clear() noexcept { attributes.Clear(); }
    std::uint64_t GetCount() const noexcept { return attributes.Count(); }
    /// REQUIRES: index < GetCount().
    BAttribute const& GetAt(std::uint64_t index) const noexcept { return attributes[index]; }
    BAttribute& GetAt(std::uint64_t index) noexcept { return attributes[index]; }

    /// The first attribute called `name`, or null when there is none.
    BAttribute const* Find(BString const& name) const noexcept;
    /// The first attribute called `name`. Where there is none: throws BAttributeDataException
    /// ("BAttributes::GetAttribute", "Attribute=%s") when `mustExist`, else adds a null one.
    BAttribute& GetAttribute(BString const& name, bool mustExist);

private:
    detail::FlatArray<BAttribute> attributes;
};

} // namespace Ambrel
