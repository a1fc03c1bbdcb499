#pragma once

#include "host/foundation/msg_svc/exchange/IDType.hpp"
#include "host/foundation/tovrindata/Array.hpp"
#include "host/pelk/factory/full/StdShareable.hpp"
#include "timer_src/main/Concurrency.hpp"
#include "timer_src/main/Export.hpp"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

class InterruptStateData;

namespace vorn {
class VORN;
}

namespace tovrintimer {

/// What follows a TimerFcn callback, and when.
enum class ExecutionMode : std::int32_t {
    SingleShot = 0, ///< nothing: the run ends
    FixedSpacing = 1, ///< the next callback, one period after the end of this one
    FixedDelay = 2, ///< the next callback, one period after this one started to run
    FixedRate = 3, ///< the next callback, one period after this one was dispatched
};

/// What a fixed-rate timer does when a callback falls due while the one before it is still running.
enum class BusyMode : std::int32_t {
    Drop = 0, ///< drops the due callback, and fires as soon as the running one has ended
    Queue = 1, ///< hands it over like any other; the host's queue grows
    Error = 2, ///< drops it, and runs the ErrorFcn
};

/// One timer of the host: its settings, its running flag and its run statistics.
///
/// Threading: any operation, any thread, but for `reset`. Settings and running flag are shared without a lock,
/// each on its own; the statistics are consistent among themselves under m_statsMutex. No host code runs under it.
/// Ownership: always owned by std::shared_ptr, by the host. The library holds weak pointers, and strong ones
/// only while it dispatches the timer's work or runs one of its callback tasks.
/// Lifetime: the `std::shared_ptr` object given as `interruptData` must outlive the record.
///
/// Units: periods and delays are set in milliseconds; the statistics report seconds.
class TOVRINTIMER_API TimerInfo : public pelk::factory::full::StdShareable {
public:
    /// A stopped single-shot timer without start delay, StartFcn, StopFcn or ErrorFcn.
    ///
    /// \param tovrinSideOfTimerObj the host-language timer object, passed to every callback
    /// \param vornInstance the engine that evaluates the callbacks and is woken when the timer stops
    /// \param interruptData kept by reference, for the host alone; see `getInterruptData`
    TimerInfo(foundation::tovrindata::Array tovrinSideOfTimerObj, std::shared_ptr<vorn::VORN> vornInstance,
        const std::shared_ptr<InterruptStateData>& interruptData);
    ~TimerInfo() override;

    /// By std::shared_ptr.
    pelk::factory::full::SharingType getSharingType() const override;

    /// "StdSharedTimerInfo".
    const char* getFullyQualifiedPelkTypeName() const override;

    /// A copy of what the timer was made with. \throws what copying it does
    foundation::tovrindata::Array getTOVRINSideOfTimerObj();

    /// A share of the engine. Constant.
    std::shared_ptr<vorn::VORN> getVORNInstanceWhereTimerWasFirstCreated();

    /// The host's own object, as it is now: the timer refers to it.
    const std::shared_ptr<InterruptStateData>& getInterruptData() const;

    /// The same engine without a share of it, for who holds the timer.
    friend const std::shared_ptr<vorn::VORN>& engineOf(const TimerInfo& timer)
    {
        return timer.m_vornInstanceWhereTimerWasFirstCreated;
    }

    /// The identity that all the timer's work carries. Constant.
    foundation::msg_svc::exchange::IDType getId() const;

    /// Milliseconds between callbacks, truncated toward zero where they are used. A period below 500.0 raises
    /// the system's timer resolution as the timer starts.
    double getPeriod() const;

    /// What is queued already keeps its due time.
    void setPeriod(double milliseconds);

    /// Milliseconds before the first callback, truncated toward zero where they are used.
    double getStartDelay() const;

    /// For the next start.
    void setStartDelay(double milliseconds);

    /// A `BusyMode`. Any value is kept in its low 32 bits, and given back sign-extended; where it names no mode,
    /// a callback that falls due too early is lost.
    size_t getBusyMode() const;

    /// For the next callback that falls due too early.
    void setBusyMode(size_t busyMode);

    /// An `ExecutionMode`. Any value is kept in its low 32 bits, and given back sign-extended; where it names no
    /// mode, no TimerFcn is run.
    size_t getExecutionMode() const;

    /// For the next TimerFcn that is dispatched. A host changes it while the timer is stopped.
    void setExecutionMode(size_t executionMode);

