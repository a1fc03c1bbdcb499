#include "embedded_host/services/ProcessScope.hpp"

#include "host/usm/Detail.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tovrinhost {
namespace {

using testing::ElementsAre;
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

TEST_F(ProcessScopeTest, TheFirstKeysAndLaterOnesAreAlike)
{
    for (const int key : { 0, 1, 31, 32, 1000, -1 }) {
        EXPECT_EQ(Store::find(key), nullptr) << key;
        auto owner = noting(std::to_string(key));
        void* const object = owner.get();
        EXPECT_EQ(Store::findOrInsert(key, std::move(owner)), object) << key;
        EXPECT_EQ(Store::find(key), object) << key;
    }

    destroyProcessScope();

    EXPECT_THAT(m_destroyed, ElementsAre("-1", "1000", "32", "31", "1", "0"));
    for (const int key : { 0, 1, 31, 32, 1000, -1 }) {
        EXPECT_EQ(Store::find(key), nullptr) << key;
    }
}

TEST_F(ProcessScopeTest, ADestructorFindsTheObjectsStoredBefore)
{
    const int first = Store::getNextID();
    const int second = Store::getNextID();
    void* const earlier = Store::findOrInsert(first, noting("first"));
    void* found = nullptr;
    Store::findOrInsert(second, makeOwner([&] { found = Store::find(first); }));

    destroyProcessScope();

    EXPECT_EQ(found, earlier);
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

} // namespace
} // namespace tovrinhost
