#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <stdexcept>

namespace foundation::tovrindata {
namespace {

using testing::ElementsAre;
using tovrinhost::thrownMessage;

constexpr std::size_t half = std::size_t { 1 } << (std::numeric_limits<std::size_t>::digits / 2);

TEST(ArrayFactoryTest, ADoubleArrayNeedsAsManyValuesAsElements)
{
    ArrayFactory factory;
    const std::vector<double> five(5);

    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] {
        factory.createDoubleArray({ 2, 3 }, five);
    }),
        "5 values for an array of 2x3: there must be 6");
    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] {
        factory.createDoubleArray({ 2, 2 }, five);
    }),
        "5 values for an array of 2x2: there must be 4");
}

TEST(ArrayFactoryTest, ADoubleArrayMayBeWithoutElements)
{
    ArrayFactory factory;
    const auto array = factory.createDoubleArray({ 0, 3 }, {});

    EXPECT_EQ(array.getType(), ArrayType::Double);
    EXPECT_THAT(array.getDimensions(), ElementsAre(0, 3));
    EXPECT_EQ(array.getNumberOfElements(), 0U);
}

TEST(ArrayFactoryTest, DimensionsWhoseProductWrapsAroundAreAnError)
{
    ArrayFactory factory;
    const std::string extent = std::to_string(half);

    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] {
        factory.createDoubleArray({ half, half }, {});
    }),
        "an array of " + extent + "x" + extent + " is too large: its elements must number at most "
            + std::to_string(std::numeric_limits<std::size_t>::max()));
    EXPECT_THROW(factory.createStructArray({ half, half }, {}), std::invalid_argument);
    EXPECT_THROW(factory.createStructArray({ half, half / 2 }, { "A", "B" }), std::invalid_argument);
}

TEST(ArrayFactoryTest, AZeroExtentMakesNothingOfLargeOnes)
{
    ArrayFactory factory;

    EXPECT_EQ(factory.createDoubleArray({ half, half, 0 }, {}).getNumberOfElements(), 0U);
}

TEST(ArrayFactoryTest, TwoFieldsOfOneNameAreAnError)
{
    ArrayFactory factory;

    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] {
        factory.createStructArray({ 1, 1 }, { "Type", "Data", "Type" });
    }),
        "two fields named \"Type\": the names must differ");
}

TEST(ArrayFactoryTest, TheServersFactoryMakesTheSameArrays)
{
    tovrin::ServerArrayFactory factory;
    ArrayFactory& base = factory;

    EXPECT_EQ(base.createCharArray("text").toUTF8(), "text");
    EXPECT_EQ(factory.createDoubleArray({ 1, 1 }, { 2.5 }).at(0), 2.5);
    EXPECT_THAT(factory.createStructArray({ 1, 1 }, { "Type" }).getFieldNames(), ElementsAre("Type"));
}

} // namespace
} // namespace foundation::tovrindata
