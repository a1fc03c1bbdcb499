#pragma once

#include "embedded_host/diagnosis/Firing.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace tovrinhost {

/// Words that the log keeps of one firing, a cache line of them.
///
/// Threading: one thread at a time writes. Anybody may read at any time: the word `Place` tells before and after
/// whose they are, and is 0 while they are being given to another. A release store is not moved before what stands
/// in front of it, and an acquiring load not behind what follows: on x86 they are plain.
class alignas(64) FiringSlot {
public:
    void set(std::size_t word, std::int64_t value)
    {
        std::atomic_ref(m_words[word]).store(value, std::memory_order_release);
    }
    std::int64_t get(std::size_t word) const
    {
        return std::atomic_ref(m_words[word]).load(std::memory_order_acquire);
    }

    /// It will be written soon: by then the processor is to have it at hand. By the time its turn comes, the log
    /// has long been pushed out of what is near.
    void expect() const noexcept { __builtin_prefetch(&m_words, 1); }

    bool isAt(std::uint64_t place) const { return get(0) == static_cast<std::int64_t>(place); }

private:
    // Not atomics, but used as such: the log's memory comes as zeros from the system, which gives it page by page.
    mutable std::array<std::int64_t, 8> m_words;
};

static_assert(std::is_trivially_default_constructible_v<FiringSlot> && sizeof(FiringSlot) == 64);
static_assert(std::atomic_ref<std::int64_t>::is_always_lock_free);

/// A firing on its way to the host: written by the threads that queue and dispatch it, one after the other.
class DispatchSlot : public FiringSlot {
public:
    enum Word : std::size_t {
        Place, ///< which firing of all it is, counted from 1; 0 for none
        NumberAndKind,
        TimerFirst,
        TimerSecond,
        Due,
        FirstDue,
        Dispatched, ///< 0 again once it has been dropped for another attempt
        Taken,
    };

    /// Gives it to a firing.
    /// \param place never 0
    void begin(std::uint64_t place, const tovrintimer::ObservedWork& work, Nanoseconds due, bool isQueued)
    {
        set(Place, 0);
        set(NumberAndKind, withKind(work.number, static_cast<int>(work.kind) + (isQueued ? queuedUnit : 0)));
        set(TimerFirst, work.timer.first);
        set(TimerSecond, work.timer.second);
        set(Due, due);
        set(FirstDue, 0);
        set(Dispatched, 0);
        set(Taken, 0);
        set(Place, static_cast<std::int64_t>(place));
    }

    bool wasQueued() const { return get(NumberAndKind) % numberUnit >= queuedUnit; }
    std::uint64_t number() const { return static_cast<std::uint64_t>(get(NumberAndKind) / numberUnit); }

    /// Of a later attempt of the same firing.
    void setNumber(std::uint64_t number) { set(NumberAndKind, withKind(number, get(NumberAndKind) % numberUnit)); }

    void readInto(Firing& firing) const
    {
        const std::int64_t kind = get(NumberAndKind) % numberUnit;
        firing.number = number();
        firing.kind = static_cast<tovrintimer::WorkKind>(kind % queuedUnit);
        firing.wasQueued = wasQueued();
        firing.timer = { get(TimerFirst), get(TimerSecond) };
        firing.taken = get(Taken); // the latest first, so that what led to it is there
        firing.dispatched = get(Dispatched);
        firing.firstDue = get(FirstDue);
        firing.due = get(Due);
        firing.stage = firing.taken != 0 ? Stage::Waiting
            : firing.dispatched != 0     ? Stage::Dispatched
            : firing.firstDue != 0       ? Stage::Dropped
                                         : Stage::Queued;
    }

private:
    static constexpr std::int64_t queuedUnit = 16;
    static constexpr std::int64_t numberUnit = 32;

    static std::int64_t withKind(std::uint64_t number, std::int64_t kind)
    {
        return (static_cast<std::int64_t>(number) * numberUnit) + kind;
    }
};

/// Its callback, written by the interpreter thread; or that there was none, written by whoever finds so.
class CallbackSlot : public FiringSlot {
public:
    enum Word : std::size_t {
        Place, ///< as above
        Started,
        Ended,
        Outcome, ///< the stage at which it ended, and why; 0 before
        Run,
        Missed,
        Within,
    };

    void begin(
        std::uint64_t place, Nanoseconds started, std::uint64_t run, std::uint64_t missed, std::uint64_t within)
    {
        set(Place, 0);
        set(Started, started);
        set(Outcome, 0);
        set(Run, static_cast<std::int64_t>(run));
        set(Missed, static_cast<std::int64_t>(missed));
        set(Within, static_cast<std::int64_t>(within));
        set(Place, static_cast<std::int64_t>(place));
    }

    void end(Nanoseconds at, Stage stage, tovrintimer::DropReason reason = tovrintimer::DropReason::BusyModeDrop)
    {
        set(Ended, at);
        set(Outcome, static_cast<int>(stage) + (static_cast<int>(reason) * reasonUnit));
    }

    void readInto(Firing& firing) const
    {
        const std::int64_t outcome = get(Outcome);
        firing.started = get(Started);
        firing.ended = outcome == 0 ? 0 : get(Ended);
        firing.stage = outcome == 0 ? Stage::Running : static_cast<Stage>(outcome % reasonUnit);
        firing.reason = static_cast<tovrintimer::DropReason>(outcome / reasonUnit);
        firing.run = static_cast<std::uint64_t>(get(Run));
        firing.missed = static_cast<std::uint64_t>(get(Missed));
        firing.within = static_cast<std::uint64_t>(get(Within));
    }

private:
    static constexpr int reasonUnit = 256;
};

} // namespace tovrinhost
