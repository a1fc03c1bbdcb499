#include "conformance/HostUnderTest.hpp"

#include <thread>

namespace conformance {

namespace {

using pelk::factory::full::SharingType;
using pelk::factory::full::StdShareable;

class Wrapped : public StdShareable {
public:
    SharingType getSharingType() const override { return SharingType::StdShared; }
    const char* getFullyQualifiedPelkTypeName() const override { return "Wrapped"; }
};

TEST(WrappableTest, AnObjectKnowsItsOwners)
{
    const auto object = std::make_shared<Wrapped>();

    EXPECT_EQ(object->shared_from_this(), object);
}

TEST(WrappableTest, AnObjectIsUsedThroughItsBase)
{
    const auto object = std::make_shared<Wrapped>();
    const pelk::factory::full::Wrappable& base = *object;

    EXPECT_EQ(base.getSharingType(), SharingType::StdShared);
    EXPECT_STREQ(base.getFullyQualifiedPelkTypeName(), "Wrapped");
}

TEST(WrappableTest, AnObjectGoesOnAnyThread)
{
    auto object = std::make_shared<Wrapped>();
    const std::weak_ptr<Wrapped> handle = object;

    std::jthread([&] { object.reset(); }).join();

    EXPECT_TRUE(handle.expired());
}

} // namespace

} // namespace conformance
