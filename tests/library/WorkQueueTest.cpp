#include "timer_src/main/WorkQueue.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <ostream>
#include <random>
#include <vector>

namespace tovrintimer {

namespace {

using namespace std::chrono_literals;

using foundation::msg_svc::exchange::IDType;
using testing::ElementsAre;
using testing::IsEmpty;

/// An item, of whatever kind.
struct Entry {
    IDType timer;
    std::chrono::milliseconds due;

    bool operator==(const Entry& other) const
    {
        return timer.first == other.timer.first && timer.second == other.timer.second && due == other.due;
    }
};

std::ostream& operator<<(std::ostream& stream, const Entry& entry)
{
    return stream << "timer " << entry.timer.first << ',' << entry.timer.second << " due at " << entry.due.count()
                  << " ms";
}

const IDType a(0, 1);
const IDType b(0, 2);
const IDType c(0, 3);

class WorkQueueTest : public testing::Test {
protected:
    template <int kind = StopFcnWork> void insert(const IDType& timer, std::chrono::milliseconds due)
    {
        m_queue.insert(WorkItem<kind>(DueTime(due), timer, {}));
    }

    /// Takes all that stands in the queue.
    std::vector<Entry> inOrder()
    {
        std::vector<Entry> entries;
        while (!m_queue.empty()) {
            const WorkItemVariant work = m_queue.take();
            entries.push_back({ timerId(work), dueTime(work).time_since_epoch() });
        }
        return entries;
    }

