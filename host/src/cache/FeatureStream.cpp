#include "cache/FeatureStream.h"

#include "cache/GeometryStream.h"
#include "text/Unicode.h"

#include <limits>
#include <memory>

namespace Ambrel {

std::uint32_t TextTable::IndexOf(BString const& text) {
    if (expected == texts.size()) {
        expected = 0;
    }
    if (expected < texts.size() && texts[expected] == text) {
        return static_cast<std::uint32_t>(expected++);
    }
    for (std::size_t i = indexes.size(); i < texts.size(); ++i) {
        indexes.emplace(texts[i].Utf8(), static_cast<std::uint32_t>(i));
    }
    auto const found = indexes.find(text.Utf8());
    if (found != indexes.end()) {
        expected = std::size_t{found->second} + 1;
        return found->second;
    }
    texts.push_back(text);
    expected = texts.size();
    return static_cast<std::uint32_t>(texts.size() - 1);
}

BString const& TextTable::Take(ByteReader& reader) const {
    std::uint64_t const index = reader.Number();
    if (index >= texts.size()) {
        reader.Fail("a text is not in the table");
    }
    return texts[static_cast<std::size_t>(index)];
}

void TextTable::Clear() noexcept {
    indexes.clear();
    texts.clear();
    expected = 0;
}

std::size_t TextTable::EncodedSize() const noexcept {
    std::size_t size = 0;
    for (BString const& text : texts) {
        size += sizeof(std::uint32_t) + text.Utf8().size();
    }
    return size;
}

void TextTable::Write(BByteArray& bytes) const {
    for (BString const& text : texts) {
        AppendValue(bytes, static_cast<std::uint32_t>(text.Utf8().size()));
        AppendBytes(bytes, text.Utf8().data(), text.Utf8().size());
    }
}

namespace {

BString MakeText(ByteReader& reader, std::string_view text) {
    if (!Unicode::IsValidUtf8(text)) {
        reader.Fail("a text is not UTF-8");
    }
    return BString::FromUtf8(text);
}

} // namespace

TextTable TextTable::Read(ByteReader& reader) {
    TextTable table;
    while (reader.Remaining() > 0) {
        auto const size = reader.Value<std::uint32_t>();
        auto const* const bytes = reinterpret_cast<char const*>(reader.Take(size));
        table.texts.push_back(MakeText(reader, {bytes, size}));
    }
    return table;
}

BString TakeText(ByteReader& reader) {
    return MakeText(reader, reader.Text());
}

/// A value as bytes: how it is held, its type, and what it is.
class VariantStream final {
public:
    /// Texts go into the table, if there is one and it is not full.
    static void Write(BVariant const& value, BByteArray& bytes, TextTable* texts) {
        bool const shared = value.storage == Storage::Text && texts && texts->Count() < maxTexts;
        bytes.push_back(static_cast<std::uint8_t>(value.storage) | (shared ? sharedText : 0));
        AppendCount(bytes, value.type);
        switch (value.storage) {
        case Storage::Nothing: break;
        case Storage::Integer: AppendValue(bytes, value.integer); break;
        case Storage::Real: AppendValue(bytes, value.real); break;
        case Storage::Text:
            if (shared) {
                AppendCount(bytes, texts->IndexOf(value.text));
            } else {
                AppendText(bytes, value.text.Utf8());
            }
            break;
        case Storage::Integers: WriteNumbers(bytes, value.integers->values); break;
        case Storage::Doubles: WriteNumbers(bytes, value.doubles->values); break;
        case Storage::Strings:
            AppendCount(bytes, value.strings->values.size());
            for (BString const& text : value.strings->values) {
                AppendText(bytes, text.Utf8());
            }
            break;
        }
    }

    static BVariant Read(ByteReader& reader, TextTable const& texts) {
        std::uint8_t const tag = reader.Value<std::uint8_t>();
        std::uint64_t const type = reader.Number();
        if (type > std::numeric_limits<std::uint32_t>::max()) {
            reader.Fail("a value has no such type");
        }
        BVariant value = ReadStored(reader, texts, tag);
        value.SetType(static_cast<EVariantType>(type));
        return value;
    }

private:
    using Storage = BVariant::Storage;
    static constexpr std::uint8_t sharedText = 0x80;
    /// Above this many, texts of metadata are taken for texts that do not repeat.
    static constexpr std::size_t maxTexts = 256;

