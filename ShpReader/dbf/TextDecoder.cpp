#include "ShpReader/dbf/TextDecoder.h"

#include "Ambrel/BException.h"
#include "ShpReader/format/Encodings.h"

#include <QTextCodec>

#include <algorithm>

namespace Ambrel {

namespace {

bool IsAscii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

bool KeepsAscii(QTextCodec const* codec) {
    if (!codec) {
        return true;
    }
    std::string_view const fixed = GetFixedBytes();
    auto const size = static_cast<int>(fixed.size());
    return codec->toUnicode(fixed.data(), size, nullptr) == QString::fromLatin1(fixed.data(), size);
}

QTextCodec const* FindCodec(std::string const& encoding) {
    for (std::string const& name : GetCodecNames(encoding)) {
        if (QTextCodec const* const codec =
                QTextCodec::codecForName(QByteArray::fromStdString(name))) {
            return codec;
        }
    }
    return nullptr;
}

} // namespace

TextDecoder::TextDecoder(QTextCodec const* textCodec)
    : codec(textCodec), keepsAscii(KeepsAscii(codec)) {}

TextDecoder::TextDecoder(std::string const& encoding, char const* operation) : TextDecoder() {
    if (encoding.empty()) {
        return;
    }
    codec = FindCodec(encoding);
    keepsAscii = codec && KeepsAscii(codec);
    if (!keepsAscii) {
        throw BException("Ambrel Exception", operation, BString(("ENCODING=" + encoding).c_str()));
    }
}

BString TextDecoder::Decode(std::string_view bytes) const {
    if (!codec || (keepsAscii && IsAscii(bytes))) {
        return {bytes.data(), bytes.size()};
    }
    return BString::FromQString(
        codec->toUnicode(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

} // namespace Ambrel
