#pragma once

#include "tests/simulation/model/Records.hpp"
#include "tests/simulation/model/Statistics.hpp"
#include "tests/simulation/program/Program.hpp"
#include "timer_src/main/WorkItem.hpp"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace tovrintimer {
class TimerScheduler;
}

namespace simulation {

/// What the rules say of one timer.
struct TimerModel {
    std::weak_ptr<tovrintimer::TimerInfo> timer;
    foundation::msg_svc::exchange::IDType id { 0, 0 };
    bool exists = true; ///< until the class system is told that it is gone
    History<bool> running;

    // Each setting of its own: they are read at different moments.
    History<std::size_t> mode;
    History<std::size_t> busy;
    History<double> period;
    History<double> delay;
    History<std::size_t> tasks;
    History<bool> hasStop;
    History<bool> hasError;
    bool hasStart = false;

    std::uint64_t lastReset = 0; ///< when a start had come to the statistics, at the latest
    Statistics statistics;
};

/// Follows a simulation from outside, by what can be seen of it: the operations that the host asks for, the calls
/// that the host gets, the queue, and the clock. Each of these belongs to an activity of a thread; when that has
/// ended, it is held against the rules (Rules.hpp).
///
/// Where a setting or the running flag changes during an activity, either value will do: the rules say what is
/// read, but not the moment between two operations at which it is.
class Model final : public Witness {
public:
    explicit Model(Kernel& kernel);

    /// The queue is watched from here on.
    void watch(tovrintimer::TimerScheduler& scheduler);

    /// No longer: the scheduler is about to be destroyed.
    void unwatch();

    int timerMade(const std::shared_ptr<tovrintimer::TimerInfo>& timer, const Settings& settings);
    void settingsChanged(int timer, const Settings& settings);
    void timerDestroyed(int timer);

    void operationBegins(Activity::What what, int timer);
    void operationEnds();

    std::shared_ptr<HandOver> handedOver(int timer);
    void taskBegins(const std::shared_ptr<HandOver>& handOver);
    void taskEnds();
    void evaluationBegins(int timer, WorkKind kind);
    void evaluationEnds(int timer, WorkKind kind, bool succeeded);

    /// The running flag has been cleared, as the wake-up statement tells.
    void woken(int timer);

    /// The running thread is the scheduler's.
    void schedulerThreadStarted();

    /// At the very end: nothing is left.
    void checkNothingIsLeft();

    bool isRunning(int timer) const { return at(timer).running.latest(); }
    const TimerModel& at(int timer) const { return m_timers.at(static_cast<std::size_t>(timer)); }
    std::uint64_t time() const { return m_time; }
    int handOvers() const { return m_handOvers; }
    [[noreturn]] void fail(const std::string& what) const { m_kernel.fail(what); }

    void clockWasRead(Moment now) override;
    void atomicWasWritten() override;
    void mutexWasReleased(const void* mutex) override;
    void conditionWasNotified(const void* condition) override;
    void timeMoves() override;

private:
    using RealQueue = std::vector<const tovrintimer::WorkItemVariant*>; // what is due last stands first
    using Activities = std::vector<std::unique_ptr<Activity>>;

    TimerModel& at(int timer) { return m_timers.at(static_cast<std::size_t>(timer)); }
    Activities& activities() { return m_activities[m_kernel.self()]; }
    Activity* activity();
    Event& add(Event::What what, int timer);
    Activity& begin(Activity::What what, int timer);
    void end();

    void compareQueue();
    void inserted(const RealQueue& real);
    void taken();
    void hastened(const RealQueue& real);
    void checkNoneWaitsInVain() const;
    void removed(Activity& activity);
    void removeAll(const foundation::msg_svc::exchange::IDType* id);
    void checkFlags() const;
    bool matches(const RealQueue& real) const;
    void checkStatistics(int timer) const;
    bool isBeingReset(int timer) const;

    Kernel& m_kernel;
    tovrintimer::TimerScheduler* m_scheduler = nullptr;
    int m_schedulerThread = -1;
    bool m_isCleanedUp = false;
    bool m_queuedBeforeCleanup = false;
    std::uint64_t m_time = 1;
    int m_handOvers = 0;
    std::vector<TimerModel> m_timers;
    std::map<foundation::msg_svc::exchange::IDType, int> m_timerOf;
    std::vector<Item> m_queue; // the soonest first
    std::set<std::int64_t> m_removedDues; // the due times of items that were not taken
    std::set<int> m_aboutToNotify; // the threads that have changed the queue, and done nothing since
    std::map<int, Activities> m_activities; // of each thread, the innermost last
    std::vector<std::weak_ptr<tovrintimer::prevCallBackStatus>> m_records;
};

} // namespace simulation
