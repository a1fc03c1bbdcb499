#include "timer_src/main/Observation.hpp"

#include "timer_src/main/TimerScheduler.hpp"

namespace tovrintimer {

namespace {

Atomic<std::uint64_t> latestNumber { 0 };

} // namespace

TimerObserver::~TimerObserver() = default;

void TimerScheduler::setObserver(TimerObserver* observer) noexcept
{
    observation::observer.store(observer, std::memory_order_release);
}

std::uint64_t observation::newNumber() noexcept
{
    return ++latestNumber;
}

ObservedWork observation::describe(const WorkItemVariant& work) noexcept
{
    return boost::apply_visitor([](const auto& item) { return describe(item); }, work);
}

Discards::Discards(DropReason why) noexcept
    : m_observer(observation::current())
    , m_why(why)
{
}

void Discards::note(const WorkItemVariant& work) noexcept
{
    const ObservedWork described = observation::describe(work);
    if (described.number == 0) {
        return; // queued before there was an observer
    }
    try {
        m_works.push_back(described);
    } catch (...) {
        // The queue is emptied all the same.
    }
}

void Discards::tell() const noexcept
{
    for (const ObservedWork& work : m_works) {
        m_observer->dropped(work, m_why);
    }
}

} // namespace tovrintimer
