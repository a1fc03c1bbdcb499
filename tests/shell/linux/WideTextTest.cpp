#include "embedded_host/shell/platform/LinuxWideText.hpp"

#include <gtest/gtest.h>

namespace shell_tests {

namespace {

using namespace std::string_literals;

using tovrinhost::platform::takeWide;
using tovrinhost::platform::toBytes;
using tovrinhost::platform::toWide;

TEST(WideTextTest, AnyBytesComeBackAsTheyWere)
{
    const std::string bytes = "a\xc3\xa9\xe6\xbc\xa2\xf0\x9f\x98\x80\xff\xc3(\xed\xa0\x80\xe6\xbc\0z"s;
    EXPECT_EQ(toBytes(toWide(bytes)), bytes);
    EXPECT_EQ(toWide("\xc3\xa9z"), L"\u00e9z");
}

TEST(WideTextTest, ACharacterThatIsCutShortWaitsForItsRest)
{
    std::string bytes = "a\xe6\xbc";
    EXPECT_EQ(takeWide(bytes), L"a");
    EXPECT_EQ(bytes, "\xe6\xbc");
    bytes += "\xa2z";
    EXPECT_EQ(takeWide(bytes), L"\u6f22z");
    EXPECT_EQ(bytes, "");
}

} // namespace

} // namespace shell_tests
