#include "ShpReader/writing/DbfTableStart.h"

#include "Ambrel/BException.h"
#include "ShpReader/dbf/DbfFieldTypes.h"

#include <QDate>

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace Ambrel {

namespace {

/// The start of UTF-8 text, at most `size` bytes, cut between two characters.
std::string_view CutAtCharacter(std::string_view text, std::size_t size) {
    if (text.size() <= size) {
        return text;
    }
    auto const isContinuation = [&](std::size_t at) { return (text[at] & 0xC0) == 0x80; };
    while (size > 0 && isContinuation(size)) {
        --size;
    }
    return text.substr(0, size);
}

/// Cuts names that are too long for a descriptor, so that none becomes equal to another.
class FieldNames {
public:
    explicit FieldNames(BAttributeDefs const& schema) {
        for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
            std::string_view const name = GetText(schema.GetAt(i).name);
            if (name.size() <= DbfFieldDescriptor::maxWrittenName) {
                taken.emplace(name);
            }
        }
    }

    BString Shorten(BString const& name) {
        std::string_view const text = GetText(name);
        if (text.size() <= DbfFieldDescriptor::maxWrittenName) {
            return name;
        }
        std::string const base(CutAtCharacter(text, DbfFieldDescriptor::maxWrittenName));
        std::string candidate = base;
        std::uint32_t& number = lastNumbers[base];
        while (!taken.insert(candidate).second) {
            std::string const suffix = std::to_string(++number);
            candidate = CutAtCharacter(base, DbfFieldDescriptor::maxWrittenName - suffix.size());
            candidate += suffix;
        }
        return BString::FromUtf8(candidate);
    }

private:
    static std::string_view GetText(BString const& name) { return name.Ascii(); }

    std::unordered_set<std::string> taken;
    std::unordered_map<std::string, std::uint32_t> lastNumbers; ///< by the name that was cut
};

[[noreturn]] void Refuse(char const* operation, BAttributeDef const& field, char const* reason) {
    throw BAttributeDataException(operation,
                                  BString::Format("Field=%s, %s", field.name.Ascii(), reason));
}

/// The definition as the table will have it, but for its name.
BAttributeDef LimitField(BAttributeDef definition) {
    if (IsTextType(definition.GetType())) {
        definition.width = std::min(definition.width, dbfMaxTextWidth);
    }
    if (!HasDecimals(definition.GetType())) {
        definition.decimals = 0;
    }
    return definition;
}

bool FitsDescriptorByte(std::int32_t value) {
    return value >= 0 && value <= dbfMaxFieldWidth;
}

std::size_t GetRecordLength(BAttributeDefs const& fields) {
    std::size_t length = dbfDeletionFlagSize;
    for (std::uint64_t i = 0; i < fields.GetCount(); ++i) {
        length += static_cast<std::size_t>(fields.GetAt(i).width);
    }
    return length;
}

DbfFieldDescriptor MakeDescriptor(BAttributeDef const& field, std::string_view name) {
    DbfFieldDescriptor descriptor;
    descriptor.name = name;
    descriptor.type = GetFieldTypeLetter(field.GetType(), field.decimals);
    descriptor.width = static_cast<std::uint8_t>(field.width);
    descriptor.decimals = static_cast<std::uint8_t>(field.decimals);
    return descriptor;
}

} // namespace

BAttributeDefs LimitDbfSchema(BAttributeDefs const& schema, char const* operation) {
    BAttributeDefs limited;
    FieldNames names(schema);
    std::size_t recordLength = dbfDeletionFlagSize;
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        BAttributeDef field = LimitField(schema.GetAt(i));
        if (i >= dbfMaxFieldCount) {
            Refuse(operation, field, "too many fields");
        }
        if (!FitsDescriptorByte(field.width)) {
            Refuse(operation, field, "width out of range");
        }
        if (!FitsDescriptorByte(field.decimals)) {
            Refuse(operation, field, "decimals out of range");
        }
        recordLength += static_cast<std::size_t>(field.width);
        if (recordLength > dbfMaxRecordLength) {
            Refuse(operation, field, "record too long");
        }
        field.name = names.Shorten(field.name);
        limited.Add(field);
    }
    return limited;
}

DbfHeader MakeDbfHeader(BAttributeDefs const& fields) {
    DbfHeader header;
    QDate const today = QDate::currentDate();
    header.version = dbfVersion;
    header.lastUpdate = {static_cast<std::uint8_t>(today.year() - 1900),
                         static_cast<std::uint8_t>(today.month()),
                         static_cast<std::uint8_t>(today.day())};
    header.headerLength =
        static_cast<std::uint16_t>(DbfHeader::size + fields.GetCount() * DbfFieldDescriptor::size +
                                   sizeof dbfHeaderTerminator);
    header.recordLength = static_cast<std::uint32_t>(GetRecordLength(fields));
    return header;
}

std::vector<char> EncodeDbfTableStart(DbfHeader const& header, BAttributeDefs const& fields,
                                      std::span<std::string const> names) {
    std::vector<char> bytes(header.headerLength);
    header.Encode(bytes.data());
    char* place = bytes.data() + DbfHeader::size;
    for (std::uint64_t i = 0; i < fields.GetCount(); ++i, place += DbfFieldDescriptor::size) {
        MakeDescriptor(fields.GetAt(i), names[i]).Encode(place);
    }
    *place = dbfHeaderTerminator;
    return bytes;
}

} // namespace Ambrel
