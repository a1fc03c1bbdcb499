#include "embedded_host/services/ObjectSystem.hpp"
#include "tests/embedded_host/TestObject.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace tovrinhost {
namespace {

using pelk::factory::full::SharingType;
using pelk::factory::full::StdShareable;
using pelk::factory::full::Wrappable;

TEST(StdShareableTest, IsUsedThroughTheBaseOfWhatCanBeWrapped)
{
    const auto object = std::make_shared<TestObject>();
    const Wrappable& base = *object;

    EXPECT_EQ(base.getSharingType(), SharingType::StdShared);
    EXPECT_STREQ(base.getFullyQualifiedPelkTypeName(), "TestObject");
}

TEST(StdShareableTest, AnObjectIsRetractedOnTheThreadThatReleasesItLast)
{
    auto object = std::make_shared<TestObject>();
    const std::uint64_t number = wrap(object);

    std::thread([last = std::move(object)]() mutable { last.reset(); }).join();

    EXPECT_EQ(unwrap(number), nullptr);
    EXPECT_EQ(wrappedObjects(), 0U);
}

/// An object that the object system knows already as its constructor fails.
class Unfinished : public TestObject {
public:
    Unfinished()
    {
        // Not owned by anybody yet: only the address counts here.
        wrap(std::shared_ptr<StdShareable>(std::shared_ptr<void>(), this));
        EXPECT_EQ(wrappedObjects(), 1U);
        throw std::runtime_error("not made");
    }
};

TEST(StdShareableTest, AnObjectWhoseConstructorFailsIsRetracted)
{
    EXPECT_THROW(std::make_shared<Unfinished>(), std::runtime_error);

    EXPECT_EQ(wrappedObjects(), 0U);
}

} // namespace
} // namespace tovrinhost
