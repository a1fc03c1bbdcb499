#pragma once

#include "tests/library/LibraryTest.hpp"

namespace tovrintimer {

/// Runs in the periodic modes. Where the queue is kept still, the test dispatches what is queued itself, when and
/// as often as it likes.
class PeriodicTest : public LibraryTest {
protected:
    static constexpr auto handOver = "processTovrinTimerTask";
    static constexpr auto wakeUp = "evalAsync if(1==1), end";
    static constexpr auto freeOfContention = "fetching m_prevCallBackStatus->hasStarted, which is 0 and "
                                             "m_prevCallBackStatus->hasCompleted, which is 1 @<time>";
    static constexpr auto evaluateTimerFcn = "feval timercb TimerFcn";
    static constexpr double aLongPeriod = 3'600'000.0;

    /// A timer with no callback but its TimerFcn.
    std::shared_ptr<TimerInfo> makePeriodicTimer(ExecutionMode mode, size_t tasks, double period = aLongPeriod);

    /// A TimerFcn item of a run of so many tasks, of which `left` are left, this one included.
    static WorkItem<TimerFcnWork> periodicItem(
        const std::shared_ptr<TimerInfo>& timer, std::uint64_t total, std::uint64_t left, DueTime due = now());

    /// The soonest queued item, which must be a TimerFcn.
    WorkItem<TimerFcnWork> nextTimerFcn() const;

    /// Takes the soonest queued item, and dispatches it on this thread.
    void dispatchNext() const;

    /// Runs what is handed over, and dispatches what is queued, until nothing is left of either.
    void runToEnd() const;

    /// Returns once this thread has seen the library's clock move on by so much.
    static void passTime(std::chrono::milliseconds span);

    /// The callbacks that were evaluated, in order.
    std::vector<std::string> evaluated() const;

    /// What queueing an item of timer A writes.
    static std::vector<std::string> queueing(const std::string& kind);
};

std::vector<std::string> operator+(std::vector<std::string> first, const std::vector<std::string>& second);

} // namespace tovrintimer
