#include "embedded_host/services/ProcessScope.hpp"
#include "tests/library/TimerSchedulerPeer.hpp"
#include "tests/storm/Accounts.hpp"
#include "tests/storm/Options.hpp"
#include "tests/storm/StormHost.hpp"
#include "tests/storm/Watchdog.hpp"
#include "tests/test_host/QueueManager.hpp"
#include "timer_src/main/MonotonicTime.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <gmock/gmock.h>

#include <iostream>
#include <numeric>

namespace tovrintimer {

namespace {

using storm::Account;
using storm::accounts;
using storm::options;
using testing::AllOf;
using testing::Ge;
using testing::Le;

constexpr int hostThreads = 8;
constexpr std::size_t timers = 50;

/// A timer and its account, to be taken and replaced by any thread.
class Slot {
public:
    struct Content {
        std::shared_ptr<TimerInfo> timer;
        Account* account = nullptr;
    };

    Content get() const
    {
        const std::lock_guard lock(m_mutex);
        return m_content;
    }

    /// The old one is destroyed without the lock, by whoever lets go of it last.
    void set(Content content)
    {
        const std::lock_guard lock(m_mutex);
        std::swap(m_content, content);
    }

private:
    mutable std::mutex m_mutex;
    Content m_content; // guarded by m_mutex
};

class StormTest : public testing::Test {
protected:
    void SetUp() override
    {
        std::cout << "storm of " << options().duration.count() << " s, seed " << options().seed << std::endl;
        RecordProperty("seed", std::to_string(options().seed));
    }

    TimerScheduler& scheduler() const { return *TimerScheduler::getPerTOVRINProcessInstance(); }

    Slot::Content makeTimer(const storm::Character& character)
    {
        foundation::tovrindata::Array timerObject;
        Account& account = accounts().open(character, timerObject);
        auto timer = std::make_shared<TimerInfo>(timerObject, m_engine, m_interruptData);
        character.applyTo(*timer);
        return { timer, &account };
    }

    // What is asked for stands in the account before it is done.

    void start(const Slot::Content& content) const
    {
        ++content.account->starts;
        scheduler().createAndStartWork(content.timer);
    }

    void stop(const Slot::Content& content) const
    {
        ++content.account->stops;
        scheduler().forceStopWorkAndScheduleStopFcn(content.timer);
    }

    void fail(const Slot::Content& content, bool alsoStop) const
    {
        ++content.account->errors;
        content.account->stops += alsoStop ? 1 : 0;
        scheduler().forceScheduleOfErrorFcn(content.timer, alsoStop);
    }

    /// One host thread's storm.
    void rage(unsigned int seed)
    {
        std::mt19937 random(seed);
        const auto below = [&random](std::size_t bound) {
            return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random);
        };
        for (const auto end = std::chrono::steady_clock::now() + options().duration;
             std::chrono::steady_clock::now() < end;) {
            m_engineThread.waitForRoom();
            Slot& slot = m_slots.at(below(timers));
            const Slot::Content content = slot.get();
            const std::size_t choice = below(100);
            if (choice < 50) {
                start(content);
            } else if (choice < 80) {
                stop(content);
            } else if (choice < 95) {
                fail(content, below(2) == 0);
            } else if (choice < 98) {
                if (!accounts().isFull()) {
                    slot.set(makeTimer(storm::randomCharacter(random)));
                }
            } else {
                storm::setTimerPpe(below(2) == 0);
            }
        }
    }

    /// Returns once neither the engine nor the scheduler has anything left. No timer may be started meanwhile, nor
    /// have a period of more than a moment.
    void waitForCalm(const Slot::Content& sentinel) const
    {
        do {
            m_engineThread.waitUntilIdle();
            while (!TimerSchedulerPeer::queue(scheduler()).empty()) {
                std::this_thread::yield();
            }
            // The scheduler thread may still be dispatching what it took last. What it dispatches after that has
            // been evaluated when the sentinel has.
            const std::size_t before = sentinel.account->evaluatedOf(StopFcnWork);
            scheduler().insertAscendingSorted(
                WorkItem<StopFcnWork>(now(), sentinel.timer->getId(), sentinel.timer));
            while (sentinel.account->evaluatedOf(StopFcnWork) == before) {
                std::this_thread::yield();
            }
            m_engineThread.waitUntilIdle();
        } while (!TimerSchedulerPeer::queue(scheduler()).empty());
    }

    /// What no timer, alive or not, may get more of than was asked for.
    static void expectNoMoreThanAskedFor(const Account& account)
    {
        const storm::Character& character = account.character;
        // Each start begins one chain of TimerFcn items, whatever becomes of it. A chain counts down to one
        // StopFcn at most. A stop may meet a chain's end: then there is one StopFcn for each.
        const std::size_t chains = account.starts;
        EXPECT_LE(account.evaluatedOf(TimerFcnWork), chains * character.longestRun());
        EXPECT_LE(account.evaluatedOf(StartFcnWork), character.hasStartFcn ? chains : 0);
        EXPECT_LE(account.evaluatedOf(StopFcnWork), character.hasStopFcn ? account.stops + chains : 0);
        EXPECT_LE(account.evaluatedOf(ErrorFcnWork),
            character.hasErrorFcn ? account.errors + (character.failsWhenBusy() ? chains : 0) : 0);
    }

