#pragma once

#include "tests/library/TimerSchedulerPeer.hpp"
#include "tests/recording_host/RecordingHostTest.hpp"
#include "timer_src/main/MonotonicTime.hpp"

#include <chrono>
#include <string>
#include <vector>

namespace tovrintimer {

using namespace std::chrono_literals;

using recording::journal;
using recording::Outcome;
using recording::TaskRun;
using recording::timerTasks;
using testing::ElementsAre;
using testing::IsEmpty;

using foundation::msg_svc::exchange::IDType;

/// What stands in the queue: what it is, whose, and when it is due.
struct Queued {
    int kind;
    std::string timer;
    DueTime due;

    bool operator==(const Queued&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Queued& queued);

/// The library on the recording host.
class LibraryTest : public recording::RecordingHostTest {
protected:
    static constexpr auto aLongTime = 1h;

    void SetUp() override;

    /// A moment that no test lives to see, and one that has passed long ago.
    static DueTime farOff(std::chrono::milliseconds more = 0ms) { return now() + aLongTime + more; }
    static DueTime past(std::chrono::milliseconds before = 0ms) { return now() - 10s - before; }

    static WorkItem<StartFcnWork> startFcn(const std::shared_ptr<TimerInfo>& timer, DueTime due = now());
    static WorkItem<StopFcnWork> stopFcn(const std::shared_ptr<TimerInfo>& timer, DueTime due = now());
    static WorkItem<TimerFcnWork> timerFcn(const std::shared_ptr<TimerInfo>& timer, DueTime due = now());
    static WorkItem<ErrorFcnWork> errorFcn(const std::shared_ptr<TimerInfo>& timer, DueTime due = now());

    /// A timer with all four callbacks, in single-shot mode.
    std::shared_ptr<TimerInfo> makeFullTimer(const std::string& name = "A");

    /// Has the scheduler never start its thread, so that the queue keeps what is inserted.
    void keepQueueStill();

    /// The queue, the item that is due last first.
    std::vector<Queued> queue() const;

    /// Calls, details and log texts, as they followed each other on all threads; without "Timer Running on ...".
    std::vector<std::string> everything() const;

    /// Has the thread run, and sleep without work. The journal is empty afterwards.
    void startThread() const;

    /// Returns once the scheduler thread has begun to wait so many times, without work or for some.
    void waitUntilAsleepWithoutWork(std::size_t times = 1) const;
    void waitUntilAsleepWithWork(std::size_t times = 1) const;

    /// Returns once so many items have been dispatched.
    void waitForDispatches(std::size_t number = 1) const;
};

/// Blocks a thread where the test wants it to stand, until the test lets it go.
class Gate {
public:
    /// On the blocked thread: says that it is here, and waits.
    void pass();

    /// On the test's: waits until the other is here.
    /// \throws std::runtime_error if it does not come
    void waitUntilReached();

    void open();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_reached = false; // guarded by m_mutex, like the next
    bool m_open = false;
};

} // namespace tovrintimer
