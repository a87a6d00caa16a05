#pragma once

#include "Ambrel/BVariant.h"
#include "Ambrel/detail/FlatArray.h"

namespace Ambrel {

/// A map from texts to values that keeps its entries in the order in which they were added.
///
/// Entries lie in one flat array and are found by walking it: a feature has two to seven.
class AMBREL_API BKeyValuePairs {
public:
    /// A key with its value.
    struct Entry {
        BString key;
        BVariant value;
    };

    BKeyValuePairs() noexcept = default;
    BKeyValuePairs(BKeyValuePairs const&) = default;
    BKeyValuePairs(BKeyValuePairs&&) noexcept = default;
    BKeyValuePairs& operator=(BKeyValuePairs const&) = default;
    BKeyValuePairs& operator=(BKeyValuePairs&&) noexcept = default;
    virtual ~BKeyValuePairs();

    /// Adds an entry. A key that is there already keeps its place and gets the new value.
    void Add(BString const& key, double value) { Set(key, BVariant(value)); }
    template <std::same_as<bool> Bool>
    void Add(BString const& key, Bool value) {
        Set(key, BVariant(value));
    }
    void Add(BString const& key, BVariant const& value) { Set(key, BVariant(value)); }
    void Add(BString const& key, BVariant&& value) { Set(key, std::move(value)); }

    /// Sets an entry, adding it at the end if the key is not there.
    void SetValue(BString const& key, BString const& value) { Set(key, BVariant(value)); }
    void SetValue(BString const& key, int value) { Set(key, BVariant(value)); }

    bool HasProperty(BString const& key) const noexcept { return Find(key) != nullptr; }
    /// The value under `key`, or null when there is none. Valid until the list is changed.
    BVariant const* Find(BString const& key) const noexcept;
    /// The entry as text; empty when there is none or it has no text form.
    BString GetString(BString const& key) const;
    /// The entry as a boolean; `otherwise` when there is none or it is none.
    bool GetBoolean(BString const& key, bool otherwise) const;

    /// Makes room for `count` entries in all.
    void Reserve(std::size_t count) { entries.Reserve(count); }
    void Clear() noexcept { entries.Clear(); }
    std::size_t GetCount() const noexcept { return entries.Count(); }
    Entry const* begin() const noexcept { return entries.begin(); }
    Entry const* end() const noexcept { return entries.end(); }

private:
    void Set(BString const& key, BVariant&& value);

    detail::FlatArray<Entry> entries;
};

/// Options of an operation, or the result of a query.
class AMBREL_API BParamList : public BKeyValuePairs {
public:
    BParamList() noexcept = default;
    BParamList(BParamList const&) = default;
    BParamList(BParamList&&) noexcept = default;
    BParamList& operator=(BParamList const&) = default;
    BParamList& operator=(BParamList&&) noexcept = default;
    ~BParamList() override;
};

/// Base of what carries metadata.
class AMBREL_API BMetadataContainer {
public:
    BMetadataContainer() noexcept = default;
    BMetadataContainer(BMetadataContainer const&) = default;
    BMetadataContainer(BMetadataContainer&&) noexcept = default;
    BMetadataContainer& operator=(BMetadataContainer const&) = default;
    BMetadataContainer& operator=(BMetadataContainer&&) noexcept = default;
    virtual ~BMetadataContainer();

    BKeyValuePairs& GetMetadata() noexcept { return metadata; }
    BKeyValuePairs const& GetMetadata() const noexcept { return metadata; }

protected:
    BKeyValuePairs metadata;
};

} // namespace Ambrel
