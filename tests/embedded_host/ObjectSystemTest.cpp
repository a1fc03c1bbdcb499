#include "embedded_host/services/ObjectSystem.hpp"

#include "tests/embedded_host/TestObject.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

namespace tovrinhost {
namespace {

class ObjectSystemTest : public testing::Test {
protected:
    ~ObjectSystemTest() override { EXPECT_EQ(wrappedObjects(), 0U) << "an object was not forgotten"; }
};

TEST_F(ObjectSystemTest, AnObjectIsFoundByItsNumber)
{
    const auto first = std::make_shared<TestObject>();
    const auto second = std::make_shared<TestObject>();

    const std::uint64_t firstNumber = wrap(first);
    const std::uint64_t secondNumber = wrap(second);

    EXPECT_NE(firstNumber, secondNumber);
    EXPECT_EQ(unwrap(firstNumber), first);
    EXPECT_EQ(unwrap(secondNumber), second);
    EXPECT_EQ(wrappedObjects(), 2U);
}

TEST_F(ObjectSystemTest, TheSameObjectAlwaysGetsTheSameNumber)
{
    const auto object = std::make_shared<TestObject>();

    EXPECT_EQ(wrap(object), wrap(object->shared_from_this()));
    EXPECT_EQ(wrappedObjects(), 1U);
}

TEST_F(ObjectSystemTest, ObjectsAreHeldWeaklyAndForgottenAsTheyGo)
{
    auto object = std::make_shared<TestObject>();
    const std::uint64_t number = wrap(object);
    EXPECT_EQ(object.use_count(), 1);

    object.reset();

    EXPECT_EQ(unwrap(number), nullptr);
    EXPECT_EQ(wrappedObjects(), 0U);
}

TEST_F(ObjectSystemTest, AnUnwrappedObjectIsKeptAlive)
{
    auto object = std::make_shared<TestObject>();
    const std::uint64_t number = wrap(object);

    auto share = unwrap(number);
    object.reset();
    EXPECT_NE(unwrap(number), nullptr);

    share.reset();
    EXPECT_EQ(unwrap(number), nullptr);
}

TEST_F(ObjectSystemTest, AnotherObjectAtTheSameAddressGetsAnotherNumber)
{
    alignas(TestObject) std::byte place[sizeof(TestObject)];
    const auto makeInPlace = [&place] {
        return std::shared_ptr<TestObject>(
            new (place) TestObject, [](TestObject* object) { object->~TestObject(); });
    };

    auto object = makeInPlace();
    const std::uint64_t oldNumber = wrap(object);
    object.reset();
    object = makeInPlace();
    const std::uint64_t newNumber = wrap(object);

    EXPECT_NE(newNumber, oldNumber);
    EXPECT_EQ(unwrap(oldNumber), nullptr);
    EXPECT_EQ(unwrap(newNumber), object);
}

TEST_F(ObjectSystemTest, NoObjectHasANumberThatWasNeverGiven)
{
    EXPECT_EQ(unwrap(0), nullptr);
    EXPECT_EQ(unwrap(~std::uint64_t { 0 }), nullptr);
}

TEST_F(ObjectSystemTest, NullIsNotWrapped)
{
    EXPECT_EQ(thrownMessage<std::invalid_argument>([] { wrap(nullptr); }),
        "null to be wrapped: there must be an object");
}

/// An object that looks itself up while it goes.
class SelfSeeker : public TestObject {
public:
    ~SelfSeeker() override { *found = unwrap(number) != nullptr; }

    std::uint64_t number = 0;
    bool* found = nullptr;
};

TEST_F(ObjectSystemTest, AnObjectThatIsBeingDestroyedIsNotFound)
{
    bool found = true;
    auto object = std::make_shared<SelfSeeker>();
    object->found = &found;
    object->number = wrap(object);

    object.reset();

    EXPECT_FALSE(found);
}

TEST_F(ObjectSystemTest, ObjectsComeAndGoOnManyThreads)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int round = 0; round < 500; ++round) {
                const auto object = std::make_shared<TestObject>();
                const std::uint64_t number = wrap(object);
                ASSERT_EQ(unwrap(number), object);
                // Perhaps another thread's, which may go at this moment: then this is its last share.
                static_cast<void>(unwrap(number + 1));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(wrappedObjects(), 0U);
}

} // namespace
} // namespace tovrinhost
