#include "host/foundation/tovrindata/ArrayFactory.hpp"

#include <gmock/gmock.h>

#include <thread>
#include <utility>
#include <vector>

namespace foundation::tovrindata {
namespace {

using testing::ElementsAre;

TEST(ArrayTest, ADefaultConstructedArrayIsEmpty)
{
    const Array array;

    EXPECT_EQ(array.getType(), ArrayType::Empty);
    EXPECT_THAT(array.getDimensions(), ElementsAre(0, 0));
    EXPECT_EQ(array.getNumberOfElements(), 0U);
    EXPECT_EQ(array.storage(), nullptr);
}

TEST(ArrayTest, AMovedFromArrayIsEmpty)
{
    ArrayFactory factory;
    Array source = factory.createCharArray("text");

    const Array target = std::move(source);

    EXPECT_EQ(source.getType(), ArrayType::Empty); // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_THAT(source.getDimensions(), ElementsAre(0, 0));
    EXPECT_EQ(target.getType(), ArrayType::Char);
}

TEST(ArrayTest, AMoveAssignedFromArrayIsEmpty)
{
    ArrayFactory factory;
    Array source = factory.createCharArray("text");
    Array target = factory.createDoubleArray({ 1, 1 }, { 1.0 });

    target = std::move(source);

    EXPECT_EQ(source.getType(), ArrayType::Empty); // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_EQ(CharArray(target).toUTF8(), "text");
}

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

TEST(ArrayTest, SelfAssignmentChangesNothing)
{
    ArrayFactory factory;
    Array array = factory.createCharArray("text");
    const Array& same = array;

    array = same;

    EXPECT_EQ(CharArray(array).toUTF8(), "text");
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
