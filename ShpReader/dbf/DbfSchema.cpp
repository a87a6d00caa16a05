#include "Ambrel/BException.h"
#include "Ambrel/BInputFile.h"
#include "Ambrel/BLogger.h"
#include "ShpReader/dbf/BDbfFile.h"

namespace Ambrel {

namespace {

BAttributeDef MakeDefinition(DbfFieldDescriptor const& descriptor, TextDecoder const& decoder) {
    BAttributeDef definition;
    definition.SetType(descriptor.GetVariantType());
    definition.name = decoder.Decode(descriptor.name);
    definition.width = descriptor.width;
    definition.decimals = descriptor.decimals;
    if (definition.GetType() == VAR_DATE) {
        definition.isDate = true;
    }
    return definition;
}

BVariant MakeDefaultValue(EVariantType type) {
    switch (type) {
    case VAR_INTEGER: return {0};
    case VAR_INTEGER64: return {std::int64_t{0}};
    case VAR_DOUBLE: return {0.0};
    case VAR_BOOLEAN: return {false};
    case VAR_DATE: {
        BVariant value(BString::FromUtf8(dbfNoDate));
        value.SetType(VAR_DATE);
        return value;
    }
    default: return {BString()};
    }
}

/// The descriptors behind the header: as many as the header has room for and the file holds whole.
std::vector<char> ReadDescriptors(BInputFile const& file, DbfHeader const& header) {
    std::vector<char> bytes(header.GetFieldCount() * DbfFieldDescriptor::size);
    std::size_t const whole =
        file.Read(DbfHeader::size, bytes.data(), bytes.size()) / DbfFieldDescriptor::size;
    bytes.resize(whole * DbfFieldDescriptor::size);
    return bytes;
}

} // namespace

void BDbfFile::ReadSchema() {
    RequireMode(readMode, "BDbfFile::ReadSchema");
    BLogger::Instance()->WriteLine(LOG_PROGRESS, "DBF-File: Reading schema...");
    schema.Clear();
    fieldOffsets.clear();
    textCaches.clear();
    if (!header.HasRegularLength()) {
        Note(FindingCode::TableHeaderLengthOdd);
    }
    std::vector<char> const descriptors = ReadDescriptors(*input, header);
    std::size_t const fieldCount = descriptors.size() / DbfFieldDescriptor::size;
    fieldOffsets.reserve(fieldCount);
    schema.Reserve(fieldCount);
    std::int32_t offset = dbfDeletionFlagSize;
    for (std::size_t i = 0; i < fieldCount; ++i) {
        auto const descriptor =
            DbfFieldDescriptor::Decode(descriptors.data() + i * DbfFieldDescriptor::size);
        schema.Add(MakeDefinition(descriptor, decoder));
        fieldOffsets.push_back(offset);
        offset += descriptor.width;
    }
    if (useDefaultValues) {
        CreateDefaultAttributes();
    }
}

void BDbfFile::CreateDefaultAttributes() {
    defaultAttributes = MakeDefaultAttributes();
}

BAttributes BDbfFile::MakeDefaultAttributes() const {
    BAttributes attributes;
    attributes.Reserve(schema.GetCount());
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        BAttributeDef const& field = schema.GetAt(i);
        attributes.Add(field.name, MakeDefaultValue(field.GetType()));
    }
    return attributes;
}

} // namespace Ambrel