    WorkQueue m_queue;
};

TEST_F(WorkQueueTest, ANewQueueIsEmpty)
{
    EXPECT_TRUE(m_queue.empty());
    EXPECT_EQ(m_queue.size(), 0U);
}

TEST_F(WorkQueueTest, TheEarlierDueTimeComesFirst)
{
    insert(b, 50ms);
    insert(a, 45ms);
    insert(c, 55ms);
    insert(a, 51ms);
    insert(a, -7ms);

    EXPECT_THAT(inOrder(),
        ElementsAre(
            Entry { a, -7ms }, Entry { a, 45ms }, Entry { b, 50ms }, Entry { a, 51ms }, Entry { c, 55ms }));
}

TEST_F(WorkQueueTest, EqualDueTimesComeInArrivalOrder)
{
    insert(a, 50ms);
    insert(b, 60ms);
    insert(b, 50ms);
    insert(a, 40ms);
    insert(c, 50ms);

    EXPECT_THAT(inOrder(),
        ElementsAre(
            Entry { a, 40ms }, Entry { a, 50ms }, Entry { b, 50ms }, Entry { c, 50ms }, Entry { b, 60ms }));
}

TEST_F(WorkQueueTest, DueTimesAtTheEndsOfTheirRangeHaveTheirPlaceToo)
{
    const auto last = DueTime::duration::max();
    const auto first = DueTime::duration::min();
    insert(a, last);
    insert(a, 0ms);
    insert(a, first);
    insert(b, last);

    EXPECT_THAT(
        inOrder(), ElementsAre(Entry { a, first }, Entry { a, 0ms }, Entry { a, last }, Entry { b, last }));
}

TEST_F(WorkQueueTest, TheSoonestItemIsReadAndStays)
{
    insert(a, 51ms);
    insert<ErrorFcnWork>(b, 50ms);

    EXPECT_EQ(m_queue.soonest().which(), 3);
    EXPECT_EQ(dueTime(m_queue.soonest()), DueTime(50ms));
    EXPECT_EQ(m_queue.size(), 2U);
}

TEST_F(WorkQueueTest, AnItemIsTakenAsItWasInserted)
{
    const auto counter = std::make_shared<std::uint64_t>(9);
    const auto record = std::make_shared<prevCallBackStatus>();
    m_queue.insert(WorkItem<TimerFcnWork>(a, DueTime(50ms), {}, counter, 4, record));

    const auto item = boost::get<WorkItem<TimerFcnWork>>(m_queue.take());

    EXPECT_TRUE(m_queue.empty());
    EXPECT_EQ(item.m_sharedTaskCounter, counter);
    EXPECT_EQ(item.m_taskCount, 4U);
    EXPECT_EQ(item.m_prevCallBackStatus, record);
    // The queue has kept nothing of it.
    EXPECT_EQ(counter.use_count(), 2);
}

TEST_F(WorkQueueTest, ItemsOfAllKindsAreToldApart)
{
    insert<ErrorFcnWork>(a, 4ms);
    insert<StopFcnWork>(a, 2ms);
    insert<StartFcnWork>(a, 1ms);
    m_queue.insert(WorkItem<TimerFcnWork>(a, DueTime(3ms), {}, 1));

    std::vector<int> alternatives;
    while (!m_queue.empty()) {
        alternatives.push_back(m_queue.take().which());
    }

    EXPECT_THAT(alternatives, ElementsAre(0, 1, 2, 3));
}

TEST_F(WorkQueueTest, RemovalDiscardsAllKindsOfOneTimerAndKeepsTheOthersInOrder)
{
    insert<StartFcnWork>(a, 50ms);
    insert(b, 50ms);
    insert<StopFcnWork>(a, 51ms);
    insert(c, 50ms);
    insert(b, 52ms);
    m_queue.insert(WorkItem<TimerFcnWork>(a, DueTime(49ms), {}, 1));
    insert<ErrorFcnWork>(a, 50ms);

    m_queue.removeMatching(a);

    EXPECT_THAT(inOrder(), ElementsAre(Entry { b, 50ms }, Entry { c, 50ms }, Entry { b, 52ms }));
}

TEST_F(WorkQueueTest, RemovalGoesByTheOrderOfTheIdentitiesWords)
{
    // Equal first words, equal second words, and signs: none of these is the same identity.
    const std::vector<IDType> all { IDType(1, 2), IDType(2, 1), IDType(1, -2), IDType(-1, 2), IDType(2, 2) };
    for (const IDType& id : all) {
        insert(id, 1ms);
    }

    m_queue.removeMatching(all.front());

    EXPECT_THAT(inOrder(),
        ElementsAre(Entry { all[1], 1ms }, Entry { all[2], 1ms }, Entry { all[3], 1ms }, Entry { all[4], 1ms }));
}

TEST_F(WorkQueueTest, RemovingWhatIsNotThereChangesNothing)
{
    m_queue.removeMatching(a);
    insert(b, 50ms);
    m_queue.removeMatching(a);

    EXPECT_THAT(inOrder(), ElementsAre(Entry { b, 50ms }));
}

TEST_F(WorkQueueTest, ClearingDiscardsEverything)
{
    const auto counter = std::make_shared<std::uint64_t>(1);
    m_queue.insert(WorkItem<TimerFcnWork>(a, DueTime(50ms), {}, counter, 1));
    insert(b, 51ms);

    m_queue.clear();

    EXPECT_THAT(inOrder(), IsEmpty());
    EXPECT_EQ(counter.use_count(), 1);
}

TEST_F(WorkQueueTest, TheTimerFcnWithTheRecordIsHastenedBehindItsNewEquals)
{
    const auto record = std::make_shared<prevCallBackStatus>();
    m_queue.insert(WorkItem<TimerFcnWork>(a, DueTime(60ms), {}, nullptr, 1, record));
    m_queue.insert(WorkItem<TimerFcnWork>(b, DueTime(55ms), {}, nullptr, 1));
    insert(a, 50ms);
    insert(c, 40ms);
    insert(c, 50ms);

    EXPECT_TRUE(m_queue.hasten(a, *record, DueTime(50ms)));

    EXPECT_THAT(inOrder(),
        ElementsAre(
            Entry { c, 40ms }, Entry { a, 50ms }, Entry { c, 50ms }, Entry { a, 50ms }, Entry { b, 55ms }));
}

TEST_F(WorkQueueTest, NothingIsHastenedThatIsDueAlreadyOrOfAnotherTimerOrOfAnotherRecord)
{
    const auto record = std::make_shared<prevCallBackStatus>();
    m_queue.insert(WorkItem<TimerFcnWork>(a, DueTime(50ms), {}, nullptr, 1, record));
    m_queue.insert(WorkItem<TimerFcnWork>(b, DueTime(60ms), {}, nullptr, 1));

    EXPECT_FALSE(m_queue.hasten(a, *record, DueTime(50ms)));
    EXPECT_FALSE(m_queue.hasten(b, *record, DueTime(40ms)));
    EXPECT_FALSE(m_queue.hasten(a, prevCallBackStatus(), DueTime(40ms)));
    EXPECT_FALSE(m_queue.hasten(c, *record, DueTime(40ms)));

    EXPECT_THAT(inOrder(), ElementsAre(Entry { a, 50ms }, Entry { b, 60ms }));
}

TEST_F(WorkQueueTest, WhatIsTakenOrDiscardedIsKeptByNobody)
{
    const auto counter = std::make_shared<std::uint64_t>(1);
    for (int round = 0; round < 3; ++round) {
        for (int due = 0; due < 5; ++due) {
            m_queue.insert(WorkItem<TimerFcnWork>(due < 3 ? a : b, DueTime(1ms * due), {}, counter, 1));
        }
        m_queue.take();
        m_queue.removeMatching(a);
        ASSERT_EQ(m_queue.size(), 2U);
        EXPECT_EQ(counter.use_count(), 1 + 2);
        m_queue.take();
        m_queue.take();
        EXPECT_EQ(counter.use_count(), 1);
    }
}

/// The queue at its simplest: a vector that is searched from its beginning, the soonest item first.
class PlainQueue {
public:
    struct Item {
        IDType timer;
        std::int64_t due;
        std::uint64_t number;
    };

