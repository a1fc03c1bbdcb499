#include "conformance/HostUnderTest.hpp"
#include "host/usm/Detail.hpp"

#include <atomic>
#include <set>
#include <thread>
#include <vector>

namespace conformance {

namespace {

using Store = usm::Detail<usm::Process>;

std::atomic<int> alive { 0 };

struct Stored {
    Stored() { ++alive; }
    ~Stored() { --alive; }
};

usm::Owner makeOwner()
{
    return { new Stored, [](void* object) { delete static_cast<Stored*>(object); } };
}

class ProcessStoreTest : public testing::Test {
protected:
    ~ProcessStoreTest() override { destroyProcessScope(); }
};

TEST_F(ProcessStoreTest, KeysAreNewEachTime)
{
    std::set<int> keys;
    for (int i = 0; i < 100; ++i) {
        keys.insert(Store::getNextID());
    }

    EXPECT_EQ(keys.size(), 100U);
}

TEST_F(ProcessStoreTest, UnderANewKeyThereIsNothing)
{
    EXPECT_EQ(Store::find(Store::getNextID()), nullptr);
}

TEST_F(ProcessStoreTest, WhatIsInsertedIsFound)
{
    const int key = Store::getNextID();
    auto owner = makeOwner();
    void* const object = owner.get();

    EXPECT_EQ(Store::findOrInsert(key, std::move(owner)), object);
    EXPECT_EQ(Store::find(key), object);
    EXPECT_EQ(Store::find(Store::getNextID()), nullptr);
    EXPECT_EQ(alive, 1);
}

TEST_F(ProcessStoreTest, ASecondObjectUnderOneKeyIsDestroyedAndTheFirstGivenBack)
{
    const int key = Store::getNextID();
    void* const first = Store::findOrInsert(key, makeOwner());

    EXPECT_EQ(Store::findOrInsert(key, makeOwner()), first);
    EXPECT_EQ(alive, 1);
}

TEST_F(ProcessStoreTest, OfRacingInsertsOneObjectIsLeft)
{
    const int key = Store::getNextID();
    std::vector<void*> got(4, nullptr);
    std::atomic<std::size_t> missing { got.size() };
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < got.size(); ++i) {
            threads.emplace_back([&, i] {
                // Until all are there: they spin, so that they go on at the same moment.
                --missing;
                while (missing > 0) {
                    std::this_thread::yield();
                }
                got[i] = Store::findOrInsert(key, makeOwner());
            });
        }
    }

    EXPECT_EQ(std::set<void*>(got.begin(), got.end()).size(), 1U);
    EXPECT_EQ(got[0], Store::find(key));
    EXPECT_EQ(alive, 1);
}

TEST_F(ProcessStoreTest, AnObjectMayUseTheStoreAsTheLoserOfARaceIsDestroyed)
{
    static int key = 0;
    static void* seen = nullptr;
    key = Store::getNextID();
    seen = nullptr;
    void* const first = Store::findOrInsert(key, makeOwner());

    Store::findOrInsert(key, usm::Owner(&seen, [](void*) { seen = Store::find(key); }));

    EXPECT_EQ(seen, first);
}

TEST_F(ProcessStoreTest, AtTheEndOfTheScopeEverythingIsDestroyed)
{
    const int first = Store::getNextID();
    const int second = Store::getNextID();
    Store::findOrInsert(first, makeOwner());
    Store::findOrInsert(second, makeOwner());

    destroyProcessScope();

    EXPECT_EQ(alive, 0);
    EXPECT_EQ(Store::find(first), nullptr);
    EXPECT_EQ(Store::find(second), nullptr);
}

// As the scheduler is destroyed, a handler may still be at work on its thread, and ask for the scheduler: it must
// not find none, or it would make a second one.
TEST_F(ProcessStoreTest, AnObjectIsFoundUntilItsDestructorHasReturned)
{
    static int key = 0;
    static void* found = nullptr;
    static void* kept = nullptr;
    key = Store::getNextID();
    found = kept = nullptr;
    usm::Owner owner(new Stored, [](void* object) {
        found = Store::find(key);
        kept = Store::findOrInsert(key, makeOwner());
        delete static_cast<Stored*>(object);
    });
    void* const object = owner.get();
    Store::findOrInsert(key, std::move(owner));

    destroyProcessScope();

    EXPECT_EQ(found, object);
    EXPECT_EQ(kept, object);
    EXPECT_EQ(alive, 0) << "an object that came too late is left";
    EXPECT_EQ(Store::find(key), nullptr);
}

TEST_F(ProcessStoreTest, AnotherThreadFindsAnObjectThatIsBeingDestroyed)
{
    static int key = 0;
    static void* found = nullptr;
    key = Store::getNextID();
    found = nullptr;
    usm::Owner owner(new Stored, [](void* object) {
        // It would never end if the store were locked meanwhile.
        std::thread([] { found = Store::find(key); }).join();
        delete static_cast<Stored*>(object);
    });
    void* const object = owner.get();
    Store::findOrInsert(key, std::move(owner));

    destroyProcessScope();

    EXPECT_EQ(found, object);
}

} // namespace

} // namespace conformance
