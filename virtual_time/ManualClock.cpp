#include "virtual_time/ManualClock.hpp"

#include "virtual_time/Kernel.hpp"

#include <stdexcept>
#include <string>
#include <utility>

namespace virtual_time {

namespace {

Kernel::Options optionsOf(const ManualClock::Options& asked)
{
    Kernel::Options options = optionsOfSchedule(asked.schedule);
    options.calendarAtZero = std::chrono::nanoseconds(asked.calendar.time_since_epoch()).count() - options.begin;
    return options;
}

} // namespace

struct ManualClock::State {
    Kernel kernel;
    const Moment begin;
    const std::function<void()> work;

    State(const ManualClock::Options& options, std::function<void()> what)
        : kernel(optionsOf(options))
        , begin(kernel.now())
        , work(std::move(what))
    {
        kernel.begin();
    }
};

ManualClock::ManualClock(std::function<void()> work)
    : ManualClock(std::move(work), Options {})
{
}

ManualClock::ManualClock(std::function<void()> work, const Options& options)
    : m_state(std::make_unique<State>(options, std::move(work)))
{
}

ManualClock::~ManualClock() = default;

ManualClock::Duration ManualClock::now() const
{
    return Duration(m_state->kernel.now() - m_state->begin);
}

void ManualClock::settle()
{
    do {
        m_state->kernel.letOthersRun();
        if (m_state->work) {
            m_state->work();
        }
    } while (m_state->kernel.othersAreReady());
}

std::optional<ManualClock::Duration> ManualClock::nextDue() const
{
    const auto next = m_state->kernel.nextMoment();
    return next ? std::optional(Duration(*next - m_state->begin)) : std::nullopt;
}

void ManualClock::advance(Duration by)
{
    if (by < Duration::zero()) {
        throw std::invalid_argument("a clock cannot advance by " + std::to_string(by.count())
            + " nanoseconds: time never goes back; 0 or more is allowed");
    }
    const Duration end = now() + by;
    settle();
    for (auto next = nextDue(); next && *next <= end; next = nextDue()) {
        moveTo(*next);
    }
    moveTo(end);
}

bool ManualClock::advanceToNext()
{
    settle();
    const auto next = nextDue();
    if (next) {
        moveTo(*next);
    }
    return next.has_value();
}

void ManualClock::moveTo(Duration moment)
{
    m_state->kernel.sleepFor((moment - now()).count());
    settle();
}

} // namespace virtual_time
