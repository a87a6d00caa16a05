#pragma once

#include "Ambrel/BString.h"

#include <string>
#include <string_view>

class QTextCodec;

namespace Ambrel {

/// Makes texts of a table's bytes, in the same way from the table's opening to its end.
class TextDecoder final {
public:
    /// With the codec that the application has set (BString::SetCodec), else as BString decodes
    /// 8-bit text.
    TextDecoder() : TextDecoder(BString::GetCodec()) {}
    /// With the codec of that name (a codec that Qt knows, or a spelling met in ".cpg" files); with
    /// an empty name, as above. Throws BException (`operation`, "ENCODING=name") when it is not
    /// known, or does not decode ASCII to itself (GetFixedBytes): the layout of a table is ASCII.
    TextDecoder(std::string const& encoding, char const* operation);
    /// With that codec; null for BString's rule.
    explicit TextDecoder(QTextCodec const* codec);

    BString Decode(std::string_view bytes) const;
    /// Null for BString's rule.
    QTextCodec const* GetCodec() const noexcept { return codec; }

private:
    QTextCodec const* codec; ///< null for BString's rule
    bool keepsAscii;         ///< ASCII bytes need no codec
};

} // namespace Ambrel
