#include "tests/library/PeriodicTest.hpp"

#include "timer_src/main/handlers/Dispatch.hpp"

#include <thread>

namespace tovrintimer {

std::shared_ptr<TimerInfo> PeriodicTest::makePeriodicTimer(ExecutionMode mode, size_t tasks, double period)
{
    auto timer = makeTimer();
    timer->setExecutionMode(static_cast<size_t>(mode));
    timer->setNumOfTasksToExecute(tasks);
    timer->setPeriod(period);
    return timer;
}

WorkItem<TimerFcnWork> PeriodicTest::periodicItem(
    const std::shared_ptr<TimerInfo>& timer, std::uint64_t total, std::uint64_t left, DueTime due)
{
    return { timer->getId(), due, timer, std::make_shared<std::uint64_t>(total), left };
}

WorkItem<TimerFcnWork> PeriodicTest::nextTimerFcn() const
{
    return boost::get<WorkItem<TimerFcnWork>>(TimerSchedulerPeer::workQueue(scheduler()).soonest());
}

void PeriodicTest::dispatchNext() const
{
    dispatch(TimerSchedulerPeer::workQueue(scheduler()).take(), nullptr);
}

void PeriodicTest::runToEnd() const
{
    timerTasks().runAll();
    while (!queue().empty()) {
        dispatchNext();
        timerTasks().runAll();
    }
}

void PeriodicTest::passTime(std::chrono::milliseconds span)
{
    for (const DueTime end = now() + span; now() < end;) {
        std::this_thread::yield();
    }
}

std::vector<std::string> PeriodicTest::evaluated() const
{
    const std::string request = "feval timercb ";
    std::vector<std::string> names;
    for (const std::string& call : calls()) {
        if (call.starts_with(request)) {
            names.push_back(call.substr(request.size()));
        }
    }
    return names;
}

std::vector<std::string> PeriodicTest::queueing(const std::string& kind)
{
    return { "Request to Start Work with Id: <A> for " + kind + " to execute @<time>",
        "Requesting lk @insertAscendingSorted", "End of life for lk @insertAscendingSorted" };
}

std::vector<std::string> operator+(std::vector<std::string> first, const std::vector<std::string>& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace tovrintimer
