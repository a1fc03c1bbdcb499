#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::tovrindata {
namespace {

using testing::ElementsAre;
using tovrinhost::thrownMessage;

TEST(CharArrayTest, HoldsItsTextInARow)
{
    ArrayFactory factory;
    const CharArray array = factory.createCharArray("TimerFcn");

    EXPECT_EQ(array.getType(), ArrayType::Char);
    EXPECT_EQ(array.toUTF8(), "TimerFcn");
    EXPECT_THAT(array.getDimensions(), ElementsAre(1, 8));
    EXPECT_EQ(array.getNumberOfElements(), 8U);
}

TEST(CharArrayTest, AnEmptyTextIsNoughtByNought)
{
    ArrayFactory factory;
    const CharArray array = factory.createCharArray("");

    EXPECT_EQ(array.getType(), ArrayType::Char);
    EXPECT_EQ(array.toUTF8(), "");
    EXPECT_THAT(array.getDimensions(), ElementsAre(0, 0));
    EXPECT_EQ(array.getNumberOfElements(), 0U);
}

TEST(CharArrayTest, CountsCharactersAndNotBytes)
{
    ArrayFactory factory;

    EXPECT_EQ(factory.createCharArray("z\u00e4h").getNumberOfElements(), 3U);
    EXPECT_EQ(factory.createCharArray("\u20ac5").getNumberOfElements(), 2U);
    EXPECT_EQ(factory.createCharArray("\U0001f552").getNumberOfElements(), 1U);
}

TEST(CharArrayTest, KeepsBytesThatAreNoUtf8AndCountsEachOfThem)
{
    ArrayFactory factory;
    const std::string text = "\x80\xff"
                             "A\xe2";
    const CharArray array = factory.createCharArray(text);

    EXPECT_EQ(array.toUTF8(), text);
    EXPECT_EQ(array.getNumberOfElements(), 4U);
}

TEST(CharArrayTest, KeepsZeroBytes)
{
    ArrayFactory factory;
    const std::string text("a\0b", 3);

    EXPECT_EQ(factory.createCharArray(text).toUTF8(), text);
}

TEST(CharArrayTest, IsMadeFromAnArrayOfCharacters)
{
    ArrayFactory factory;
    const Array array = factory.createCharArray("text");

    EXPECT_EQ(CharArray(array).toUTF8(), "text");
}

TEST(CharArrayTest, IsNotMadeFromAnythingElse)
{
    ArrayFactory factory;
    const Array numbers = factory.createDoubleArray({ 1, 1 }, { 1.0 });

    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] { static_cast<void>(CharArray(numbers)); }),
        "CharArray made from an array of type Double: the type must be Char");
    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] { static_cast<void>(CharArray(Array())); }),
        "CharArray made from an array of type Empty: the type must be Char");
}

TEST(CharArrayTest, IsWithoutTextOnceMovedFrom)
{
    ArrayFactory factory;
    CharArray source = factory.createCharArray("text");

    const CharArray target = std::move(source);

    EXPECT_EQ(source.toUTF8(), ""); // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_EQ(target.toUTF8(), "text");
}

} // namespace
} // namespace foundation::tovrindata
