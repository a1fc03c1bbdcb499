#include "embedded_host/plan/Plan.hpp"

#include "host/setCurrentThreadName.hpp"
#include "virtual_time/Kernel.hpp"

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace tovrinhost {

Plan::Plan(ScriptRunner& runner, Nanoseconds span, PlanWriter& writer, PlanOutput& output, PlanResult& result)
    : m_runner(runner)
    , m_inquiry(runner.diagnosis().inquiry())
    , m_end(runner.diagnosis().log().beginning() + span)
    , m_writer(writer)
    , m_output(output)
    , m_result(result)
    , m_order(runner.diagnosis().log())
    , m_thread([this] { follow(); })
{
}

Plan::~Plan() // NOLINT(bugprone-exception-escape): a standstill, which ends the program
{
    {
        const std::lock_guard lock(m_mutex);
        m_hasEnded = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void Plan::follow()
{
    setCurrentThreadName("plan");
    const auto telling = [this](const Firing& firing) { tell(firing); };
    virtual_time::Kernel::current()->letOthersRun();
    m_writer.begin(m_runner.diagnosis().timers().live());
    do {
        m_order.read(telling);
        m_output.flush();
    } while (awaitNextMoment());
    m_order.readRest(telling);
    m_result.end.why = m_runner.isInterrupted() ? PlanEnd::Why::Interrupted
        : isOver()                              ? PlanEnd::Why::Span
                                                : PlanEnd::Why::Script;
    m_result.end.at = now() - m_runner.diagnosis().log().beginning();
    m_result.end.lost = m_order.lost();
    m_result.hasErrors = m_runner.hasErrors();
    if (isOver()) {
        m_runner.interrupt(EXIT_FAILURE);
    }
}

/// \returns whether there is one: not after the end of the script, nor of the span
bool Plan::awaitNextMoment()
{
    using namespace std::chrono;
    virtual_time::Kernel& kernel = *virtual_time::Kernel::current();
    if (isOver()) {
        return false;
    }
    const Nanoseconds next = std::min(kernel.nextMoment().value_or(m_end), lastMoment());
    bool hasEnded = false;
    {
        tovrintimer::Lock lock(m_mutex);
        hasEnded = m_changed.wait_until(
            lock, tovrintimer::SteadyClock::time_point(nanoseconds(next)), [this] { return m_hasEnded; });
    }
    kernel.letOthersRun();
    return !hasEnded;
}

/// As the plan tells it: at its last moment, the end.
Nanoseconds Plan::now() const
{
    return isOver() ? m_end : m_runner.diagnosis().log().now();
}

void Plan::tell(const Firing& firing)
{
    const PlanRow row = rowOf(firing, m_runner.diagnosis(), m_inquiry, now());
    m_writer.write(row);
    m_result.totals.count(row);
}

} // namespace tovrinhost
