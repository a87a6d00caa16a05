#include "source/Encoding.h"

#include "terminal/Console.h"

#include "ShpReader/format/DbfFormat.h"
#include "ShpReader/format/Encodings.h"

#include "Ambrel/BFileUtilities.h"

#include <QFile>
#include <QTextCodec>

namespace Ambrel::Tool {

namespace {

constexpr qint64 longestCpg = 256; // bytes; there is one short line in it

/// As the reader wants it of a table's encoding.
bool KeepsAscii(QTextCodec const& codec) {
    std::string_view const fixed = GetFixedBytes();
    auto const size = static_cast<int>(fixed.size());
    return codec.toUnicode(fixed.data(), size, nullptr) == QString::fromLatin1(fixed.data(), size);
}

/// The first bytes of a companion of the shapefile; empty when there is none.
QByteArray HeadOfCompanion(BString const& shapefile, char const* extension, qint64 size) {
    BString const path = BFileUtilities::ChangeExtension(shapefile, BString::FromUtf8(extension));
    if (!BFileUtilities::Exists(path)) {
        return {};
    }
    QFile file(MakeQString(path));
    return file.open(QIODevice::ReadOnly) ? file.read(size) : QByteArray();
}

} // namespace

QTextCodec const* FindCodec(std::string_view name) {
    for (std::string const& known : GetCodecNames(name)) {
        if (QTextCodec const* const codec =
                QTextCodec::codecForName(QByteArray::fromStdString(known))) {
            return KeepsAscii(*codec) ? codec : nullptr;
        }
    }
    return nullptr;
}

StatedEncoding FindEncoding(BString const& shapefile, std::string const& wanted) {
    if (!wanted.empty()) {
        return {wanted, "--encoding"};
    }
    QByteArray const cpg = HeadOfCompanion(shapefile, ".cpg", longestCpg);
    std::string const name(
        TrimEncodingName({cpg.constData(), static_cast<std::size_t>(cpg.size())}));
    if (!name.empty()) {
        return {name, ".cpg file"};
    }
    QByteArray const table = HeadOfCompanion(shapefile, ".dbf", DbfHeader::size);
    std::string_view const codePage =
        table.size() == DbfHeader::size
            ? GetCodePage(DbfHeader::Decode(table.constData()).GetLanguage())
            : std::string_view();
    return {std::string(codePage), codePage.empty() ? "" : "table"};
}

std::string ChooseEncoding(Console& console, BString const& shapefile, std::string const& wanted) {
    std::string const name = FindEncoding(shapefile, wanted).name;
    if (name.empty() || FindCodec(name)) {
        return name;
    }
    if (!wanted.empty()) {
        throw UsageException("--encoding: \"" + wanted + "\" is not known");
    }
    PrintWarning(console, std::string(shapefile.Utf8()) + ": the encoding \"" + name +
                              "\" is not known; see --encoding");
    return {};
}

} // namespace Ambrel::Tool
