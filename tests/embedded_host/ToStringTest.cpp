#include "embedded_host/values/Utf8.hpp"
#include "host/fl/i18n/to_string.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tovrinhost {
namespace {

// Both widths, since the width of wchar_t differs from system to system.
std::string from16(std::u16string_view wide)
{
    return toUtf8(wide);
}

std::string from32(std::u32string_view wide)
{
    return toUtf8(wide);
}

TEST(ToStringTest, ConvertsCharactersOfOneToFourBytes)
{
    const std::string expected = "A\x7f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff";

    EXPECT_EQ(fl::i18n::to_string(L"A\x7f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff"), expected);
    EXPECT_EQ(from16(u"A\x7f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff"), expected);
    EXPECT_EQ(from32(U"A\x7f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff"), expected);
}

TEST(ToStringTest, ASurrogateWithoutItsOtherHalfIsReplaced)
{
    const auto unit = [](int number) { return std::u16string(1, static_cast<char16_t>(number)); };

    EXPECT_EQ(from16(u"a" + unit(0xD800)), "a\uFFFD");
    EXPECT_EQ(from16(unit(0xD800) + u"a"), "\uFFFDa");
    EXPECT_EQ(from16(unit(0xDC00) + u"a"), "\uFFFDa");
    EXPECT_EQ(from16(unit(0xDBFF) + unit(0xDBFF) + unit(0xDFFF)), "\uFFFD\U0010FFFF");
    EXPECT_EQ(from16(unit(0xDFFF) + unit(0xDBFF)), "\uFFFD\uFFFD");
}

TEST(ToStringTest, SurrogatesAndWhatIsNoCharacterAreReplacedInWideUnits)
{
    const auto unit = [](unsigned int number) { return std::u32string(1, static_cast<char32_t>(number)); };

    EXPECT_EQ(from32(unit(0xD83D) + unit(0xDD52)), "\uFFFD\uFFFD");
    EXPECT_EQ(from32(unit(0x110000) + U"a"), "\uFFFDa");
    EXPECT_EQ(from32(unit(0xFFFFFFFF)), "\uFFFD");
}

TEST(ToStringTest, ALoneSurrogateIsReplacedInWideText)
{
    EXPECT_EQ(fl::i18n::to_string(std::wstring(1, static_cast<wchar_t>(0xD800)) + L"!"), "\uFFFD!");
}

} // namespace
} // namespace tovrinhost
