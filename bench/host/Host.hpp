#pragma once

#include "bench/measure/Thread.hpp"
#include "host/vorn/VORN.hpp"
#include "timer_src/main/TimerInfo.hpp"

#include <functional>
#include <memory>

namespace bench {

// A host that does as little as a host can, so that what is measured is the library.

/// An engine that is given the callback tasks of its timers, and evaluates nothing.
///
/// Threading: as the library calls it; what is measured is behind `take`.
class Engine : public vorn::VORN {
public:
    /// A callback task, on the thread that hands it over. It is dropped unless this keeps a copy.
    virtual void take(const std::function<void()>& task) = 0;

    foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(const std::string& function,
        const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
        cmddistributor::RunOptions options, bool reserved, foundation::msg_svc::exchange::IDType requestId) final;

    /// There is nobody to be woken.
    foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId) final;

    vorn::ContextId getContextId() const final { return 1; }

private:
    /// A callback, inside a task that was run.
    virtual void evaluate() { }
};

/// One that drops the tasks.
class IdleEngine final : public Engine {
public:
    void take(const std::function<void()>& /*task*/) override { }
};

/// What the library's timers are set to here: each callback counts, in a run without an end.
struct TimerSettings {
    std::chrono::milliseconds period { 1 };
    std::chrono::milliseconds startDelay { 0 };
    tovrintimer::ExecutionMode mode = tovrintimer::ExecutionMode::FixedRate;
    tovrintimer::BusyMode busyMode = tovrintimer::BusyMode::Queue;
};

using Timer = std::shared_ptr<tovrintimer::TimerInfo>;

Timer makeTimer(const std::shared_ptr<Engine>& engine, const TimerSettings& settings);
void start(const Timer& timer);
void stop(const Timer& timer);

/// The process's scheduler for the time of one measurement: its end ends the scheduler, with all that is pending.
/// One at a time.
class Scheduler {
public:
    Scheduler() = default;
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;
    ~Scheduler();

    /// Its thread, which has begun with the first work that was queued.
    ThreadProbe thread() const;
};

} // namespace bench