    /// What a timer that is still there must have got: all that was forced past the queue has been handed over,
    /// at once. What was queued may have been taken off again by a stop.
    static void expectWhatWasForced(const Account& account)
    {
        const storm::Character& character = account.character;
        const std::size_t firstOnes
            = character.hasStartFcn || character.startDelay > 0.0 ? 0 : account.starts.load();
        EXPECT_GE(account.evaluatedOf(TimerFcnWork), firstOnes);
        EXPECT_EQ(account.evaluatedOf(StartFcnWork), character.hasStartFcn ? account.starts.load() : 0);
        EXPECT_GE(account.evaluatedOf(StopFcnWork), character.hasStopFcn ? account.stops.load() : 0);
        EXPECT_GE(account.evaluatedOf(ErrorFcnWork), character.hasErrorFcn ? account.errors.load() : 0);
    }

    /// One run of a timer that nobody disturbs, started on this thread.
    struct QuietRun {
        Slot::Content content;
        std::array<std::size_t, 5> before {};

        explicit QuietRun(Slot::Content started)
            : content(std::move(started))
        {
            std::ranges::copy(content.account->evaluated, before.begin());
        }

        std::size_t evaluatedOf(WorkKind kind) const
        {
            return content.account->evaluatedOf(kind) - before.at(static_cast<std::size_t>(kind));
        }
    };

    static void expectOneWholeRun(const QuietRun& run)
    {
        const storm::Character& character = run.content.account->character;
        const std::size_t callbacks = run.evaluatedOf(TimerFcnWork);
        // Only a timer that fails when it is busy may have been cut short, and says so.
        const bool wasCutShort = callbacks < character.longestRun();
        EXPECT_THAT(callbacks,
            AllOf(Ge(character.failsWhenBusy() ? 1U : character.longestRun()), Le(character.longestRun())));
        EXPECT_EQ(run.evaluatedOf(StartFcnWork), character.hasStartFcn ? 1U : 0U);
        EXPECT_EQ(run.evaluatedOf(StopFcnWork), character.hasStopFcn ? 1U : 0U);
        EXPECT_EQ(run.evaluatedOf(ErrorFcnWork), character.hasErrorFcn && wasCutShort ? 1U : 0U);
        EXPECT_EQ(run.content.timer->getTasksExecuted(), static_cast<double>(callbacks));
        EXPECT_FALSE(run.content.timer->getIsRunning());
    }

    std::shared_ptr<storm::Engine> m_engine = std::make_shared<storm::Engine>();
    std::shared_ptr<InterruptStateData> m_interruptData = std::make_shared<InterruptStateData>();
    std::array<Slot, timers> m_slots;
    mutable storm::EngineThread m_engineThread;
};

TEST_F(StormTest, EveryTimerGetsWhatWasAskedForAndNothingElse)
{
    const storm::Watchdog watchdog(options().duration + std::chrono::seconds(180));
    std::mt19937 random(options().seed);
    for (Slot& slot : m_slots) {
        slot.set(makeTimer(storm::randomCharacter(random)));
    }
    storm::Character withStopFcn;
    withStopFcn.hasStopFcn = true;
    Slot::Content sentinel = makeTimer(withStopFcn);

    std::vector<std::thread> threads;
    for (int i = 0; i < hostThreads; ++i) {
        threads.emplace_back([this, seed = static_cast<unsigned int>(random())] { rage(seed); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    for (const Slot& slot : m_slots) {
        stop(slot.get());
    }
    waitForCalm(sentinel);
    std::size_t starts = 0;
    std::size_t callbacks = 0;
    for (std::size_t number = 0; number < accounts().size(); ++number) {
        const Account& account = accounts().at(number);
        SCOPED_TRACE(testing::Message()
            << "timer " << number << ": " << account.character << "; " << account.starts << " starts, "
            << account.stops << " stops, " << account.errors << " errors");
        starts += account.starts;
        callbacks = std::accumulate(account.evaluated.begin(), account.evaluated.end(), callbacks);
        if (&account != sentinel.account) {
            expectNoMoreThanAskedFor(account);
        }
    }
    for (const Slot& slot : m_slots) {
        const auto [timer, account] = slot.get();
        SCOPED_TRACE(testing::Message() << account->character);
        expectWhatWasForced(*account);
        EXPECT_FALSE(timer->getIsRunning());
        EXPECT_LE(timer->getTasksExecuted(), static_cast<double>(account->evaluatedOf(TimerFcnWork)));
    }

    // The storm is over: now each timer runs once, undisturbed.
    m_engine->setErrors(false);
    std::vector<QuietRun> runs;
    for (const Slot& slot : m_slots) {
        runs.emplace_back(slot.get());
        start(slot.get());
    }
    for (const QuietRun& run : runs) {
        while (run.content.timer->getIsRunning()) {
            std::this_thread::yield();
        }
    }
    waitForCalm(sentinel);
    for (const QuietRun& run : runs) {
        SCOPED_TRACE(testing::Message() << run.content.account->character);
        expectOneWholeRun(run);
    }
    runs.clear();

    std::cout << starts << " starts of " << accounts().size() << " timers, " << callbacks << " callbacks in "
              << m_engineThread.tasksRun() << " tasks, " << m_engineThread.errors() << " errors, "
              << storm::lineHooks() << " line hooks" << std::endl;
    EXPECT_GT(starts, timers);
    EXPECT_GT(m_engineThread.errors(), 0U);
    EXPECT_GT(storm::lineHooks(), 0U);

    // Nothing is left.
    for (Slot& slot : m_slots) {
        slot.set({});
    }
    sentinel = {};
    m_engineThread.waitUntilIdle();
    EXPECT_EQ(storm::retractions(), accounts().size());
    EXPECT_EQ(storm::namedThreads(), 1);
    tovrinhost::destroyProcessScope();
    EXPECT_EQ(storm::namedThreads(), 0);
    EXPECT_EQ(m_engine.use_count(), 1);
}

} // namespace

} // namespace tovrintimer
