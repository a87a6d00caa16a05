#pragma once

#include "Ambrel/BFeature.h"
#include "cache/ByteReader.h"

#include <string_view>
#include <unordered_map>
#include <vector>

namespace Ambrel {

/// The texts that repeat from feature to feature, attribute names above all. Bytes name them by
/// their index, and all features that are read share them.
class TextTable final {
public:
    /// The text's index; it is added if it is not there.
    std::uint32_t IndexOf(BString const& text);
    std::size_t Count() const noexcept { return texts.size(); }
    /// The text that the reader's next index names.
    BString const& Take(ByteReader& reader) const;
    void Clear() noexcept;

    /// The size in bytes of what Write appends.
    std::size_t EncodedSize() const noexcept;
    void Write(BByteArray& bytes) const;
    static TextTable Read(ByteReader& reader);

private:
    std::vector<BString> texts;
    /// Made when a text is first looked up; the keys are the bytes of `texts`.
    std::unordered_map<std::string_view, std::uint32_t> indexes;
    /// Features ask for the same texts in the same order: the index after the last one found.
    std::size_t expected = 0;
};

/// Text that comes from bytes, decoded and checked.
BString TakeText(ByteReader& reader);

/// Appends the feature: its geometry, which can also be read alone, its attributes, its metadata.
/// Throws BUnknownGeometryException for a geometry of a kind that has no bytes.
void WriteFeature(BFeature const& feature, BByteArray& bytes, TextTable& texts);
/// Undoes WriteFeature; everything is checked.
BSharedPtr<BFeature> ReadFeature(ByteReader& reader, TextTable const& texts);

} // namespace Ambrel
