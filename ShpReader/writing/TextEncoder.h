#pragma once

#include "Ambrel/BString.h"

#include <cstdint>
#include <string>
#include <string_view>

class QTextCodec;

namespace Ambrel {

/// Makes bytes of a table's encoding from texts.
class TextEncoder {
public:
    /// `encoding`: a codec that Qt knows, or a spelling met in ".cpg" files; empty for UTF-8.
    /// Throws BException (`operation`, "ENCODING=name") as TextDecoder does.
    TextEncoder(std::string const& encoding, char const* operation);

    /// The name by which ".cpg" files know the encoding.
    std::string GetName() const;
    /// The text's bytes, "?" for each letter that the encoding lacks. Valid until the next call,
    /// and while the text lives.
    std::string_view Encode(BString const& text);
    /// Letters that became "?" so far.
    std::uint64_t GetReplacedCount() const noexcept { return replacedCount; }

private:
    void EncodeByLetter(BString const& text);

    QTextCodec const* codec; ///< null for UTF-8
    std::string bytes;
    std::uint64_t replacedCount = 0;
};

} // namespace Ambrel
