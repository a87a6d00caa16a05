#include "Testing.h"

#include <QTextCodec>

#include <cmath>
#include <cstdio>

namespace Ambrel::Test {

namespace {

TEST(ValueTest, DecodesTextByItsBytesAlone) {
    EXPECT_EQ(BString("d\xC3\xA9j\xC3\xA0").Utf8(), "d\xC3\xA9j\xC3\xA0");
    EXPECT_EQ(BString("d\xE9j\xE0 \x80").Utf8(), "d\xC3\xA9j\xC3\xA0 \xE2\x82\xAC")
        << "Windows-1252";
    // Cut by a field's width: told from Windows-1252 by the characters before.
    EXPECT_EQ(BString("\xE6\x97\xA5\xE6\x9C").Utf8(), "\xE6\x97\xA5");
    EXPECT_EQ(BString("\xC3\xA9"
                      "a\xF0\x9F\x98")
                  .Utf8(),
              "\xC3\xA9"
              "a");
    EXPECT_EQ(BString("caf\xE9").Utf8(), "caf\xC3\xA9");
    EXPECT_EQ(BString("\xC3\xA9\xA9").Utf8(), "\xC3\x83\xC2\xA9\xC2\xA9");
    // Overlong forms, surrogates and what lies beyond Unicode are not UTF-8.
    for (char const* const text : {"\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82"}) {
        EXPECT_EQ(static_cast<unsigned char>(BString(text).Ascii()[0]) & 0xE0U, 0xC0U);
    }
    BString::SetCodec(QTextCodec::codecForName("UTF-16LE"));
    EXPECT_EQ(BString("caf\xE9").Utf8(), "caf\xC3\xA9") << "the codec is for data files";
    BString::SetCodec(nullptr);
}

TEST(ValueTest, GivesWideTextAndItsBeginning) {
    BString const text(L"a\u20AC\U0001F600b");
    EXPECT_EQ(std::wstring(text.c_str()), L"a\u20AC\U0001F600b");
    EXPECT_EQ(text.c_str(), BString(text).c_str()) << "made once, shared by copies";
    EXPECT_EQ(text.Left(2), BString(L"a\u20AC"));
    EXPECT_EQ(text.Left(99), text);
    EXPECT_EQ(BString(L"\xD800").Utf8(), "\xEF\xBF\xBD");
    EXPECT_EQ(BString::FromQString(MakeQString(text)), text);
}

TEST(ValueTest, FormatsLikePrintf) {
    EXPECT_EQ(BString::Format("<%ls> %u %i%%", L"\u00FC", 7U, -1), BString(L"<\u00FC> 7 -1%"));
    char expected[512];
    auto const check = [&](auto const&... arguments) {
        std::snprintf(expected, sizeof expected, arguments...);
        EXPECT_EQ(BString::Format(arguments...).Utf8(), expected);
    };
    check("%5d|%-5d|%05d|%+d|% d|%.3d|%.0d", 42, 42, -42, 42, 42, 7, 0);
    check("%*i|%-*i|%.*f", 6, 42, -6, 42, 3, 3.14159);
    check("%lld %llu %zu %hhd %hx", std::numeric_limits<long long>::min(), ~0ULL, sizeof(int), 300,
          70000);
    check("%x %#X %o %#o %c", 255U, 255U, 8U, 8U, 'x');
    check("%f %e %g %G %.3a %8.2f|%-8.1f|%08.1f", 1e300, 12345.678, 1e-10, 1e20, 1.5, -3.14159, 2.5,
          -2.5);
    check("%f %F %5.1f", INFINITY, -INFINITY, std::copysign(0.0, -1));
    check("%s|%8s|%-8s|%.2s", "text", "text", "text", "text");
    check("%#g %p", 5.0, static_cast<void const*>(expected));
    EXPECT_EQ(BString::Format("%ls|%4.4ls|%lc", L"\xD800", L"a\u00FC\u4E2D", L'\u00FC'),
              BString(L"\uFFFD| a\u00FC|\u00FC"));
    std::string const otherSpelling = "%*I64i"; // Compilers here know "%*lli" alone.
    EXPECT_EQ(BString::Format(otherSpelling.c_str(), 5, 42LL).Utf8(), "   42");
}

TEST(ValueTest, ConvertsWhatFitsAndElseGivesTheDefault) {
    EXPECT_EQ(BVariant(300).GetValueAsByte(7), 7);
    EXPECT_EQ(BVariant(-1).GetValueAsUnsignedInteger(7), 7U);
    EXPECT_EQ(BVariant(-1.9).GetValueAsInteger(7), -1);
    EXPECT_EQ(BVariant(std::nan("")).GetValueAsInteger64(7), 7);
    EXPECT_EQ(BVariant(-9223372036854775808.0).GetValueAsInteger64(7),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(BVariant(1e19).GetValueAsUnsignedInteger64(7), 10000000000000000000U);
    EXPECT_EQ(BVariant(1e300).GetValueAsFloat(7), 7);
    EXPECT_EQ(BVariant(" +12 ").GetValueAsInteger(7), 12);
    EXPECT_EQ(BVariant("12x").GetValueAsDouble(7), 7);
    for (char const* const text : {"nan", "INF", "-infinity", "nan(x)", "1e999"}) {
        EXPECT_EQ(BVariant(text).GetValueAsDouble(7), 7) << text;
    }
    EXPECT_EQ(BVariant("Yes").GetValueAsBoolean(false), true);
    BVariant unsignedValue;
    unsignedValue.SetValue(std::uint64_t{1} << 63);
    EXPECT_EQ(unsignedValue.GetValueAsInteger64(7), 7);
    EXPECT_EQ(unsignedValue.GetValueAsDouble(), 9223372036854775808.0);
    for (auto const& [value, text] : {std::pair{BVariant(), "none"},
                                      {BVariant(0.1), "0.1"},
                                      {BVariant(1e5), "100000"},
                                      {BVariant(1.25e-300), "1.25e-300"},
                                      {BVariant(true), "true"}}) {
        EXPECT_EQ(value.GetValueAsString("none"), BString(text));
    }
    double const values[] = {1, 2};
    EXPECT_EQ(BVariant(values, 2).GetValueAsDoubleList({}), (std::vector<double>{1, 2}));
    EXPECT_TRUE(BVariant(5).GetValueAsIntegerList({}).empty());
    EXPECT_BEXCEPTION(BVariant("abc").GetValueAsDouble(), BAttributeDataException,
                      "BVariant::GetValueAsDouble", "Value=abc");
}

TEST(ValueTest, KeepsEntriesInTheirOrder) {
    BKeyValuePairs pairs;
    pairs.Add("b", 1.5);
    pairs.SetValue("a", 2);
    pairs.Add("b", true);
    pairs.Add("literal", "text");
    pairs.Add("wide", L"\u0416");
    EXPECT_EQ(TextOf(pairs), "b=true a=2 literal=text wide=\u0416");
    pairs.SetValue("wide", L"x");
    EXPECT_EQ(pairs.GetString("wide"), BString("x"));
    BAttributes attributes;
    attributes.Add("wide", L"x");
    EXPECT_EQ(attributes.GetAt(0).GetValue(), BVariant("x"));
    attributes.GetAt(0).GetValue().SetValue(L"y");
    EXPECT_EQ(attributes.GetAt(0).GetValue(), BVariant("y"));
    static_assert(!std::is_constructible_v<BVariant, void const*>);
    EXPECT_TRUE(pairs.GetBoolean("b", false));
    EXPECT_EQ(pairs.GetString("a"), BString("2"));
}

TEST(ValueTest, LogsNoMoreThanIsAskedForAndNeverFails) {
    LogCapture const log(LOG_WARNING);
    BLogger::Instance()->WriteLine(LOG_DETAIL, "lost");
    BLogger::Instance()->WriteLine(LOG_WARNING, "%s %i", "in one\r\nline", 1);
    EXPECT_EQ(log.Lines(), (LogLines{{LOG_WARNING, "in one  line 1"}}));
    BLogger logger;
    logger.SetSink([](ELogSeverity, std::string_view) { throw std::bad_alloc(); });
    EXPECT_NO_THROW(logger.WriteLine(LOG_FATAL, "thrown away"));
}

} // namespace

} // namespace Ambrel::Test
