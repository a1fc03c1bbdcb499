#include "conformance/HostUnderTest.hpp"

#include <stdexcept>
#include <thread>

namespace conformance {

namespace {

using pelk::factory::full::SharingType;
using pelk::factory::full::StdShareable;

struct ObjectSystemKnowsIt { };

class Wrapped : public StdShareable {
public:
    Wrapped() = default;

    /// One whose constructor fails, when the object system knows of it.
    explicit Wrapped(ObjectSystemKnowsIt /*tag*/)
    {
        // Nobody owns it yet: only its address counts.
        giveToObjectSystem(std::shared_ptr<StdShareable>(std::shared_ptr<void>(), this));
        EXPECT_EQ(objectsInObjectSystem(), 1U);
        throw std::runtime_error("half made");
    }

    SharingType getSharingType() const override { return SharingType::StdShared; }
    const char* getFullyQualifiedPelkTypeName() const override { return "Wrapped"; }
};

TEST(RetractionTest, AnObjectIsForgottenAsItIsDestroyed)
{
    auto object = std::make_shared<Wrapped>();
    auto other = std::make_shared<Wrapped>();
    giveToObjectSystem(object);
    giveToObjectSystem(other);
    EXPECT_EQ(objectsInObjectSystem(), 2U);

    object.reset();
    EXPECT_EQ(objectsInObjectSystem(), 1U);

    other.reset();
    EXPECT_EQ(objectsInObjectSystem(), 0U);
}

TEST(RetractionTest, TheObjectSystemDoesNotKeepAnObjectAlive)
{
    auto object = std::make_shared<Wrapped>();
    const std::weak_ptr<Wrapped> handle = object;
    giveToObjectSystem(object);

    object.reset();

    EXPECT_TRUE(handle.expired());
}

TEST(RetractionTest, AnObjectMayGoOnAnyThread)
{
    auto object = std::make_shared<Wrapped>();
    giveToObjectSystem(object);

    std::jthread([&] { object.reset(); }).join();

    EXPECT_EQ(objectsInObjectSystem(), 0U);
}

TEST(RetractionTest, AnObjectThatNobodyTookInGoesToo)
{
    EXPECT_NO_THROW(std::make_shared<Wrapped>().reset());
    EXPECT_EQ(objectsInObjectSystem(), 0U);
}

TEST(RetractionTest, AnObjectWhoseConstructorFailsIsRetracted)
{
    EXPECT_THROW(std::make_shared<Wrapped>(ObjectSystemKnowsIt {}), std::runtime_error);
    EXPECT_EQ(objectsInObjectSystem(), 0U);
}

} // namespace

} // namespace conformance