    static BVariant ReadStored(ByteReader& reader, TextTable const& texts, std::uint8_t tag) {
        if (tag == (static_cast<std::uint8_t>(Storage::Text) | sharedText)) {
            return BVariant(BString(texts.Take(reader)));
        }
        BVariant value;
        switch (static_cast<Storage>(tag)) {
        case Storage::Nothing: return value;
        case Storage::Integer: return BVariant(reader.Value<std::int64_t>());
        case Storage::Real: return BVariant(reader.Value<double>());
        case Storage::Text: return BVariant(TakeText(reader));
        case Storage::Integers:
            value.integers = ReadNumbers<BVariant::List<std::int32_t>>(reader).release();
            break;
        case Storage::Doubles:
            value.doubles = ReadNumbers<BVariant::List<double>>(reader).release();
            break;
        case Storage::Strings: value.strings = ReadTexts(reader).release(); break;
        default: reader.Fail("a value is of no known kind");
        }
        value.storage = static_cast<Storage>(tag);
        return value;
    }

    template <class T>
    static void WriteNumbers(BByteArray& bytes, std::vector<T> const& numbers) {
        AppendCount(bytes, numbers.size());
        AppendBytes(bytes, numbers.data(), numbers.size() * sizeof(T));
    }

    template <class List>
    static std::unique_ptr<List> ReadNumbers(ByteReader& reader) {
        auto list = std::make_unique<List>();
        constexpr std::size_t size = sizeof(list->values[0]);
        std::size_t const count = reader.Count(size);
        if (count > 0) {
            list->values.resize(count);
            std::memcpy(list->values.data(), reader.Take(count * size), count * size);
        }
        return list;
    }

    static std::unique_ptr<BVariant::List<BString>> ReadTexts(ByteReader& reader) {
        auto list = std::make_unique<BVariant::List<BString>>();
        std::size_t const count = reader.Count(1);
        list->values.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            list->values.push_back(TakeText(reader));
        }
        return list;
    }
};

namespace {

/// The index of its name, how it is held, its type: what a value takes at least.
constexpr std::size_t minValueSize = 3;

void ReadAttributes(ByteReader& reader, TextTable const& texts, BAttributes& attributes) {
    std::size_t const count = reader.Count(minValueSize);
    attributes.Reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        BString const& name = texts.Take(reader);
        attributes.Add(name, VariantStream::Read(reader, texts));
    }
}

void ReadMetadata(ByteReader& reader, TextTable const& texts, BKeyValuePairs& metadata) {
    std::size_t const count = reader.Count(minValueSize);
    metadata.Reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        BString const& key = texts.Take(reader);
        metadata.Add(key, VariantStream::Read(reader, texts));
    }
}

} // namespace

void WriteFeature(BFeature const& feature, BByteArray& bytes, TextTable& texts) {
    WriteGeometry(feature.GetGeometry().Get(), bytes);
    AppendCount(bytes, feature.attributes.GetCount());
    for (std::uint64_t i = 0; i < feature.attributes.GetCount(); ++i) {
        BAttribute const& attribute = feature.attributes.GetAt(i);
        AppendCount(bytes, texts.IndexOf(attribute.GetName()));
        VariantStream::Write(attribute.GetValue(), bytes, nullptr);
    }
    AppendCount(bytes, feature.GetMetadata().GetCount());
    for (BKeyValuePairs::Entry const& entry : feature.GetMetadata()) {
        AppendCount(bytes, texts.IndexOf(entry.key));
        VariantStream::Write(entry.value, bytes, &texts);
    }
}

BSharedPtr<BFeature> ReadFeature(ByteReader& reader, TextTable const& texts) {
    BSharedPtr<BFeature> feature(new BFeature);
    feature->SetGeometry(ReadGeometry(reader));
    ReadAttributes(reader, texts, feature->attributes);
    ReadMetadata(reader, texts, feature->GetMetadata());
    if (reader.Remaining() > 0) {
        reader.Fail("a feature ends too early");
    }
    return feature;
}

} // namespace Ambrel
