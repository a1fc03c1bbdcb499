#include "embedded_host/testing/Difference.hpp"

#include <gtest/gtest.h>

namespace testing_tests {

namespace {

using tovrinhost::difference;

/// The numbers from one to another, a line each.
std::string numbers(int from, int to)
{
    std::string lines;
    for (int i = from; i <= to; ++i) {
        lines += std::to_string(i) + (i < to ? "\n" : "");
    }
    return lines;
}

TEST(DifferenceTest, OfTheSameThereIsNone)
{
    EXPECT_EQ(difference("a\nb", "a\nb"), "");
    EXPECT_EQ(difference("", ""), "");
}

TEST(DifferenceTest, LinesThatAreGoneNewOrOthersAreMarked)
{
    EXPECT_EQ(difference("a\nb\nc", "a\nc"), "  a\n- b\n  c");
    EXPECT_EQ(difference("a\nc", "a\nb\nc"), "  a\n+ b\n  c");
    EXPECT_EQ(difference("a\nb\nc", "a\nB\nc"), "  a\n- b\n+ B\n  c");
    EXPECT_EQ(difference("a", "b"), "- a\n+ b");
    EXPECT_EQ(difference("a\n", "a"), "  a\n- ");
}

TEST(DifferenceTest, WhatIsInBothStaysBetweenTwoDifferences)
{
    EXPECT_EQ(difference("x\na\nb\ny\nc", "a\nb\nz\nc"), "- x\n  a\n  b\n- y\n+ z\n  c");
    EXPECT_EQ(difference("a\na", "a\na\na"), "  a\n  a\n+ a");
}

TEST(DifferenceTest, OnlyTheLinesAroundADifferenceAreShown)
{
    EXPECT_EQ(difference(numbers(1, 20), numbers(1, 9) + "\nten\n" + numbers(11, 20)),
        "  ...\n  8\n  9\n- 10\n+ ten\n  11\n  12\n  ...");
}

TEST(DifferenceTest, OneThatIsLongIsCutOff)
{
    const std::string all = difference(numbers(1, 500), "");

    EXPECT_TRUE(all.starts_with("- 1\n- 2\n")) << all;
    EXPECT_TRUE(all.ends_with("\n- 100\n  ...")) << all;
}

TEST(DifferenceTest, LargeTextsThatHaveHardlyAnythingInCommonAreComparedInATrice)
{
    const std::string all = difference(numbers(1, 100'000), numbers(200'000, 300'000));

    EXPECT_TRUE(all.starts_with("- 1\n- 2\n")) << all;
}

} // namespace

} // namespace testing_tests
