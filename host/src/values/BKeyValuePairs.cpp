#include "Ambrel/BKeyValuePairs.h"

namespace Ambrel {

BKeyValuePairs::~BKeyValuePairs() = default;
BParamList::~BParamList() = default;
BMetadataContainer::~BMetadataContainer() = default;

BVariant const* BKeyValuePairs::Find(BString const& key) const noexcept {
    for (Entry const& entry : entries) {
        if (entry.key == key) {
            return &entry.value;
        }
    }
    return nullptr;
}

void BKeyValuePairs::Set(BString const& key, BVariant&& value) {
    for (Entry& entry : entries) {
        if (entry.key == key) {
            entry.value = std::move(value);
            return;
        }
    }
    entries.Emplace(Entry{key, std::move(value)});
}

BString BKeyValuePairs::GetString(BString const& key) const {
    BVariant const* const value = Find(key);
    return value ? value->GetValueAsString(BString()) : BString();
}

bool BKeyValuePairs::GetBoolean(BString const& key, bool otherwise) const {
    BVariant const* const value = Find(key);
    return value ? value->GetValueAsBoolean(otherwise) : otherwise;
}

} // namespace Ambrel
