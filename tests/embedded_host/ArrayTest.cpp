#include "host/foundation/tovrindata/ArrayFactory.hpp"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>

namespace foundation::tovrindata {
namespace {

TEST(ArrayTest, ACopySharesTheElementsUntilOneIsWrittenTo)
{
    ArrayFactory factory;
    StructArray original = factory.createStructArray({ 1, 1 }, { "Name" });
    const Array copy = original;
    EXPECT_EQ(copy.storage(), original.storage());

    original.setField(0, "Name", factory.createCharArray("new"));

    EXPECT_NE(copy.storage(), original.storage());
    EXPECT_EQ(StructArray(copy).getField(0, "Name").getType(), ArrayType::Empty);
    EXPECT_EQ(CharArray(original.getField(0, "Name")).toUTF8(), "new");
}

TEST(ArrayTest, AnArrayWithoutCopiesIsWrittenToInPlace)
{
    ArrayFactory factory;
    StructArray array = factory.createStructArray({ 1, 1 }, { "Name" });
    const auto* const before = array.storage().get();

    array.setField(0, "Name", factory.createCharArray("new"));

    EXPECT_EQ(array.storage().get(), before);
}

TEST(ArrayTest, EachTextIsItsOwnWhateverWasMadeBefore)
{
    ArrayFactory factory;
    for (const char* const text :
        { "TimerFcn", "StartFcn", "TimerFcn", "", "TimerFcn", "fifteen letters", "sixteen letters!", "" }) {
        const CharArray made = factory.createCharArray(text);

        EXPECT_EQ(made.toUTF8(), text);
        EXPECT_EQ(made.getNumberOfElements(), std::string(text).size());
    }
}

TEST(ArrayTest, TextCountsItsCharactersAndNotItsBytes)
{
    ArrayFactory factory;

    EXPECT_EQ(factory.createCharArray("z\u00e4h").getNumberOfElements(), 3U);
    EXPECT_EQ(factory.createCharArray("\u20ac5").getNumberOfElements(), 2U);
    EXPECT_EQ(factory.createCharArray("\U0001f552").getNumberOfElements(), 1U);
}

TEST(ArrayTest, BytesThatAreNoUtf8AreKeptAndEachIsCounted)
{
    ArrayFactory factory;
    const std::string text = "\x80\xff"
                             "A\xe2";
    const CharArray array = factory.createCharArray(text);

    EXPECT_EQ(array.toUTF8(), text);
    EXPECT_EQ(array.getNumberOfElements(), 4U);
}

TEST(ArrayTest, CopiesAreReadAndWrittenToOnDistinctThreads)
{
    constexpr int rounds = 2000;
    ArrayFactory factory;
    const Array one = factory.createDoubleArray({ 1, 1 }, { 1.0 });
    const Array two = factory.createDoubleArray({ 1, 1 }, { 2.0 });
    for (int round = 0; round < rounds; ++round) {
        StructArray written = factory.createStructArray({ 1, 1 }, { "Number" });
        written.setField(0, "Number", one);
        double seen = 0.0;
        std::thread reader([&seen, copy = written]() mutable {
            const StructArray mine = std::move(copy);
            seen = TypedArray<double>(mine.getField(0, "Number")).at(0);
        });
        // The reader's copy may be there still, or have gone just now.
        written.setField(0, "Number", two);
        reader.join();

        ASSERT_EQ(seen, 1.0);
        ASSERT_EQ(TypedArray<double>(written.getField(0, "Number")).at(0), 2.0);
    }
}

} // namespace
} // namespace foundation::tovrindata
