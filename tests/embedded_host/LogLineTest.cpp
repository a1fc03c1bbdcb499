#include "embedded_host/log/LogLine.hpp"

#include <gtest/gtest.h>

namespace tovrinhost {
namespace {

TEST(LogLineTest, PrintableTextStaysAsItIs)
{
    const std::string text = "Do you own lock 1 \\ \"~\" z\u00e4h \u20ac \U0001f552";

    EXPECT_EQ(escape(text), text);
}

TEST(LogLineTest, LineBreaksAndTabsAreWrittenOut)
{
    EXPECT_EQ(escape("a\nb\r\nc\td"), "a\\nb\\r\\nc\\td");
}

TEST(LogLineTest, ControlCharactersAreWrittenAsTheirNumbers)
{
    EXPECT_EQ(escape(std::string("\0\x01\x1b[31m\x1f\x7f ", 10)), "\\x00\\x01\\x1b[31m\\x1f\\x7f ");
}

TEST(LogLineTest, ControlCharactersOfTwoBytesAreWrittenAsTheirNumbersToo)
{
    EXPECT_EQ(escape("a\u0085b\u009b31m\u00a0"), "a\\xc2\\x85b\\xc2\\x9b31m\u00a0");
}

TEST(LogLineTest, BytesThatAreNoUtf8StayAsTheyAre)
{
    EXPECT_EQ(escape("\xff\xc2"), "\xff\xc2");
}

} // namespace
} // namespace tovrinhost
