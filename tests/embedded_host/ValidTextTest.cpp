#include "embedded_host/log/ValidText.hpp"

#include <gtest/gtest.h>

namespace tovrinhost {

namespace {

TEST(ValidTextTest, CharactersStayAsTheyAre)
{
    for (const std::string text : { "", "poll", "a\nb", "\xC3\xBC", "\xE2\x82\xAC", "\xF0\x9F\x95\x92" }) {
        EXPECT_EQ(validText(text), text);
    }
}

TEST(ValidTextTest, BytesThatAreNoCharacterAreWrittenOut)
{
    EXPECT_EQ(validText("a\xFF"), "a\\xff");
    EXPECT_EQ(validText("\xC3"), "\\xc3"); // cut off
    EXPECT_EQ(validText("\xE2\x82 x"), "\\xe2\\x82 x");
    EXPECT_EQ(validText("\x80y"), "\\x80y"); // follows nothing
    EXPECT_EQ(validText("\xC0\xAF"), "\\xc0\\xaf"); // longer than need be
    EXPECT_EQ(validText("\xED\xA0\x80"), "\\xed\\xa0\\x80"); // half of a pair
    EXPECT_EQ(validText("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80"); // beyond the last
}

TEST(ValidTextTest, AShortenedTextEndsBetweenCharacters)
{
    EXPECT_EQ(shortened("12345", 5), "12345");
    EXPECT_EQ(shortened("123456", 5), "12...");
    EXPECT_EQ(shortened("1\xC3\xBC\xC3\xBC\xC3\xBC", 5), "1...");
}

TEST(ValidTextTest, CharactersAreCountedNotBytes)
{
    EXPECT_EQ(characterCount("1\xC3\xBC\xE2\x82\xAC"), 3U);
    EXPECT_EQ(firstCharacters("1\xC3\xBC\xE2\x82\xAC", 2), "1\xC3\xBC");
    EXPECT_EQ(firstCharacters("12", 5), "12");
    EXPECT_EQ(firstCharacters("12", 0), "");
}

} // namespace

} // namespace tovrinhost
