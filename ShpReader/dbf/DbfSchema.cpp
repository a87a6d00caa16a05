#include "ShpReader/dbf/DbfSchema.h"

#include "Ambrel/BInputFile.h"
#include "ShpReader/dbf/TextDecoder.h"

#include <algorithm>

namespace Ambrel {

namespace {

BAttributeDef MakeDefinition(DbfFieldDescriptor const& descriptor, EVariantType type,
                             TextDecoder const& decoder) {
    BAttributeDef definition;
    definition.SetType(type);
    definition.name = decoder.Decode(descriptor.name);
    definition.width = descriptor.width;
    definition.decimals = descriptor.decimals;
    if (type == VAR_DATE) {
        definition.isDate = true;
    }
    return definition;
}

std::vector<char> ReadDescriptors(BInputFile const& file, DbfHeader const& header) {
    std::vector<char> bytes(header.GetFieldCount() * DbfFieldDescriptor::size);
    std::size_t const whole =
        file.Read(DbfHeader::size, bytes.data(), bytes.size()) / DbfFieldDescriptor::size;
    bytes.resize(whole * DbfFieldDescriptor::size);
    return bytes;
}

template <class MakeValue>
BAttributes MakeRow(DbfSchema const& schema, MakeValue makeValue) {
    BAttributes attributes;
    attributes.Reserve(schema.fields.size());
    for (std::size_t i = 0; i < schema.fields.size(); ++i) {
        attributes.Add(schema.definitions.GetAt(i).name, makeValue(schema.fields[i]));
    }
    return attributes;
}

} // namespace

DbfSchema ReadDbfSchema(BInputFile const& file, DbfHeader const& header, TextDecoder const& decoder,
                        std::optional<std::vector<std::string>> const& wantedNames) {
    auto const isWanted = [&](BString const& name) {
        return !wantedNames || std::find(wantedNames->begin(), wantedNames->end(), name.Utf8()) !=
                                   wantedNames->end();
    };
    std::vector<char> const descriptors = ReadDescriptors(file, header);
    std::size_t const count = descriptors.size() / DbfFieldDescriptor::size;
    DbfSchema schema;
    schema.fields.reserve(count);
    schema.definitions.Reserve(count);
    std::int32_t offset = dbfDeletionFlagSize;
    for (std::size_t i = 0; i < count; ++i) {
        auto const descriptor =
            DbfFieldDescriptor::Decode(descriptors.data() + i * DbfFieldDescriptor::size);
        FieldType const& type = GetFieldType(descriptor);
        BAttributeDef const definition = MakeDefinition(descriptor, type.type, decoder);
        if (isWanted(definition.name)) {
            schema.definitions.Add(definition);
            schema.fields.push_back({&type, offset, descriptor.width});
        }
        offset += descriptor.width;
    }
    schema.rowLength = static_cast<std::uint32_t>(offset);
    return schema;
}

BAttributes MakeDefaultRow(DbfSchema const& schema) {
    return MakeRow(schema, [](DbfField const& field) { return field.type->makeDefault(); });
}

BAttributes MakeNullRow(DbfSchema const& schema) {
    return MakeRow(schema, [](DbfField const&) { return BVariant(); });
}

} // namespace Ambrel
