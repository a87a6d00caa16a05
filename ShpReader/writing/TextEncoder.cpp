#include "ShpReader/writing/TextEncoder.h"

#include "ShpReader/dbf/TextDecoder.h"

#include <QString>
#include <QTextCodec>

#include <algorithm>

namespace Ambrel {

namespace {

constexpr char const* utf8 = "UTF-8";

QTextCodec const* FindCodec(std::string const& encoding, char const* operation) {
    QTextCodec const* const codec =
        TextDecoder(encoding.empty() ? utf8 : encoding, operation).GetCodec();
    return codec && codec->name() != utf8 ? codec : nullptr;
}

bool IsAscii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

/// The bytes, where they give the same text back.
QByteArray EncodeExactly(QTextCodec const& codec, QString const& text) {
    QByteArray const encoded = codec.fromUnicode(text);
    return codec.toUnicode(encoded) == text ? encoded : QByteArray();
}

} // namespace

TextEncoder::TextEncoder(std::string const& encoding, char const* operation)
    : codec(FindCodec(encoding, operation)) {}

std::string TextEncoder::GetName() const {
    return codec ? codec->name().toStdString() : utf8;
}

std::string_view TextEncoder::Encode(BString const& text) {
    std::string_view const plain = text.Utf8();
    if (!codec || IsAscii(plain)) {
        return plain;
    }
    QByteArray const encoded = EncodeExactly(*codec, MakeQString(text));
    bytes.assign(encoded.constData(), static_cast<std::size_t>(encoded.size()));
    if (bytes.empty()) {
        EncodeByLetter(text);
    }
    return bytes;
}

void TextEncoder::EncodeByLetter(BString const& text) {
    QString const letters = MakeQString(text);
    for (int at = 0, next = 0; at < letters.size(); at = next) {
        bool const isPair = letters[at].isHighSurrogate() && at + 1 < letters.size();
        next = at + (isPair ? 2 : 1);
        QByteArray const encoded = EncodeExactly(*codec, letters.mid(at, next - at));
        bytes += encoded.isEmpty() ? "?" : encoded.toStdString();
        replacedCount += encoded.isEmpty() ? 1 : 0;
    }
}

} // namespace Ambrel
