#include "embedded_host/diagnosis/FiringLog.hpp"

#include "timer_src/main/Concurrency.hpp"

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

namespace tovrinhost {

using tovrintimer::DropReason;
using tovrintimer::ObservedWork;
using tovrintimer::ofThisThread;

namespace {

/// What a thread dispatches.
struct Dispatching {
    std::uint64_t work = 0; ///< the library's number of what it has in hand; 0: nothing
    std::uint64_t number = 0; ///< of the firing that it belongs to
    Nanoseconds firstDue = 0; ///< of that, where attempts of it have been dropped
    bool isTimerFcn = false;
    std::uint64_t queued = 0; ///< the library's number of what it queued last

    Nanoseconds handedOver = 0; ///< when it handed over what it had in hand before; 0 if it did not
    std::uint64_t knownThen = 0; ///< what has no higher number than this had been queued by then
};

} // namespace

Nanoseconds dueOf(tovrintimer::DueTime moment)
{
    constexpr Nanoseconds millisecond = 1'000'000;
    constexpr Nanoseconds latest = std::numeric_limits<Nanoseconds>::max();
    const std::int64_t due = moment.time_since_epoch().count();
    return due > latest / millisecond ? latest : due * millisecond;
}

Nanoseconds FiringLog::steadyClock() noexcept
{
    return std::chrono::nanoseconds(tovrintimer::SteadyClock::now().time_since_epoch()).count();
}

FiringLog::FiringLog(Clock clock, Purpose purpose)
    : m_clock(clock)
    , m_timesHandOver(purpose == Purpose::Explanations)
    , m_beginning(clock())
    , m_mask((purpose == Purpose::Explanations ? capacity : capacityForEvents) - 1)
    , m_dispatches(m_mask + 1)
    , m_callbacks(m_mask + 1)
    , m_drops(capacity)
    , m_pasts(capacity)
    , m_dropped(capacity)
    , m_interpreter(2 * (m_mask + 1))
{
}

FiringLog::~FiringLog()
{
    ofThisThread<Dispatching>() = {}; // it is of this log, and there may be another
}

// ---- The library

void FiringLog::queued(const ObservedWork& work) noexcept
{
    ofThisThread<Dispatching>().queued = work.number;
}

void FiringLog::dispatched(const ObservedWork& work) noexcept
{
    const Nanoseconds due = dueOf(work.due);
    const Nanoseconds at = turnedTo(work, due);
    auto& dispatching = ofThisThread<Dispatching>();
    dispatching.work = work.number;
    dispatching.isTimerFcn = work.kind == tovrintimer::TimerFcnWork;
    const DropSlot* const drop = dropBefore(work);
    dispatching.firstDue = drop == nullptr ? 0 : drop->firstDue();
    dispatching.number = drop == nullptr ? begin(work, due, at) : goOn(*drop, work, due, at);
}

void FiringLog::handedOver(const ObservedWork& /*work*/) noexcept
{
    ofThisThread<Dispatching>().work = 0;
}

void FiringLog::dropped(const ObservedWork& work, DropReason why) noexcept
{
    auto& dispatching = ofThisThread<Dispatching>();
    const bool isInHand = std::exchange(dispatching.work, 0) == work.number;
    dispatching.handedOver = 0;
    std::uint64_t number = dispatching.number;
    if (!isInHand) {
        const DropSlot* const drop = dropBefore(work);
        number = drop == nullptr ? begin(work, dueOf(work.due), 0) : goOn(*drop, work, dueOf(work.due), 0);
    }
    if (why != DropReason::BusyModeDrop) {
        refuse(number, Stage::Refused, why);
        return;
    }
    if (DropSlot& drop = dropOf(number); drop.isOf(number)) {
        drop.setWork(work.number);
    } else {
        drop.begin(number, dueOf(work.due), work.number);
    }
    dispatchOf(number).drop();
    m_dropped[work.number % capacity].set(static_cast<std::int64_t>(number));
}

// ---- The host

void FiringLog::hostHasIt(TaskNote& note) noexcept
{
    auto& dispatching = ofThisThread<Dispatching>();
    if (dispatching.work == 0) {
        return;
    }
    DispatchSlot& slot = dispatchOf(dispatching.number);
    note.number = dispatching.number;
    note.isTimerFcn = dispatching.isTimerFcn;
    note.due = slot.due();
    if (dispatching.firstDue != 0) {
        note.sinceDrop = std::max<Nanoseconds>(1, slot.dispatched() - dispatching.firstDue);
    }
    note.taken = m_timesHandOver ? m_clock() : slot.dispatched();
    slot.take(note.taken);
    dispatching.handedOver = note.taken;
    dispatching.knownThen = std::max(dispatching.queued, dispatching.work);
}

void FiringLog::discarded(const TaskNote& note) noexcept
{
    if (note.number != 0) {
        refuse(note.number, Stage::Discarded, {});
    }
}

FiringLog::Beginning FiringLog::callbackBegins(
    const TaskNote& note, Nanoseconds turned, std::uint64_t run, Nanoseconds period) noexcept
{
    if constexpr (!isFiringLogKept) {
        return {};
    }
    Beginning beginning { note.number, note.due, std::max(turned, note.taken), 0 };
    const InterpreterLog::State outer = m_interpreter.turnTo({ Doing::Callback, note.number }, beginning.started);
    if (note.sinceDrop != 0) {
        beginning.missed = missedFirings(note.sinceDrop, period);
    }
    if (note.number != 0) {
        const bool hasPast = beginning.missed != 0 || outer.number != 0;
        if (hasPast) {
            m_pasts[note.number % capacity].begin(note.number, beginning.missed, outer.number);
        }
        callbackOf(note.number + 3).expect();
        callbackOf(note.number).begin(note.number, beginning.started, run, hasPast);
    }
    return beginning;
}

Nanoseconds FiringLog::callbackEnds(const TaskNote& note, Nanoseconds ended, bool hasFailed) noexcept
{
    if constexpr (!isFiringLogKept) {
        return 0;
    }
    Nanoseconds took = 0;
    std::uint64_t within = 0;
    if (CallbackSlot& slot = callbackOf(note.number); note.number != 0 && slot.isOf(note.number)) {
        slot.end(ended, hasFailed ? Stage::Failed : Stage::Done);
        took = ended - slot.started();
        if (slot.hasPast()) {
            within = m_pasts[note.number % capacity].within();
        }
    }
    m_interpreter.turnTo({ Doing::Host, within }, ended);
    return took;
}

// ---- Whoever wants to know

std::optional<Firing> FiringLog::at(std::uint64_t number) const
{
    const DispatchSlot& dispatch = dispatchOf(number);
    if (number == 0 || !dispatch.isOf(number)) {
        return std::nullopt;
    }
    Firing firing;
    dispatch.readInto(firing);
    const DropSlot& drop = dropOf(number);
    firing.firstDue = drop.isOf(number) ? drop.firstDue() : 0;
    firing.stage = firing.taken != 0 ? Stage::Waiting
        : firing.dispatched != 0     ? Stage::Dispatched
        : firing.firstDue != 0       ? Stage::Dropped
                                     : Stage::Queued;
    if (const CallbackSlot& callback = callbackOf(number); callback.isOf(number)) {
        const Firing waiting = firing;
        callback.readInto(firing);
        if (const PastSlot& past = m_pasts[number % capacity]; callback.hasPast()) {
            firing.missed = past.missed();
            firing.within = past.within();
        }
        // Another firing may have taken the place meanwhile.
        // cppcheck-suppress oppositeInnerCondition
        if (!callback.isOf(number)) {
            firing = waiting;
        }
    }
    // Once this is still there, so was what was read of it.
    return dispatch.isOf(number) ? std::optional(firing) : std::nullopt;
}

// ----

/// \returns the number of the firing
std::uint64_t FiringLog::begin(const ObservedWork& work, Nanoseconds due, Nanoseconds dispatched) noexcept
{
    const std::uint64_t number = m_count.fetch_add(1, std::memory_order_acq_rel) + 1;
    dispatchOf(number + 3).expect();
    dispatchOf(number).begin(number, work, due, dispatched);
    return number;
}

/// Of the firing that was dropped, for which this is another attempt.
/// \returns null where it is none, or nobody knows any more
const DropSlot* FiringLog::dropBefore(const ObservedWork& work) const noexcept
{
    if (work.insteadOf == 0) {
        return nullptr;
    }
    const auto number = static_cast<std::uint64_t>(m_dropped[work.insteadOf % capacity].get());
    const DropSlot& drop = dropOf(number);
    return drop.isOf(number) && drop.work() == work.insteadOf ? &drop : nullptr;
}

/// Begins another attempt of a firing that was dropped: in its place, or where that has been given to another, in
/// a new one. \returns the number of the firing
std::uint64_t FiringLog::goOn(
    const DropSlot& before, const ObservedWork& work, Nanoseconds due, Nanoseconds dispatched) noexcept
{
    const Nanoseconds firstDue = before.firstDue();
    std::uint64_t number = before.number();
    if (DispatchSlot& slot = dispatchOf(number); slot.isOf(number)) {
        slot.beginAgain(due, dispatched);
        dropOf(number).setWork(0);
        return number;
    }
    number = begin(work, due, dispatched);
    dropOf(number).begin(number, firstDue, 0);
    return number;
}

Nanoseconds FiringLog::firstDueOf(const ObservedWork& work) const noexcept
{
    const DropSlot* const drop = dropBefore(work);
    const Nanoseconds firstDue = drop == nullptr ? 0 : drop->firstDue();
    return dropBefore(work) == nullptr ? dueOf(work.due) : firstDue; // it may have been given to another meanwhile
}

/// When this thread turned to it. What was queued, and due, before it was done with the one before has not let it
/// sleep in between.
Nanoseconds FiringLog::turnedTo(const ObservedWork& work, Nanoseconds due) const noexcept
{
    const auto& before = ofThisThread<Dispatching>();
    const bool hasWaited = work.wasQueued && work.number <= before.knownThen
        && work.insteadOf == 0 // else it may have been hastened since
        && due <= before.handedOver;
    return hasWaited ? before.handedOver : m_clock();
}

/// It has come to nothing.
void FiringLog::refuse(std::uint64_t number, Stage stage, DropReason why) noexcept
{
    CallbackSlot& slot = callbackOf(number);
    slot.begin(number, 0, 0, false);
    slot.end(m_clock(), stage, why);
}

std::uint64_t missedFirings(Nanoseconds sinceDrop, Nanoseconds period)
{
    return sinceDrop < 0 || period <= 0 ? 1 : static_cast<std::uint64_t>(sinceDrop / period) + 1;
}

} // namespace tovrinhost
