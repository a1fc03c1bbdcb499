#include "embedded_host/log/Escape.hpp"

#include <gtest/gtest.h>

namespace tovrinhost {
namespace {

TEST(EscapeTest, PrintableTextStaysAsItIs)
{
    const std::string text = "Do you own lock 1 \\ \"~\" z\u00e4h \u20ac \U0001f552";

    EXPECT_EQ(escape(text), text);
}

TEST(EscapeTest, LineBreaksAndTabsAreWrittenOut)
{
    EXPECT_EQ(escape("a\nb\r\nc\td"), "a\\nb\\r\\nc\\td");
}

TEST(EscapeTest, ControlCharactersAreWrittenAsTheirNumbers)
{
    EXPECT_EQ(escape(std::string("\0\x01\x1b[31m\x1f\x7f ", 10)), "\\x00\\x01\\x1b[31m\\x1f\\x7f ");
}

TEST(EscapeTest, ControlCharactersOfTwoBytesAreWrittenAsTheirNumbersToo)
{
    // The ends of the range, and its neighbours, which stay as they are.
    EXPECT_EQ(escape("\u007e\u0080 \u009f\u00a0"), "\u007e\\xc2\\x80 \\xc2\\x9f\u00a0");
    EXPECT_EQ(escape("a\u0085b\u009b31m\u00a0"), "a\\xc2\\x85b\\xc2\\x9b31m\u00a0");
}

TEST(EscapeTest, BytesThatAreNoUtf8StayAsTheyAre)
{
    EXPECT_EQ(escape("\xff\xc2"), "\xff\xc2");
}

TEST(EscapeTest, ATracebackKeepsItsLines)
{
    const std::string traceback = "stack traceback:\n\t[C]: in function 'error'\n\t...\t(skipping 9 "
                                  "levels)\n\tscript.lua:3: in main chunk";

    EXPECT_EQ(escapeLines(traceback), traceback);
}

TEST(EscapeTest, ANameInATracebackBeginsNoLineOfItsOwn)
{
    EXPECT_EQ(escapeLines("stack traceback:\n\tin function 'a\ntovrin: \x1b[2J\n\n\tb'\n"),
        "stack traceback:\n\tin function 'a\\ntovrin: \\x1b[2J\\n\n\tb'\\n");
}

} // namespace
} // namespace tovrinhost
