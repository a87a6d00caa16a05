#include "source/Encoding.h"

#include "terminal/Console.h"

#include "ShpReader/format/DbfFormat.h"

#include "Ambrel/BFileUtilities.h"

#include <QFile>
#include <QTextCodec>

#include <algorithm>
#include <cctype>

namespace Ambrel::Tool {

namespace {

struct CodePage {
    int number;
    char const* codec;
};

/// Code pages whose codec is not called "windows-N" or "IBMN".
constexpr CodePage namedCodePages[] = {
    {874, "windows-874"},
    {932, "windows-31j"},
    {936, "GBK"},
    {949, "windows-949"},
    {950, "Big5"},
    {10000, "macintosh"},
    {10006, "x-mac-greek"},
    {10007, "x-mac-cyrillic"},
    {10029, "x-mac-centraleurroman"},
    {20127, "US-ASCII"},
    {20866, "KOI8-R"},
    {21866, "KOI8-U"},
    {54936, "GB18030"},
    {65001, "UTF-8"},
};

struct Language {
    std::uint8_t byte;
    char const* codePage;
};

/// The language drivers of dBASE IV and Visual FoxPro.
constexpr Language languages[] = {
    {0x01, "437"},   {0x02, "850"},  {0x03, "1252"}, {0x04, "10000"}, {0x08, "865"},
    {0x09, "437"},   {0x0A, "850"},  {0x0B, "437"},  {0x0D, "437"},   {0x0E, "850"},
    {0x0F, "437"},   {0x10, "850"},  {0x11, "437"},  {0x12, "850"},   {0x13, "932"},
    {0x14, "850"},   {0x15, "437"},  {0x16, "850"},  {0x17, "865"},   {0x18, "437"},
    {0x19, "437"},   {0x1A, "850"},  {0x1B, "437"},  {0x1C, "863"},   {0x1D, "850"},
    {0x1F, "852"},   {0x22, "852"},  {0x23, "852"},  {0x24, "860"},   {0x25, "850"},
    {0x26, "866"},   {0x37, "850"},  {0x40, "852"},  {0x4D, "936"},   {0x4E, "949"},
    {0x4F, "950"},   {0x50, "874"},  {0x58, "1252"}, {0x59, "1252"},  {0x64, "852"},
    {0x65, "866"},   {0x66, "865"},  {0x67, "861"},  {0x68, "895"},   {0x69, "620"},
    {0x6A, "737"},   {0x6B, "857"},  {0x6C, "863"},  {0x78, "950"},   {0x79, "949"},
    {0x7A, "936"},   {0x7B, "932"},  {0x7C, "874"},  {0x7D, "1255"},  {0x7E, "1256"},
    {0x86, "737"},   {0x87, "852"},  {0x88, "857"},  {0x96, "10007"}, {0x97, "10029"},
    {0x98, "10006"}, {0xC8, "1250"}, {0xC9, "1251"}, {0xCA, "1254"},  {0xCB, "1253"},
    {0xCC, "1257"},
};

constexpr qint64 longestCpg = 256; // bytes; there is one short line in it

/// What may stand before the number of a code page.
constexpr std::string_view numberPrefixes[] = {"",    "ANSI", "OEM", "CP",  "WINDOWS",
                                               "WIN", "IBM",  "MS",  "DOS", "CODEPAGE"};

/// Letters and digits alone, the letters in upper case.
std::string Canonical(std::string_view name) {
    std::string canonical;
    for (unsigned char const c : name) {
        if (std::isalnum(c) && c < 0x80) {
            canonical += static_cast<char>(std::toupper(c));
        }
    }
    return canonical;
}

bool IsNumber(std::string_view text) {
    return !text.empty() && text.size() <= 6 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

QTextCodec* CodecCalled(std::string const& name) {
    return QTextCodec::codecForName(QByteArray::fromStdString(name));
}

QTextCodec* CodecOfCodePage(std::string const& digits) {
    int const number = std::stoi(digits);
    for (CodePage const& page : namedCodePages) {
        if (page.number == number) {
            return CodecCalled(page.codec);
        }
    }
    if (number > 28590 && number <= 28605) {
        return CodecCalled("ISO-8859-" + std::to_string(number - 28590));
    }
    QTextCodec* const windows = CodecCalled("windows-" + std::to_string(number));
    return windows ? windows : CodecCalled("IBM" + std::to_string(number));
}

/// "88591", "ISO88591", "8859_15" …: the part's number, empty when it is none of these.
std::string PartOfIso8859(std::string const& canonical) {
    for (std::string_view const prefix : {"ISOIEC8859", "ISO8859", "8859"}) {
        if (canonical.starts_with(prefix) && IsNumber(canonical.substr(prefix.size()))) {
            return canonical.substr(prefix.size());
        }
    }
    return {};
}

QTextCodec* FindAnyCodec(std::string_view name) {
    std::string const canonical = Canonical(name);
    if (canonical.starts_with("UTF8")) {
        return CodecCalled("UTF-8");
    }
    std::string const part = PartOfIso8859(canonical);
    if (!part.empty()) {
        return CodecCalled("ISO-8859-" + part);
    }
    for (std::string_view const prefix : numberPrefixes) {
        if (canonical.starts_with(prefix) && IsNumber(canonical.substr(prefix.size()))) {
            return CodecOfCodePage(canonical.substr(prefix.size()));
        }
    }
    return canonical.empty() ? nullptr : CodecCalled(std::string(name));
}

/// The plug-in's own texts are ASCII, and are decoded as the table's are.
bool KeepsAscii(QTextCodec const& codec) {
    QByteArray const sample("AZaz09 _%:.\"");
    return codec.toUnicode(sample) == QString::fromLatin1(sample);
}

std::string_view Trim(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark)) {
        text.remove_prefix(byteOrderMark.size());
    }
    auto const first = text.find_first_not_of(std::string_view(" \t\r\n\"'\0", 7));
    text.remove_prefix(std::min(first, text.size()));
    text = text.substr(0, text.find_first_of(std::string_view("\r\n\"'\0", 5)));
    return text.substr(0, text.find_last_not_of(" \t") + 1);
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

/// The file's own statement of its encoding; empty when there is none.
std::string StatedEncoding(BString const& shapefile) {
    QByteArray const cpg = HeadOfCompanion(shapefile, ".cpg", longestCpg);
    std::string const name(Trim({cpg.constData(), static_cast<std::size_t>(cpg.size())}));
    if (!name.empty()) {
        return name;
    }
    QByteArray const table = HeadOfCompanion(shapefile, ".dbf", DbfHeader::size);
    return table.size() == DbfHeader::size
               ? std::string(NameOfLanguage(DbfHeader::Decode(table.constData()).GetLanguage()))
               : std::string();
}

} // namespace

QTextCodec const* FindCodec(std::string_view name) {
    QTextCodec const* const codec = FindAnyCodec(Trim(name));
    return codec && KeepsAscii(*codec) ? codec : nullptr;
}

std::string_view NameOfLanguage(std::uint8_t language) {
    auto const found = std::find_if(std::begin(languages), std::end(languages),
                                    [=](Language const& entry) { return entry.byte == language; });
    return found == std::end(languages) ? std::string_view() : std::string_view(found->codePage);
}

EncodingScope::EncodingScope(Console& console, BString const& shapefile, std::string const& name) {
    std::string const wanted = name.empty() ? StatedEncoding(shapefile) : name;
    QTextCodec const* const codec = wanted.empty() ? nullptr : FindCodec(wanted);
    if (!codec && !name.empty()) {
        throw UsageException("--encoding: \"" + name + "\" is not known");
    }
    if (!codec && !wanted.empty()) {
        PrintWarning(console, std::string(shapefile.Utf8()) + ": the encoding \"" + wanted +
                                  "\" is not known; see --encoding");
    }
    BString::SetCodec(codec);
}

EncodingScope::~EncodingScope() {
    BString::SetCodec(nullptr);
}

} // namespace Ambrel::Tool
