#include "Ambrel/BString.h"

#include "Ambrel/detail/SmallBlocks.h"
#include "text/Formatter.h"
#include "text/Unicode.h"

#include <QTextCodec>

#include <cstdarg>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <unordered_map>

namespace Ambrel {

namespace {

std::atomic<QTextCodec const*> textCodec{nullptr};

} // namespace

/// The wide forms of the texts that have been asked for one, each made once and freed with its
/// text.
struct BString::WideTexts {
    std::mutex lock;
    std::unordered_map<Rep const*, std::unique_ptr<wchar_t[]>> texts;

    static WideTexts& Instance() {
        // Never destroyed: texts with static storage duration may outlive any order of destruction.
        static WideTexts* const instance = new WideTexts;
        return *instance;
    }
};

BString::BString(char const* text) : BString(text, text ? std::strlen(text) : 0) {}

BString::BString(char const* text, std::size_t size) {
    if (size > 0) {
        Decode(text, size);
    }
}

BString::BString(wchar_t const* text) {
    if (!text || *text == L'\0') {
        return;
    }
    std::string const utf8 = Unicode::FromWide(text);
    AssignUtf8(utf8.data(), utf8.size());
}

BString BString::FromUtf8(std::string_view text) {
    BString result;
    result.AssignUtf8(text.data(), text.size());
    return result;
}

BString BString::FromQString(QString const& text) {
    QByteArray const utf8 = text.toUtf8();
    return FromUtf8({utf8.constData(), static_cast<std::size_t>(utf8.size())});
}

QString MakeQString(BString const& text) {
    std::string_view const utf8 = text.Utf8();
    if (utf8.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw std::bad_array_new_length();
    }
    QString const decoded = QString::fromUtf8(utf8.data(), static_cast<int>(utf8.size()));
    // Qt takes a byte order mark at the start for no part of the text.
    return utf8.starts_with("\xEF\xBB\xBF") ? QChar(QChar::ByteOrderMark) + decoded : decoded;
}

void BString::SetCodec(QTextCodec const* codec) noexcept {
    textCodec.store(codec, std::memory_order_release);
}

QTextCodec const* BString::GetCodec() noexcept {
    return textCodec.load(std::memory_order_acquire);
}

void BString::Decode(char const* text, std::size_t size) {
    if (Unicode::IsValidUtf8({text, size})) {
        AssignUtf8(text, size);
        return;
    }
    // As a field of a table cuts what is too long for it. The characters before tell what it is.
    std::string_view const whole = Unicode::WithoutCutCharacter({text, size});
    if (whole.size() < size && !Unicode::IsAscii(whole) && Unicode::IsValidUtf8(whole)) {
        AssignUtf8(text, whole.size());
        return;
    }
    std::string const utf8 = Unicode::FromWindows1252({text, size});
    AssignUtf8(utf8.data(), utf8.size());
}

BString::Rep* BString::Allocate(std::size_t size) {
    if (size >= Rep::wideFlag) {
        throw std::bad_array_new_length();
    }
    void* const memory = detail::TakeBlock(sizeof(Rep) + size + 1);
    return new (memory) Rep{detail::HolderCount(1), {static_cast<std::uint32_t>(size)}};
}

void BString::Free(Rep* rep) noexcept {
    if (rep->sizeAndFlag.load(std::memory_order_relaxed) & Rep::wideFlag) {
        WideTexts& wide = WideTexts::Instance();
        std::lock_guard const hold(wide.lock);
        wide.texts.erase(rep);
    }
    std::size_t const size = sizeof(Rep) + rep->Size() + 1;
    rep->~Rep();
    detail::GiveBlock(rep, size);
}

void BString::AssignUtf8(char const* text, std::size_t size) {
    Rep* fresh = nullptr;
    if (size > 0) {
        fresh = Allocate(size);
        std::memcpy(fresh->Bytes(), text, size);
        fresh->Bytes()[size] = '\0';
    }
    Release();
    rep = fresh;
}

wchar_t const* BString::c_str() const {
    if (!rep) {
        return L"";
    }
    WideTexts& wide = WideTexts::Instance();
    std::lock_guard const hold(wide.lock);
    std::unique_ptr<wchar_t[]>& text = wide.texts[rep];
    if (!text) {
        // Flagged first: should there be no memory, the empty entry still goes with the text.
        rep->sizeAndFlag.fetch_or(Rep::wideFlag, std::memory_order_relaxed);
        text = Unicode::ToWide(Utf8());
    }
    return text.get();
}

BString BString::Left(std::uint64_t count) const {
    std::string_view const utf8 = Utf8();
    std::size_t const size = Unicode::PrefixSize(utf8, count);
    return size == utf8.size() ? *this : FromUtf8(utf8.substr(0, size));
}

BString BString::Format(char const* format, ...) {
    std::string text;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        FormatTo(text, format, arguments);
    } catch (...) {
        va_end(arguments);
        throw;
    }
    va_end(arguments);
    BString result;
    result.Decode(text.data(), text.size());
    return result;
}

} // namespace Ambrel
