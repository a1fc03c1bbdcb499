#include "tests/simulation/model/WorkEvents.hpp"

namespace simulation {

using tovrintimer::DropReason;
using tovrintimer::ObservedWork;

WorkEvents::WorkEvents(const Kernel& kernel, Model& model)
    : m_kernel(kernel)
    , m_model(model)
{
}

void WorkEvents::queued(const ObservedWork& work) noexcept
{
    Told& told = at(work);
    expect(told.state == State::New, "queued twice", work);
    told.state = State::Queued;
    expect(work.wasQueued, "queued, and does not say so", work);
    noteAttempt(work);
}

void WorkEvents::dispatched(const ObservedWork& work) noexcept
{
    Told& told = at(work);
    expect(told.state == State::New || told.state == State::Queued, "dispatched twice", work);
    expectSame(told, work);
    expect(work.wasQueued == (told.state == State::Queued), "says wrongly whether it was queued", work);
    told.state = State::Dispatched;
}

void WorkEvents::handedOver(const ObservedWork& work) noexcept
{
    Told& told = at(work);
    expect(told.state == State::Dispatched, "handed over without a dispatch, or after its end", work);
    expectSame(told, work);
    told.state = State::Ended;
    ++m_handedOver;
}

void WorkEvents::dropped(const ObservedWork& work, DropReason why) noexcept
{
    Told& told = at(work);
    switch (why) {
    case DropReason::BusyModeDrop:
    case DropReason::BusyModeError:
    case DropReason::NoSuchMode:
    case DropReason::NoCallback:
    case DropReason::TimerGone:
    case DropReason::NotHandedOver:
        expect(told.state == State::Dispatched, "dropped by a dispatch that it had not, or after its end", work);
        break;
    case DropReason::RemovedByStop:
    case DropReason::DiscardedByShutdown:
    case DropReason::NotQueued:
        expect(told.state == State::Queued, "taken off the queue where it was not", work);
        break;
    case DropReason::TimerNotRunning:
        expect(told.state == State::New, "not queued after other events", work);
        noteAttempt(work);
        break;
    }
    ++m_dropped[why];
    told.state = State::Ended;
    told.wantsAttempt = why == DropReason::BusyModeDrop;
}

/// The attempt that makes up for a dropped firing is the only one, and of the same timer.
void WorkEvents::noteAttempt(const ObservedWork& work)
{
    if (work.insteadOf == 0) {
        return;
    }
    Told& before = m_told[work.insteadOf];
    expect(before.wantsAttempt, "makes up for what needs it not", work);
    expect(!(before.work.timer < work.timer) && !(work.timer < before.work.timer), "is of another timer", work);
    before.wantsAttempt = false;
}

WorkEvents::Told& WorkEvents::at(const ObservedWork& work)
{
    expect(m_kernel.locksHeld() == 0, "told of with a lock held", work);
    expect(work.number != 0, "without a number", work);
    Told& told = m_told[work.number];
    if (told.state == State::New) {
        told.work = work;
    }
    return told;
}

void WorkEvents::expect(bool holds, const char* what, const ObservedWork& work) const
{
    if (!holds) {
        m_model.fail(
            "piece of work " + std::to_string(work.number) + " (kind " + std::to_string(work.kind) + "): " + what);
    }
}

/// A due time alone may become earlier, in the queue.
void WorkEvents::expectSame(const Told& told, const ObservedWork& work) const
{
    expect(!(told.work.timer < work.timer) && !(work.timer < told.work.timer) && told.work.kind == work.kind
            && told.work.insteadOf == work.insteadOf && work.due <= told.work.due,
        "is another one than before", work);
}

void WorkEvents::checkNothingIsLeft() const
{
    for (const auto& [number, told] : m_told) {
        expect(told.state == State::Ended, "has no end", told.work);
        expect(!told.wantsAttempt, "is dropped without another attempt", told.work);
    }
    if (m_handedOver != m_model.handOvers()) {
        m_model.fail(
            "told of " + std::to_string(m_handedOver) + " hand-overs of " + std::to_string(m_model.handOvers()));
    }
}

void WorkEvents::checkRecords(const std::function<std::size_t(const std::string&)>& records) const
{
    const std::string dropping
        = "Contention With previous timerFcn callback, dropping current TimerFcn, and setting ";
    const auto compare = [&](DropReason why, const char* next) {
        const auto found = m_dropped.find(why);
        const std::size_t told = found == m_dropped.end() ? 0 : found->second;
        if (const std::size_t written = records(dropping + next); written != told) {
            m_model.fail("told of " + std::to_string(told) + " drops, with " + std::to_string(written)
                + " records of setting " + next);
        }
    };
    compare(DropReason::BusyModeDrop, "next TimerFcn to fire immediately");
    compare(DropReason::BusyModeError, "errorFcn to fire immediately");
}

} // namespace simulation