    void insert(const Item& item)
    {
        const auto isLater = [&item](const Item& queued) { return queued.due > item.due; };
        m_items.insert(std::find_if(m_items.begin(), m_items.end(), isLater), item);
    }

    void removeMatching(const IDType& timer)
    {
        std::erase_if(m_items, [&timer](const Item& item) {
            return item.timer.first == timer.first && item.timer.second == timer.second;
        });
    }

    void take() { m_items.erase(m_items.begin()); }

    const std::vector<Item>& items() const { return m_items; }

private:
    std::vector<Item> m_items;
};

std::uint64_t numberOf(const WorkItemVariant& work)
{
    return boost::get<WorkItem<TimerFcnWork>>(work).m_taskCount;
}

TEST_F(WorkQueueTest, AnyInsertsTakesAndRemovalsLeaveWhatAPlainVectorHolds)
{
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const auto below = [&random](unsigned end) { return static_cast<int>(random() % end); };
        // Few moments and few timers, so that many items are equal in either.
        const unsigned moments = 1 + seed % 40;
        const unsigned timers = 1 + seed % 9;
        PlainQueue plain;
        for (std::uint64_t number = 0; number < 300; ++number) {
            const IDType timer(below(timers) % 3 - 1, below(timers) / 3 - 1);
            const int what = below(20);
            if (what < 12) {
                const std::int64_t due = below(moments) - 10;
                plain.insert({ timer, due, number });
                m_queue.insert(WorkItem<TimerFcnWork>(timer, DueTime(1ms * due), {}, nullptr, number));
            } else if (what < 19 && !plain.items().empty()) {
                EXPECT_EQ(numberOf(m_queue.take()), plain.items().front().number);
                plain.take();
            } else {
                plain.removeMatching(timer);
                m_queue.removeMatching(timer);
            }
            ASSERT_EQ(m_queue.size(), plain.items().size());
            ASSERT_EQ(m_queue.empty(), plain.items().empty());
            if (!plain.items().empty()) {
                ASSERT_EQ(numberOf(m_queue.soonest()), plain.items().front().number);
            }
        }
        for (const PlainQueue::Item& item : plain.items()) {
            ASSERT_EQ(numberOf(m_queue.take()), item.number);
        }
        ASSERT_TRUE(m_queue.empty());
    }
}

} // namespace

} // namespace tovrintimer
