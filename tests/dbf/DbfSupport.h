#pragma once

#include "ShpReader/dbf/BDbfFile.h"
#include "Testing.h"

#include <cmath>
#include <cstdio>

namespace Ambrel::Test {

/// Type and value, reals to their last bit: "integer 42", "date 20210315", "null".
inline std::string TextOf(BVariant const& value) {
    double const number = value.GetValueAsDouble(0);
    char real[32];
    std::snprintf(real, sizeof real, "real %a", number);
    if (std::isnan(number)) {
        std::snprintf(real, sizeof real, "real %#jx", std::bit_cast<std::uintmax_t>(number));
    }
    std::string const text = value.GetValueAsString("").Ascii();
    switch (value.GetType()) {
    case VAR_NONE: return "null";
    case VAR_INTEGER: return "integer " + text;
    case VAR_INTEGER64: return "long " + text;
    case VAR_DOUBLE: return real;
    case VAR_BOOLEAN: return text;
    case VAR_DATE: return "date " + text;
    case VAR_STRING: return "text " + text;
    default: return "unexpected type";
    }
}

inline Texts TextsOf(BAttributes const& attributes) {
    Texts texts;
    for (std::uint64_t i = 0; i < attributes.GetCount(); ++i) {
        texts.push_back(TextOf(attributes.GetAt(i).GetValue()));
    }
    return texts;
}

/// A field of a table, and the type of its values.
struct Column {
    char letter;
    std::uint8_t width;
    std::uint8_t decimals;
    EVariantType type;
};

inline BAttributeDef Field(BString const& name, EVariantType type, std::int32_t width,
                           std::int32_t decimals = 0) {
    BAttributeDef field;
    field.name = name;
    field.SetType(type);
    field.width = width;
    field.decimals = decimals;
    return field;
}

inline Texts NamesOf(BAttributeDefs const& schema) {
    Texts names;
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        names.emplace_back(schema.GetAt(i).name.Ascii());
    }
    return names;
}

/// A folder with one table in it.
class TableTest : public testing::Test {
protected:
    /// Makes the file anew, and a table that has it open.
    void Open(TableBuilder const& builder, bool strict = true) { Open(builder, {}, strict); }
    void Open(TableBuilder const& builder, ReadOptions const& options, bool strict = true) {
        builder.WriteTo(file);
        Reopen(strict, options);
    }

    /// Closes the table and opens the file to be read.
    void Reopen(bool strict = true, ReadOptions const& options = {}) {
        table = std::make_unique<BDbfFile>();
        table->SetOptions(options);
        table->Open(path, BDbfFile::readMode, strict);
    }

    Texts Read(std::uint32_t index, bool useOwnHandle = true) {
        BAttributes attributes;
        table->ReadAttributeRecord(index, attributes, useOwnHandle);
        return TextsOf(attributes);
    }

    BString NamingFile(std::string const& start) const {
        return BString((start + file.string()).c_str());
    }

    TemporaryFolder const folder;
    std::filesystem::path const file = folder.Path() / "t.dbf";
    BString const path = folder.File("t.dbf");
    std::unique_ptr<BDbfFile> table = std::make_unique<BDbfFile>();
};

} // namespace Ambrel::Test
