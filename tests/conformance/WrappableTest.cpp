#include "tests/conformance/HostUnderTest.hpp"

#include <stdexcept>
#include <thread>

namespace conformance {

namespace {

using pelk::factory::full::SharingType;
using pelk::factory::full::StdShareable;

class Wrapped : public StdShareable {
public:
    Wrapped() = default;

    /// One whose constructor fails, when the object system knows of it.
    explicit Wrapped(HostUnderTest& host)
    {
        // Nobody owns it yet: only its address counts.
        host.giveToObjectSystem(std::shared_ptr<StdShareable>(std::shared_ptr<void>(), this));
        EXPECT_EQ(host.objectsInObjectSystem(), 1U);
        throw std::runtime_error("half made");
    }

    SharingType getSharingType() const override { return SharingType::StdShared; }
    const char* getFullyQualifiedPelkTypeName() const override { return "Wrapped"; }
};

class WrappableTest : public HostTest { };

TEST_F(WrappableTest, AnObjectIsForgottenAsItIsDestroyed)
{
    auto object = std::make_shared<Wrapped>();
    auto other = std::make_shared<Wrapped>();
    m_host->giveToObjectSystem(object);
    m_host->giveToObjectSystem(other);
    EXPECT_EQ(m_host->objectsInObjectSystem(), 2U);

    object.reset();
    EXPECT_EQ(m_host->objectsInObjectSystem(), 1U);

    other.reset();
    EXPECT_EQ(m_host->objectsInObjectSystem(), 0U);
}

TEST_F(WrappableTest, TheObjectSystemDoesNotKeepAnObjectAlive)
{
    auto object = std::make_shared<Wrapped>();
    const std::weak_ptr<Wrapped> handle = object;
    m_host->giveToObjectSystem(object);

    object.reset();

    EXPECT_TRUE(handle.expired());
}

TEST_F(WrappableTest, AnObjectMayGoOnAnyThread)
{
    auto object = std::make_shared<Wrapped>();
    m_host->giveToObjectSystem(object);

    std::jthread([&] { object.reset(); }).join();

    EXPECT_EQ(m_host->objectsInObjectSystem(), 0U);
}

TEST_F(WrappableTest, AnObjectThatNobodyTookInGoesToo)
{
    EXPECT_NO_THROW(std::make_shared<Wrapped>().reset());
    EXPECT_EQ(m_host->objectsInObjectSystem(), 0U);
}

TEST_F(WrappableTest, AnObjectWhoseConstructorFailsIsRetracted)
{
    EXPECT_THROW(std::make_shared<Wrapped>(*m_host), std::runtime_error);
    EXPECT_EQ(m_host->objectsInObjectSystem(), 0U);
}

TEST_F(WrappableTest, AnObjectKnowsItsOwners)
{
    const auto object = std::make_shared<Wrapped>();

    EXPECT_EQ(object->shared_from_this(), object);
}

TEST_F(WrappableTest, AnObjectIsUsedThroughItsBase)
{
    const auto object = std::make_shared<Wrapped>();
    const pelk::factory::full::Wrappable& base = *object;

    EXPECT_EQ(base.getSharingType(), SharingType::StdShared);
    EXPECT_STREQ(base.getFullyQualifiedPelkTypeName(), "Wrapped");
}

} // namespace

} // namespace conformance
