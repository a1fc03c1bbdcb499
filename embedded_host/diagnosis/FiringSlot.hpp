#pragma once

#include "embedded_host/diagnosis/Firing.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>

namespace tovrinhost {

/// Where the log keeps one firing: the words that a dispatch writes in one cache line, those that its callback
/// writes in another. What it is at, its words tell together.
///
/// Threading: the threads that a firing passes through write one after the other, or each to words of its own.
/// Anybody may read at any time: what has been given to another firing meanwhile is noticed. A release store is
/// not moved before what stands in front of it, and an acquiring load not behind what follows: on x86 they are
/// plain.
class alignas(64) FiringSlot {
public:
    enum Word : std::size_t {
        Place, ///< which firing of all it is, counted from 1; 0 for none
        Number,
        TimerFirst,
        TimerSecond,
        Kind, ///< and whether it was queued
        Due,
        Dispatched, ///< 0 again once it has been dropped for another attempt
        Taken,
        FirstDue,
        Started,
        Ended,
        Outcome, ///< the stage at which it ended, and why
        Run,
        Missed,
        Within,
    };

    void set(Word word, std::int64_t value)
    {
        std::atomic_ref(m_words[word]).store(value, std::memory_order_release);
    }
    std::int64_t get(Word word) const { return std::atomic_ref(m_words[word]).load(std::memory_order_acquire); }

    void setOutcome(Stage stage, tovrintimer::DropReason reason = tovrintimer::DropReason::BusyModeDrop)
    {
        set(Outcome, static_cast<int>(stage) + (static_cast<int>(reason) * reasonUnit));
    }

    /// Gives it to a firing.
    /// \param place which one of all; never 0
    void begin(std::uint64_t place, const tovrintimer::ObservedWork& work, Nanoseconds due, bool isQueued)
    {
        set(Place, 0);
        set(Number, static_cast<std::int64_t>(work.number));
        set(TimerFirst, work.timer.first);
        set(TimerSecond, work.timer.second);
        set(Kind, static_cast<int>(work.kind) + (isQueued ? queuedUnit : 0));
        set(Due, due);
        set(Dispatched, 0);
        set(Taken, 0);
        set(FirstDue, 0);
        set(Started, 0);
        set(Ended, 0);
        set(Outcome, 0);
        set(Run, 0);
        set(Missed, 0);
        set(Within, 0);
        set(Place, static_cast<std::int64_t>(place));
    }

    bool isAt(std::uint64_t place) const { return get(Place) == static_cast<std::int64_t>(place); }

    /// \returns nothing if it is another's
    std::optional<Firing> read(std::uint64_t place) const
    {
        if (!isAt(place)) {
            return std::nullopt;
        }
        Firing firing;
        const std::int64_t outcome = get(Outcome); // the latest first, so that what led to it is there
        firing.ended = outcome == 0 ? 0 : get(Ended);
        firing.started = get(Started);
        firing.taken = get(Taken);
        firing.dispatched = get(Dispatched);
        firing.firstDue = get(FirstDue);
        firing.stage = outcome != 0 ? static_cast<Stage>(outcome % reasonUnit) : stageOf(firing);
        firing.reason = static_cast<tovrintimer::DropReason>(outcome / reasonUnit);
        firing.number = static_cast<std::uint64_t>(get(Number));
        firing.timer = { get(TimerFirst), get(TimerSecond) };
        firing.kind = static_cast<tovrintimer::WorkKind>(get(Kind) % queuedUnit);
        firing.wasQueued = get(Kind) >= queuedUnit;
        firing.due = get(Due);
        firing.run = static_cast<std::uint64_t>(get(Run));
        firing.missed = static_cast<std::uint64_t>(get(Missed));
        firing.within = static_cast<std::uint64_t>(get(Within));
        return isAt(place) ? std::optional(firing) : std::nullopt;
    }

private:
    /// Of one that is not over.
    static Stage stageOf(const Firing& firing)
    {
        if (firing.started != 0) {
            return Stage::Running;
        }
        if (firing.taken != 0) {
            return Stage::Waiting;
        }
        if (firing.dispatched != 0) {
            return Stage::Dispatched;
        }
        return firing.firstDue != 0 ? Stage::Dropped : Stage::Queued;
    }

    static constexpr int reasonUnit = 256;
    static constexpr int queuedUnit = 16;

    // Not atomics, but used as such: the log's memory comes as zeros from the system, which gives it page by page.
    mutable std::array<std::int64_t, Within + 1> m_words;
};

static_assert(std::is_trivially_default_constructible_v<FiringSlot> && sizeof(FiringSlot) == 128);
static_assert(std::atomic_ref<std::int64_t>::is_always_lock_free);

} // namespace tovrinhost
