#include "embedded_host/services/ProcessScope.hpp"

#include "host/usm/Detail.hpp"
#include "tests/StartLine.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tovrinhost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Store = usm::Detail<usm::Process>;

/// An object that says when it is destroyed.
struct Stored {
    std::function<void()> onDestruction;
    ~Stored() { onDestruction(); }
};

usm::Owner makeOwner(std::function<void()> onDestruction)
{
    return usm::Owner(
        new Stored { std::move(onDestruction) }, [](void* object) { delete static_cast<Stored*>(object); });
}

class ProcessScopeTest : public testing::Test {
protected:
    // What a test leaves behind may refer to the test itself.
    ~ProcessScopeTest() override { destroyProcessScope(); }

    /// The owner of an object whose destruction is noted under a name.
    usm::Owner noting(const std::string& name)
    {
        return makeOwner([this, name] { m_destroyed.push_back(name); });
    }

    std::vector<std::string> m_destroyed;
};

TEST_F(ProcessScopeTest, KeysDiffer)
{
    const std::set<int> keys { Store::getNextID(), Store::getNextID(), Store::getNextID() };

    EXPECT_EQ(keys.size(), 3U);
}

TEST_F(ProcessScopeTest, NothingIsFoundUnderANewKey)
{
    EXPECT_EQ(Store::find(Store::getNextID()), nullptr);
}

TEST_F(ProcessScopeTest, AStoredObjectIsFoundUnderItsKeyAlone)
{
    const int key = Store::getNextID();
    const int otherKey = Store::getNextID();
    usm::Owner owner = noting("one");
    void* const object = owner.get();

    EXPECT_EQ(Store::findOrInsert(key, std::move(owner)), object);

    EXPECT_EQ(Store::find(key), object);
    EXPECT_EQ(Store::find(otherKey), nullptr);
    EXPECT_THAT(m_destroyed, IsEmpty());
}

TEST_F(ProcessScopeTest, TheSecondObjectForAKeyIsDestroyed)
{
    const int key = Store::getNextID();
    void* const first = Store::findOrInsert(key, noting("first"));

    EXPECT_EQ(Store::findOrInsert(key, noting("second")), first);

    EXPECT_EQ(Store::find(key), first);
    EXPECT_THAT(m_destroyed, ElementsAre("second"));
}

TEST_F(ProcessScopeTest, TheLosersDestructorMayCallTheStore)
{
    const int key = Store::getNextID();
    void* const first = Store::findOrInsert(key, noting("first"));
    void* found = nullptr;

    Store::findOrInsert(key, makeOwner([&] { found = Store::find(key); }));

    EXPECT_EQ(found, first);
}

TEST_F(ProcessScopeTest, OfManyThreadsThatOfferAnObjectOneWins)
{
    constexpr int threadCount = 8;
    const int key = Store::getNextID();
    std::atomic<int> destroyed { 0 };
    std::vector<void*> results(threadCount);
    StartLine start(threadCount);
    std::vector<std::thread> threads;
    for (void*& result : results) {
        threads.emplace_back([&] {
            usm::Owner owner = makeOwner([&destroyed] { ++destroyed; });
            start.arriveAndWait();
            result = Store::findOrInsert(key, std::move(owner));
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_NE(Store::find(key), nullptr);
    EXPECT_THAT(results, testing::Each(Store::find(key)));
    EXPECT_EQ(destroyed, threadCount - 1);

    destroyProcessScope();
    EXPECT_EQ(destroyed, threadCount);
}

TEST_F(ProcessScopeTest, NullIsNotStored)
{
    const int key = Store::getNextID();

    EXPECT_EQ(thrownMessage<std::invalid_argument>(
                  [key] { Store::findOrInsert(key, usm::Owner(nullptr, [](void*) {})); }),
        "null to be stored under the key " + std::to_string(key)
            + " of the process-wide store: there must be an object");
}

TEST_F(ProcessScopeTest, TheLatestIsDestroyedFirst)
{
    const int early = Store::getNextID();
    const int late = Store::getNextID();
    const int middle = Store::getNextID();
    Store::findOrInsert(early, noting("first"));
    Store::findOrInsert(middle, noting("second"));
    Store::findOrInsert(late, noting("third"));

    destroyProcessScope();

    EXPECT_THAT(m_destroyed, ElementsAre("third", "second", "first"));
    EXPECT_EQ(Store::find(early), nullptr);
    EXPECT_EQ(Store::find(middle), nullptr);
    EXPECT_EQ(Store::find(late), nullptr);
}

TEST_F(ProcessScopeTest, ADestructorFindsTheObjectsStoredBeforeAndItself)
{
    const int first = Store::getNextID();
    const int second = Store::getNextID();
    void* const earlier = Store::findOrInsert(first, noting("first"));
    void* foundEarlier = nullptr;
    void* foundItself = nullptr;
    usm::Owner owner = makeOwner([&] {
        foundEarlier = Store::find(first);
        foundItself = Store::find(second);
    });
    void* const later = Store::findOrInsert(second, std::move(owner));

    destroyProcessScope();

    EXPECT_EQ(foundEarlier, earlier);
    EXPECT_EQ(foundItself, later);
    EXPECT_EQ(Store::find(second), nullptr);
}

TEST_F(ProcessScopeTest, WhatADestructorStoresStaysUntilTheNextCall)
{
    const int old = Store::getNextID();
    const int key = Store::getNextID();
    Store::findOrInsert(old, makeOwner([&] {
        m_destroyed.emplace_back("old");
        Store::findOrInsert(key, noting("new"));
    }));

    destroyProcessScope();
    EXPECT_THAT(m_destroyed, ElementsAre("old"));
    EXPECT_NE(Store::find(key), nullptr);

    destroyProcessScope();
    EXPECT_THAT(m_destroyed, ElementsAre("old", "new"));
    EXPECT_EQ(Store::find(key), nullptr);
}

TEST_F(ProcessScopeTest, WhatADestructorStoresInItsOwnPlaceIsDestroyedAtOnce)
{
    const int key = Store::getNextID();
    Store::findOrInsert(key, makeOwner([&] {
        m_destroyed.emplace_back("old");
        Store::findOrInsert(key, noting("new"));
        m_destroyed.emplace_back("end of old");
    }));

    destroyProcessScope();

    EXPECT_THAT(m_destroyed, ElementsAre("old", "new", "end of old"));
    EXPECT_EQ(Store::find(key), nullptr);
}

TEST_F(ProcessScopeTest, AnotherThreadUsesTheStoreWhileADestructorRuns)
{
    const int stored = Store::getNextID();
    const int other = Store::getNextID();
    Store::findOrInsert(stored, makeOwner([&] {
        // Waiting for the other thread would never end if the store's lock were held here.
        std::thread([&] { Store::findOrInsert(other, noting("other")); }).join();
    }));

    destroyProcessScope();

    EXPECT_NE(Store::find(other), nullptr);
}

} // namespace
} // namespace tovrinhost
