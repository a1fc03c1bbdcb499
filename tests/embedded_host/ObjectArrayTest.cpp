#include "embedded_host/values/ObjectArray.hpp"
#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>

namespace tovrinhost {
namespace {

using foundation::tovrindata::Array;
using foundation::tovrindata::ArrayFactory;
using foundation::tovrindata::ArrayType;
using testing::ElementsAre;

TEST(ObjectArrayTest, RefersToAnObjectByItsNumber)
{
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    const Array array = makeObjectArray(largest);
    const Array copy = array; // NOLINT(performance-unnecessary-copy-initialization): copies are looked at, too

    EXPECT_EQ(array.getType(), ArrayType::Object);
    EXPECT_THAT(array.getDimensions(), ElementsAre(1, 1));
    EXPECT_EQ(getObject(array), largest);
    EXPECT_EQ(getObject(copy), largest);
}

TEST(ObjectArrayTest, OtherArraysHoldNoObject)
{
    ArrayFactory factory;

    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] { getObject(factory.createCharArray("7")); }),
        "object made from an array of type Char: the type must be Object");
    EXPECT_EQ(thrownMessage<std::invalid_argument>([] { getObject(Array()); }),
        "object made from an array of type Empty: the type must be Object");
}

} // namespace
} // namespace tovrinhost