    /// The number of callbacks in a periodic run. A change while the timer runs takes effect at the next
    /// callback, unless so many have been made already that the current one would be the last.
    size_t getNumOfTasksToExecute() const;

    /// Of a periodic timer; a single shot has one task, whatever stands here.
    void setNumOfTasksToExecute(size_t numOfTasks);

    /// Whether the timer has no StartFcn: then its run begins with the TimerFcn.
    bool getStartFcnIsEmpty();

    /// For the next start.
    void setStartFcnIsEmpty(bool isEmpty);

    /// Whether the timer has no StopFcn: then its run ends without one.
    bool getStopFcnIsEmpty();

    /// A StopFcn that comes as the last callback is being dispatched may be too late for this run.
    void setStopFcnIsEmpty(bool isEmpty);

    /// Whether the timer has no ErrorFcn: then `forceScheduleOfErrorFcn` hands none over.
    bool getErrorFcnIsEmpty();

    /// For the next error.
    void setErrorFcnIsEmpty(bool isEmpty);

    /// From the start until the run has ended: with a StopFcn, until that starts.
    bool getIsRunning() const;

    /// Sets the running flag. Clearing it also posts a do-nothing statement to the engine, each time, so that
    /// host code that waits for the timer wakes and looks.
    ///
    /// \throws whatever the engine's `evalAsync` throws; the flag has been set by then
    void setActivationStatus(bool isRunning);

    /// Counts one run of the TimerFcn, which starts now.
    /// \throws std::system_error if m_statsMutex cannot be locked; nothing is counted then
    void updateTimerFunRunStatus();

    /// How many runs of the TimerFcn have started since the timer did.
    /// \throws std::system_error if m_statsMutex cannot be locked, like the next two
    double getTasksExecuted() const;

    /// Seconds between the starts of the two latest runs; NaN before the second.
    double getInstantPeriod() const;

    /// Seconds. The second run sets it to its period; each later run n makes it
    /// ((n - 1) * average + period) / n. NaN before the second run.
    double getAveragePeriod() const;

    /// Starts counting afresh; the times of the latest runs stay. Takes no lock: only for when no TimerFcn of
    /// this timer is running.
    void reset();

private:
    static void breakOutOfEventLoop(std::shared_ptr<vorn::VORN>& engine);

    // Constant after construction.
    foundation::tovrindata::Array m_tovrinSideOfTimerObj;
    std::shared_ptr<vorn::VORN> m_vornInstanceWhereTimerWasFirstCreated;

    // Shared without a lock.
    Atomic<double> m_period { std::numeric_limits<double>::infinity() };
    Atomic<double> m_startDelay { 0.0 };
    Atomic<bool> m_isRunning { false };
    Atomic<BusyMode> m_busyMode { BusyMode::Drop };
    Atomic<ExecutionMode> m_executionMode { ExecutionMode::SingleShot };
    Atomic<std::uint64_t> m_numOfTasksToExecute { 0 };

    // Guarded by m_statsMutex. Atomic because `reset` writes it without the lock.
    Atomic<std::uint64_t> m_tasksExecuted { 0 };

    // Shared without a lock.
    Atomic<bool> m_startFcnIsEmpty { true };
    Atomic<bool> m_stopFcnIsEmpty { true };
    Atomic<bool> m_errorFcnIsEmpty { true };

    // Constant after construction.
    const foundation::msg_svc::exchange::IDType m_id;

    // Guarded by m_statsMutex: milliseconds of the steady clock, and seconds.
    std::int64_t m_lastRunTime = std::numeric_limits<std::int64_t>::min();
    std::int64_t m_prevRunTime = std::numeric_limits<std::int64_t>::min();
    Atomic<double> m_averagePeriod { std::nan("1") }; // atomic because of `reset`
    mutable Mutex m_statsMutex;

    // A reference on purpose: the record takes no share of the data.
    const std::shared_ptr<InterruptStateData>& m_interruptData;
};

static_assert(Atomic<double>::is_always_lock_free);
static_assert(Atomic<bool>::is_always_lock_free);
static_assert(Atomic<BusyMode>::is_always_lock_free);
static_assert(Atomic<ExecutionMode>::is_always_lock_free);
static_assert(Atomic<std::uint64_t>::is_always_lock_free);

} // namespace tovrintimer
