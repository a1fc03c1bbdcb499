#include "embedded_host/diagnosis/FiringLog.hpp"

#include "timer_src/main/Concurrency.hpp"

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>

namespace tovrinhost {

using tovrintimer::DropReason;
using tovrintimer::ObservedWork;
using tovrintimer::ofThisThread;

namespace {

/// What a thread dispatches.
struct Dispatching {
    std::uint64_t number = 0; ///< of what it has in hand; 0: nothing
    DispatchSlot* slot = nullptr;

    Nanoseconds latest = 0; ///< when it handed over what it had in hand before; 0 if it did not
    std::uint64_t countThen = 0; ///< how many firings there were by then
};

Nanoseconds dueOf(const ObservedWork& work)
{
    constexpr Nanoseconds millisecond = 1'000'000;
    constexpr Nanoseconds latest = std::numeric_limits<Nanoseconds>::max();
    const std::int64_t due = work.due.time_since_epoch().count();
    return due > latest / millisecond ? latest : due * millisecond;
}

} // namespace

Nanoseconds FiringLog::steadyClock() noexcept
{
    return std::chrono::nanoseconds(tovrintimer::SteadyClock::now().time_since_epoch()).count();
}

FiringLog::FiringLog(Clock clock)
    : m_clock(clock)
    , m_beginning(clock())
    , m_dispatches(makeZeroed<DispatchSlot>(capacity))
    , m_callbacks(makeZeroed<CallbackSlot>(capacity))
    , m_places(makeZeroed<std::uint64_t>(capacity))
{
}

FiringLog::~FiringLog()
{
    ofThisThread<Dispatching>() = {}; // it is of this log, and there may be another
}

// ---- The library

void FiringLog::queued(const ObservedWork& work) noexcept
{
    DispatchSlot* const slot = work.insteadOf == 0 ? nullptr : slotOfChain(work);
    if (slot != nullptr) {
        slot->set(DispatchSlot::Due, dueOf(work));
    } else {
        newSlot(work, true);
    }
}

void FiringLog::dispatched(const ObservedWork& work) noexcept
{
    DispatchSlot& slot = slotFor(work);
    slot.set(DispatchSlot::Due, dueOf(work)); // it may have been hastened
    slot.set(DispatchSlot::Dispatched, dispatchOf(slot, work));
    auto& dispatching = ofThisThread<Dispatching>();
    dispatching.number = work.number;
    dispatching.slot = &slot;
}

void FiringLog::handedOver(const ObservedWork& /*work*/) noexcept
{
    ofThisThread<Dispatching>().number = 0;
}

void FiringLog::dropped(const ObservedWork& work, DropReason why) noexcept
{
    ofThisThread<Dispatching>() = {};
    DispatchSlot& slot = slotFor(work);
    if (why != DropReason::BusyModeDrop) {
        const auto place = static_cast<std::uint64_t>(slot.get(DispatchSlot::Place));
        callbackAt(place).begin(place, 0, 0, 0, 0);
        callbackAt(place).end(m_clock(), Stage::Refused, why);
        return;
    }
    if (slot.get(DispatchSlot::FirstDue) == 0) {
        slot.set(DispatchSlot::FirstDue, dueOf(work));
    }
    slot.set(DispatchSlot::Dispatched, 0);
}

// ---- The host

void FiringLog::hostHasIt(TaskNote& note) noexcept
{
    auto& dispatching = ofThisThread<Dispatching>();
    if (dispatching.number == 0) {
        return;
    }
    DispatchSlot* const slot = dispatching.slot;
    note.number = dispatching.number;
    note.place = static_cast<std::uint64_t>(slot->get(DispatchSlot::Place));
    note.due = slot->get(DispatchSlot::Due);
    if (const Nanoseconds firstDue = slot->get(DispatchSlot::FirstDue); firstDue != 0) {
        note.sinceDrop = std::max<Nanoseconds>(1, slot->get(DispatchSlot::Dispatched) - firstDue);
    }
    note.taken = m_clock();
    slot->set(DispatchSlot::Taken, note.taken);
    dispatching.latest = note.taken;
    dispatching.countThen = count();
}

void FiringLog::discarded(const TaskNote& note) noexcept
{
    if (note.place != 0) {
        callbackAt(note.place).begin(note.place, 0, 0, 0, 0);
        callbackAt(note.place).end(m_clock(), Stage::Discarded);
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
    if (note.place != 0) {
        callbackAt(note.place + 2).expect();
        callbackAt(note.place).begin(note.place, beginning.started, run, beginning.missed, outer.number);
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
    if (CallbackSlot& slot = callbackAt(note.place); note.place != 0 && slot.isAt(note.place)) {
        slot.end(ended, hasFailed ? Stage::Failed : Stage::Done);
        took = ended - slot.get(CallbackSlot::Started);
        within = static_cast<std::uint64_t>(slot.get(CallbackSlot::Within));
    }
    m_interpreter.turnTo({ Doing::Host, within }, ended);
    return took;
}

// ---- Whoever wants to know

std::optional<Firing> FiringLog::at(std::uint64_t place) const
{
    const DispatchSlot& dispatch = dispatchAt(place);
    if (place == 0 || !dispatch.isAt(place)) {
        return std::nullopt;
    }
    Firing firing;
    dispatch.readInto(firing);
    if (const CallbackSlot& callback = callbackAt(place); callback.isAt(place)) {
        const Firing waiting = firing;
        callback.readInto(firing);
        // Another firing may have taken the place meanwhile.
        // cppcheck-suppress oppositeInnerCondition
        if (!callback.isAt(place)) {
            firing = waiting;
        }
    }
    return dispatch.isAt(place) ? std::optional(firing) : std::nullopt;
}

std::optional<Firing> FiringLog::find(std::uint64_t number) const
{
    const auto firing = at(std::atomic_ref(m_places[number % capacity]).load(std::memory_order_acquire));
    return firing && firing->number == number ? firing : std::nullopt;
}

/// \returns null for number 0, and where the log does not hold it
DispatchSlot* FiringLog::slotOf(std::uint64_t number) const noexcept
{
    const std::uint64_t place = std::atomic_ref(m_places[number % capacity]).load(std::memory_order_acquire);
    DispatchSlot& slot = dispatchAt(place);
    return number != 0 && slot.isAt(place) && slot.number() == number ? &slot : nullptr;
}

DispatchSlot& FiringLog::newSlot(const ObservedWork& work, bool isQueued) noexcept
{
    const std::uint64_t place = m_count.fetch_add(1, std::memory_order_acq_rel) + 1;
    DispatchSlot& slot = dispatchAt(place);
    if (m_hasDisplaced.load(std::memory_order_relaxed)) {
        forgetDisplaced(work.timer); // a timer has one TimerFcn queued at most
    }
    dispatchAt(place + 2).expect();
    if (slot.get(DispatchSlot::Taken) == 0) {
        keepIfQueued(slot);
    }
    slot.begin(place, work, dueOf(work), isQueued);
    std::atomic_ref(m_places[work.number % capacity]).store(place, std::memory_order_release);
    return slot;
}

/// Before its place is given to another, one that the host has not been given.
void FiringLog::keepIfQueued(const DispatchSlot& slot) noexcept
{
    const auto place = static_cast<std::uint64_t>(slot.get(DispatchSlot::Place));
    if (place == 0 || slot.get(DispatchSlot::Dispatched) != 0
        || callbackAt(place).isAt(place)) { // it came to nothing
        return;
    }
    Firing firing;
    slot.readInto(firing);
    if (firing.kind != tovrintimer::TimerFcnWork) {
        return;
    }
    try {
        const std::lock_guard lock(m_displacedMutex);
        m_displaced[firing.timer] = firing.due;
        m_hasDisplaced = true;
    } catch (const std::exception&) {
        // There is no memory for it: then it is not known.
    }
}

void FiringLog::forgetDisplaced(const foundation::msg_svc::exchange::IDType& timer) noexcept
{
    const std::lock_guard lock(m_displacedMutex);
    m_displaced.erase(timer);
    m_hasDisplaced = !m_displaced.empty();
}

std::optional<Nanoseconds> FiringLog::dueOfDisplaced(const foundation::msg_svc::exchange::IDType& timer) const
{
    const std::lock_guard lock(m_displacedMutex);
    const auto found = m_displaced.find(timer);
    return found == m_displaced.end() ? std::nullopt : std::optional(found->second);
}

/// That of the dropped firing that this one makes up for: it goes on there.
DispatchSlot* FiringLog::slotOfChain(const ObservedWork& work) noexcept
{
    DispatchSlot* const slot = slotOf(work.insteadOf);
    if (slot != nullptr) {
        const auto place = static_cast<std::uint64_t>(slot->get(DispatchSlot::Place));
        slot->setNumber(work.number);
        std::atomic_ref(m_places[work.number % capacity]).store(place, std::memory_order_release);
    }
    return slot;
}

DispatchSlot& FiringLog::slotFor(const ObservedWork& work) noexcept
{
    if (DispatchSlot* const slot = slotOf(work.number)) {
        return *slot;
    }
    DispatchSlot* const slot = slotOfChain(work);
    return slot != nullptr ? *slot : newSlot(work, false);
}

/// When this thread turned to it. What was queued, and due, before it was done with the one before has not let it
/// sleep in between.
Nanoseconds FiringLog::dispatchOf(const DispatchSlot& slot, const ObservedWork& work) const noexcept
{
    const auto& before = ofThisThread<Dispatching>();
    const bool hasWaited = slot.wasQueued()
        && work.insteadOf == 0 // else it has been queued again, in the same place
        && static_cast<std::uint64_t>(slot.get(DispatchSlot::Place)) <= before.countThen
        && slot.get(DispatchSlot::Due) <= before.latest;
    return hasWaited ? before.latest : m_clock();
}

std::uint64_t missedFirings(Nanoseconds sinceDrop, Nanoseconds period)
{
    return sinceDrop < 0 || period <= 0 ? 1 : static_cast<std::uint64_t>(sinceDrop / period) + 1;
}

} // namespace tovrinhost
