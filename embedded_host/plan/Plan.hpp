#pragma once

#include "embedded_host/plan/FiringOrder.hpp"
#include "embedded_host/plan/PlanOutput.hpp"
#include "embedded_host/plan/PlanWriter.hpp"
#include "embedded_host/timers/ScriptRunner.hpp"
#include "timer_src/main/Concurrency.hpp"

namespace tovrinhost {

/// What has become of a plan.
struct PlanResult {
    PlanTotals totals;
    PlanEnd end;
    bool hasErrors = false; ///< of the script or a callback, within the plan's span
};

/// Goes with a script from one moment of virtual time to the next, and has each firing written, until the plan's
/// span is over: then it interrupts the script, and what this still does is not told.
///
/// Threading: made and destroyed by the thread that runs the script; it has a virtual thread of its own.
/// Lifetime: the runner's, and all of it the kernel's.
class Plan {
public:
    /// \param result as it is once the plan has been destroyed
    Plan(ScriptRunner& runner, Nanoseconds span, PlanWriter& writer, PlanOutput& output, PlanResult& result);
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;
    ~Plan();

private:
    void follow();
    bool awaitNextMoment();
    void tell(const Firing& firing);
    bool isOver() const { return m_runner.diagnosis().log().now() == lastMoment(); }
    Nanoseconds lastMoment() const { return m_end - 1; }
    Nanoseconds now() const;

    ScriptRunner& m_runner;
    const Inquiry m_inquiry;
    const Nanoseconds m_end; // of the span, which this moment does not belong to
    PlanWriter& m_writer;
    PlanOutput& m_output;
    PlanResult& m_result;
    FiringOrder m_order;

    tovrintimer::Mutex m_mutex;
    tovrintimer::ConditionVariable m_changed;
    bool m_hasEnded = false; // the script; guarded by m_mutex
    tovrintimer::Thread m_thread;
};

} // namespace tovrinhost
