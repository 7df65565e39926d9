// Text conversions on broken input: every invalid form is refused with a
// code and a message, none of them turns into guessed text.
#include "core/text_files.h"

#include <gtest/gtest.h>

#include <string>

namespace orv {
namespace {

/// UTF-16 bytes of the given units, big endian when BIG.
std::string lf_utf16(const std::u16string& UNITS, bool BIG = false)
{
    std::string bytes;
    for (const char16_t unit : UNITS) {
        const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
        bytes += BIG ? high : low;
        bytes += BIG ? low : high;
    }
    return bytes;
}

/// Expects CONVERT to refuse with CODE and a message holding PIECE.
template <typename F>
void lf_expectRefused(F&& CONVERT, int CODE, const std::string& PIECE, const std::string& NAME)
{
    try {
        CONVERT();
        ADD_FAILURE() << NAME << ": converted";
    } catch (const Utf8ConversionException& e) {
        EXPECT_EQ(e.code, CODE) << NAME;
        EXPECT_NE(std::string(e.what()).find(PIECE), std::string::npos) << NAME << ": " << e.what();
    }
}

TEST(Utf16ToUtf8, InvalidUnitsAreRefusedWithTheirCode)
{
    struct Case {
        const char* name;
        std::string bytes;
        bool bigEndian;
        int code;
        const char* message; ///< a piece of the exception's text
    };
    const Case cases[] = {
        {"high surrogate at the end", lf_utf16(u"AB\xD800"), false, 1, "D800"},
        {"high surrogate then high", lf_utf16({0xD800, 0xDBFF, u'A'}), false, 1, "DBFF"},
        {"high surrogate then letter", lf_utf16({0xD834, u'A'}), false, 2, "0041"},
        {"high surrogate then letter, BE", lf_utf16({0xFEFF, 0xD834, u'A'}, true), true, 2, "0041"},
        {"lone low surrogate", lf_utf16({u'A', 0xDC00, u'B'}), false, 3, "DC00"},
        {"low before high", lf_utf16(u"\xDD1E\xD834"), false, 3, "DD1E"},
        {"lone low surrogate, BE", lf_utf16(u"\xDFFF", true), true, 3, "DFFF"},
        {"odd byte count", lf_utf16(u"AB") + 'C', false, 4, "(5)"},
        {"odd byte count after mark", std::string("\xFF\xFE\x41", 3), false, 4, "(3)"},
        {"single byte", std::string("\x41", 1), true, 4, "(1)"},
    };
    for (const Case& c : cases)
        lf_expectRefused([&] { return gf_utf16ToUtf8(c.bytes, c.bigEndian); }, c.code, c.message, c.name);
}

TEST(Utf16ToUtf8, EdgesOfTheValidRange)
{
    struct Case {
        const char* name;
        std::u16string units;
        std::string utf8;
    };
    const Case cases[] = {
        {"empty", u"", ""},
        {"only the mark", u"\xFEFF", ""},
        {"a second mark stays", u"\xFEFF\xFEFF", "\xEF\xBB\xBF"},
        {"NUL", std::u16string(1, u'\0'), std::string(1, '\0')},
        {"last before surrogates", u"\xD7FF", "\xED\x9F\xBF"},
        {"first after surrogates", u"\xE000", "\xEE\x80\x80"},
        {"last of the plane", u"\xFFFF", "\xEF\xBF\xBF"},
        {"first pair", u"\xD800\xDC00", "\xF0\x90\x80\x80"},
        {"last pair", u"\xDBFF\xDFFF", "\xF4\x8F\xBF\xBF"},
    };
    for (const Case& c : cases)
        for (const bool big : {false, true}) EXPECT_EQ(gf_utf16ToUtf8(lf_utf16(c.units, big), big), c.utf8) << c.name;
}

TEST(Utf8ToWide, InvalidSequencesAreRefusedWithTheirPosition)
{
    struct Case {
        const char* name;
        std::string bytes;
        const char* at; ///< the position the message names
    };
    const Case cases[] = {
        {"overlong slash, two bytes", "a\xC0\xAF", "byte 1"},
        {"overlong C1 lead", "\xC1\xBF", "byte 0"},
        {"overlong NUL, three bytes", "ab\xE0\x80\x80", "byte 2"},
        {"overlong U+FFFF, four bytes", "\xF0\x8F\xBF\xBF", "byte 0"},
        {"encoded high surrogate", "x\xED\xA0\x80", "byte 1"},
        {"encoded low surrogate", "\xED\xBF\xBF", "byte 0"},
        {"past U+10FFFF", "\xF4\x90\x80\x80", "byte 0"},
        {"F5 lead", "\xF5\x80\x80\x80", "byte 0"},
        {"lone continuation byte", "ok\x80", "byte 2"},
        {"FF", "\xFF", "byte 0"},
        {"cut two-byte sequence", "\xC3", "byte 0"},
        {"cut four-byte sequence", "abc\xF0\x9D\x84", "byte 3"},
        {"ASCII in place of a continuation", "\xC3(", "byte 0"},
    };
    for (const Case& c : cases) lf_expectRefused([&] { return gf_utf8ToWide(c.bytes); }, 1113, c.at, c.name);
}

TEST(WideToUtf8, CodePointsOutsideUnicodeAreRefused)
{
    const std::wstring cases[] = {
        std::wstring(1, static_cast<wchar_t>(0xD800)),
        L"ab" + std::wstring(1, static_cast<wchar_t>(0xDFFF)),
        std::wstring(1, static_cast<wchar_t>(0x110000)),
        std::wstring(1, static_cast<wchar_t>(-1)),
    };
    for (const auto& wide : cases) {
        EXPECT_THROW(gf_wideToUtf8(wide), Utf8ConversionException) << wide.size();
    }
}

TEST(WideToUtf8, EveryLengthRoundTrips)
{
    // One character of each UTF-8 length at both ends of its range.
    const std::string texts[] = {
        std::string(1, '\0'), "\x7F",         "\xC2\x80",         "\xDF\xBF",
        "\xE0\xA0\x80",       "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF",
    };
    for (const auto& text : texts) {
        const auto wide = gf_utf8ToWide(text);
        EXPECT_EQ(wide.size(), 1u);
        EXPECT_EQ(gf_wideToUtf8(wide), text);
    }
}

} // namespace
} // namespace orv
