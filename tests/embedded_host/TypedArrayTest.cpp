#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <stdexcept>
#include <utility>

namespace foundation::tovrindata {
namespace {

using testing::ElementsAre;
using tovrinhost::thrownMessage;

TEST(TypedArrayTest, HoldsItsNumbersInTheirOrder)
{
    ArrayFactory factory;
    const auto array = factory.createDoubleArray({ 1, 3 }, { 1.5, -2.0, 3.25 });

    EXPECT_EQ(array.getType(), ArrayType::Double);
    EXPECT_THAT(array.getDimensions(), ElementsAre(1, 3));
    EXPECT_EQ(array.at(0), 1.5);
    EXPECT_EQ(array.at(1), -2.0);
    EXPECT_EQ(array.at(2), 3.25);
}

TEST(TypedArrayTest, AnIndexPastTheEndIsAnError)
{
    ArrayFactory factory;
    const auto array = factory.createDoubleArray({ 1, 2 }, { 1.0, 2.0 });

    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { static_cast<void>(array.at(2)); }),
        "element 2 of an array: the index must be below 2");
}

TEST(TypedArrayTest, IsNotMadeFromAnythingElse)
{
    ArrayFactory factory;
    const Array text = factory.createCharArray("1.5");

    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] { static_cast<void>(TypedArray<double>(text)); }),
        "TypedArray<double> made from an array of type Char: the type must be Double");
}

TEST(TypedArrayTest, HasNoElementOnceMovedFrom)
{
    ArrayFactory factory;
    auto source = factory.createDoubleArray({ 1, 1 }, { 1.0 });

    const auto target = std::move(source);

    EXPECT_EQ(target.at(0), 1.0);
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] {
        static_cast<void>(source.at(0)); // NOLINT(bugprone-use-after-move): that is the point
    }),
        "element 0 of an array: the index must be below 0");
}

} // namespace
} // namespace foundation::tovrindata
