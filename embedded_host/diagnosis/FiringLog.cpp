#include "embedded_host/diagnosis/FiringLog.hpp"

#include <chrono>
#include <limits>

namespace tovrinhost {

using tovrintimer::DropReason;
using tovrintimer::ObservedWork;

namespace {

/// What is being dispatched on this thread, until the library is done with it.
struct Dispatch {
    std::uint64_t number = 0; ///< 0: nothing
    FiringSlot* slot = nullptr;
};

thread_local Dispatch dispatchedHere;

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
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

FiringLog::FiringLog(Clock clock)
    : m_clock(clock)
    , m_beginning(clock())
    , m_slots(makeZeroed<FiringSlot>(capacity))
    , m_places(makeZeroed<std::uint64_t>(capacity))
{
}

FiringLog::~FiringLog() = default;

// ---- The library

void FiringLog::queued(const ObservedWork& work) noexcept
{
    if (FiringSlot* const slot = slotOfChain(work)) {
        slot->set(FiringSlot::Due, dueOf(work));
    } else {
        newSlot(work, true);
    }
}

void FiringLog::dispatched(const ObservedWork& work) noexcept
{
    FiringSlot* slot = slotOf(work.number);
    if (slot == nullptr) {
        slot = slotOfChain(work);
    }
    if (slot == nullptr) {
        slot = &newSlot(work, false);
    }
    slot->set(FiringSlot::Due, dueOf(work)); // it may have been hastened
    slot->set(FiringSlot::Dispatched, m_clock());
    dispatchedHere = { work.number, slot };
}

void FiringLog::handedOver(const ObservedWork& /*work*/) noexcept
{
    dispatchedHere = {};
}

void FiringLog::dropped(const ObservedWork& work, DropReason why) noexcept
{
    dispatchedHere = {};
    FiringSlot* slot = slotOf(work.number);
    if (slot == nullptr) {
        slot = slotOfChain(work);
    }
    if (slot == nullptr) {
        slot = &newSlot(work, false);
    }
    if (why != DropReason::BusyModeDrop) {
        slot->set(FiringSlot::Ended, m_clock());
        slot->setOutcome(Stage::Refused, why);
        return;
    }
    if (slot->get(FiringSlot::FirstDue) == 0) {
        slot->set(FiringSlot::FirstDue, dueOf(work));
    }
    slot->set(FiringSlot::Dispatched, 0);
}

// ---- The host

std::uint64_t FiringLog::hostHasIt() noexcept
{
    const auto [number, slot] = dispatchedHere;
    if (number != 0) {
        slot->set(FiringSlot::Taken, m_clock());
    }
    return number;
}

void FiringLog::discarded(std::uint64_t number) noexcept
{
    if (FiringSlot* const slot = slotOf(number)) {
        slot->set(FiringSlot::Ended, m_clock());
        slot->setOutcome(Stage::Discarded);
    }
}

FiringLog::Beginning FiringLog::callbackBegins(
    std::uint64_t number, std::uint64_t run, Nanoseconds period) noexcept
{
    Beginning beginning { number, 0, m_clock(), 0 };
    const InterpreterLog::State outer = m_interpreter.turnTo({ Doing::Callback, number }, beginning.started);
    FiringSlot* const slot = slotOf(number);
    if (slot == nullptr) {
        return beginning;
    }
    beginning.due = slot->get(FiringSlot::Due);
    if (const Nanoseconds firstDue = slot->get(FiringSlot::FirstDue); firstDue != 0) {
        beginning.missed = missedFirings(firstDue, slot->get(FiringSlot::Dispatched), period);
        slot->set(FiringSlot::Missed, static_cast<std::int64_t>(beginning.missed));
    }
    slot->set(FiringSlot::Started, beginning.started);
    slot->set(FiringSlot::Run, static_cast<std::int64_t>(run));
    slot->set(FiringSlot::Within, static_cast<std::int64_t>(outer.number));
    return beginning;
}

Nanoseconds FiringLog::callbackEnds(std::uint64_t number, bool hasFailed) noexcept
{
    const Nanoseconds now = m_clock();
    Nanoseconds took = 0;
    std::uint64_t within = 0;
    if (FiringSlot* const slot = slotOf(number)) {
        slot->set(FiringSlot::Ended, now);
        slot->setOutcome(hasFailed ? Stage::Failed : Stage::Done);
        took = now - slot->get(FiringSlot::Started);
        within = static_cast<std::uint64_t>(slot->get(FiringSlot::Within));
    }
    m_interpreter.turnTo({ Doing::Host, within }, now);
    return took;
}

// ---- Whoever wants to know

std::optional<Firing> FiringLog::find(std::uint64_t number) const
{
    const std::uint64_t place = std::atomic_ref(m_places[number % capacity]).load(std::memory_order_acquire);
    const auto firing = place == 0 ? std::nullopt : at(place);
    return firing && firing->number == number ? firing : std::nullopt;
}

FiringSlot* FiringLog::slotOf(std::uint64_t number) const noexcept
{
    const std::uint64_t place = std::atomic_ref(m_places[number % capacity]).load(std::memory_order_acquire);
    FiringSlot& slot = slotAt(place);
    const bool isIt
        = number != 0 && slot.isAt(place) && slot.get(FiringSlot::Number) == static_cast<std::int64_t>(number);
    return isIt ? &slot : nullptr;
}

FiringSlot& FiringLog::newSlot(const ObservedWork& work, bool isQueued) noexcept
{
    const std::uint64_t place = m_count.fetch_add(1, std::memory_order_acq_rel) + 1;
    FiringSlot& slot = slotAt(place);
    slot.begin(place, work, dueOf(work), isQueued);
    std::atomic_ref(m_places[work.number % capacity]).store(place, std::memory_order_release);
    return slot;
}

/// That of the dropped firing that this one makes up for: it goes on there.
FiringSlot* FiringLog::slotOfChain(const ObservedWork& work) noexcept
{
    FiringSlot* const slot = slotOf(work.insteadOf);
    if (slot != nullptr) {
        const auto place = static_cast<std::uint64_t>(slot->get(FiringSlot::Place));
        slot->set(FiringSlot::Number, static_cast<std::int64_t>(work.number));
        std::atomic_ref(m_places[work.number % capacity]).store(place, std::memory_order_release);
    }
    return slot;
}

std::uint64_t missedFirings(Nanoseconds firstDue, Nanoseconds now, Nanoseconds period)
{
    const Nanoseconds since = now - firstDue;
    return since < 0 || period <= 0 ? 1 : static_cast<std::uint64_t>(since / period) + 1;
}

} // namespace tovrinhost
