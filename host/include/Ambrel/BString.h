#pragma once

#include "Ambrel/Config.h"
#include "Ambrel/detail/HolderCount.h"

#include <QString>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

class QTextCodec;

namespace Ambrel {

/// An immutable text, implicitly shared: a copy counts one holder more.
///
/// The text is held decoded, as UTF-8; its wide form is made when it is first asked for. 8-bit text
/// is decoded when the string is made: as UTF-8 where the bytes are valid UTF-8 and as Windows-1252
/// where they are not. A character that is cut at the end of UTF-8 is left out; where all before it
/// is ASCII, nobody knows that it is one.
///
/// Strings may be read and copied by several threads at once; one object is changed by one thread
/// at a time. Everything that allocates may throw std::bad_alloc; texts are limited to 2 GiB
/// (std::bad_array_new_length).
class AMBREL_API BString final {
public:
    BString() noexcept = default;
    /// 8-bit text up to its terminating NUL; a null pointer gives the empty string.
    BString(char const* text);
    /// `size` bytes of 8-bit text, of which no NUL ends the text.
    BString(char const* text, std::size_t size);
    /// Wide text up to its terminating NUL: UTF-32 or, where wchar_t has 16 bits, UTF-16. What is
    /// not valid becomes U+FFFD.
    BString(wchar_t const* text);

    BString(BString const& other) noexcept : rep(other.rep) { Hold(); }
    BString(BString&& other) noexcept : rep(std::exchange(other.rep, nullptr)) {}
    ~BString() { Release(); }

    BString& operator=(BString const& other) noexcept {
        BString copy(other);
        std::swap(rep, copy.rep);
        return *this;
    }
    BString& operator=(BString&& other) noexcept {
        std::swap(rep, other.rep);
        return *this;
    }
    BString& operator=(char const* text) { return *this = BString(text); }
    BString& operator=(wchar_t const* text) { return *this = BString(text); }

    bool operator==(BString const& other) const noexcept {
        return rep == other.rep || Utf8() == other.Utf8();
    }

    /// The text as UTF-8, NUL-terminated, valid while this string or a copy of it lives unchanged.
    char const* Ascii() const noexcept { return rep ? rep->Bytes() : ""; }
    /// The text as UTF-8, with its length in bytes; valid as Ascii() is.
    std::string_view Utf8() const noexcept {
        return rep ? std::string_view(rep->Bytes(), rep->Size()) : std::string_view();
    }
    /// The text as wide characters, NUL-terminated; valid as Ascii() is. Allocates at the first
    /// call.
    wchar_t const* c_str() const;

    bool IsEmpty() const noexcept { return rep == nullptr; }
    /// The first `count` characters (wide characters), or all when there are fewer.
    BString Left(std::uint64_t count) const;

    /// printf-style formatting that does not depend on the locale. Understands the conversions
    /// d i u c s p x X o f F e E g G a A %, the flags, widths and precisions (`*` too), and the
    /// lengths hh h l ll j z t I64. `%s` takes 8-bit text as Ascii() gives it, `%ls` wide text. The
    /// result is decoded as 8-bit text is.
    static BString Format(char const* format, ...) __attribute__((format(printf, 1, 2)));

    /// Text that is known to be valid UTF-8: no codec is applied.
    static BString FromUtf8(std::string_view text);
    static BString FromQString(QString const& text);

    /// The codec of the texts in data files that are opened from now on and state no encoding of
    /// their own; null for the rule above. Process-wide. Strings made of 8-bit text do not follow
    /// it. The codec must outlive its use (Qt owns the codecs that QTextCodec gives out).
    static void SetCodec(QTextCodec const* codec) noexcept;
    static QTextCodec const* GetCodec() noexcept;

private:
    /// One shared text: this head, then the bytes and a NUL in the same allocation. Features hold
    /// texts by the million, so the wide form, which few ask for, stands elsewhere.
    struct Rep {
        static constexpr std::uint32_t wideFlag = 0x80000000U;

        detail::HolderCount holders;
        std::atomic<std::uint32_t>
            sizeAndFlag; ///< bytes without the NUL; whether there is a wide form

        std::uint32_t Size() const noexcept {
            return sizeAndFlag.load(std::memory_order_relaxed) & ~wideFlag;
        }
        char* Bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
        char const* Bytes() const noexcept { return reinterpret_cast<char const*>(this + 1); }
    };
    struct WideTexts;

    void Hold() const noexcept {
        if (rep) {
            rep->holders.Increment();
        }
    }
    void Release() noexcept {
        if (rep && rep->holders.Decrement()) {
            Free(rep);
        }
    }
    static Rep* Allocate(std::size_t size);
    static void Free(Rep* rep) noexcept;
    void AssignUtf8(char const* text, std::size_t size);
    void Decode(char const* text, std::size_t size);

    Rep* rep = nullptr; ///< null for the empty string
};

/// The same text as a Qt string, for paths given to QFile.
AMBREL_API QString MakeQString(BString const& text);

} // namespace Ambrel
