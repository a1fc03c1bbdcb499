#pragma once

#include "embedded_host/diagnosis/Firing.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>

namespace tovrinhost {

/// Where the log keeps one firing.
///
/// Threading: the threads that a firing passes through write one after the other, or each to words of its own.
/// Anybody may read at any time: what has been given to another firing meanwhile is noticed. A release store is
/// not moved before what stands in front of it, and an acquiring load not behind what follows: on x86 they are
/// plain.
class FiringSlot {
public:
    enum Word : std::size_t {
        Place, ///< which firing of all it is, counted from 1; 0 for none
        Number,
        TimerFirst,
        TimerSecond,
        Kind,
        StageAndReason,
        Due,
        FirstDue,
        Dispatched,
        Taken,
        PassedOn,
        Started,
        Ended,
        Run,
        Missed,
        Within,
    };

    void set(Word word, std::int64_t value)
    {
        std::atomic_ref(m_words[word]).store(value, std::memory_order_release);
    }
    std::int64_t get(Word word) const { return std::atomic_ref(m_words[word]).load(std::memory_order_acquire); }

    void setStage(Stage stage, tovrintimer::DropReason reason = tovrintimer::DropReason::BusyModeDrop)
    {
        set(StageAndReason, static_cast<int>(stage) + (static_cast<int>(reason) * reasonUnit));
    }

    Stage stage() const { return static_cast<Stage>(get(StageAndReason) % reasonUnit); }

    /// Gives it to a firing.
    /// \param place which one of all; never 0
    void begin(std::uint64_t place, const tovrintimer::ObservedWork& work, Nanoseconds due, bool isQueued)
    {
        set(Place, 0);
        set(Number, static_cast<std::int64_t>(work.number));
        set(TimerFirst, work.timer.first);
        set(TimerSecond, work.timer.second);
        set(Kind, static_cast<int>(work.kind) + (isQueued ? queuedUnit : 0));
        setStage(Stage::Queued);
        set(Due, due);
        for (std::size_t word = FirstDue; word <= Within; ++word) {
            set(static_cast<Word>(word), 0);
        }
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
        firing.number = static_cast<std::uint64_t>(get(Number));
        firing.timer = { get(TimerFirst), get(TimerSecond) };
        firing.kind = static_cast<tovrintimer::WorkKind>(get(Kind) % queuedUnit);
        firing.wasQueued = get(Kind) >= queuedUnit;
        const std::int64_t stageAndReason = get(StageAndReason); // before what led to it
        firing.stage = static_cast<Stage>(stageAndReason % reasonUnit);
        firing.reason = static_cast<tovrintimer::DropReason>(stageAndReason / reasonUnit);
        firing.due = get(Due);
        firing.firstDue = get(FirstDue);
        firing.dispatched = get(Dispatched);
        firing.taken = get(Taken);
        firing.passedOn = get(PassedOn);
        firing.started = get(Started);
        firing.ended = get(Ended);
        firing.run = static_cast<std::uint64_t>(get(Run));
        firing.missed = static_cast<std::uint64_t>(get(Missed));
        firing.within = static_cast<std::uint64_t>(get(Within));
        return isAt(place) ? std::optional(firing) : std::nullopt;
    }

private:
    static constexpr int reasonUnit = 256;
    static constexpr int queuedUnit = 16;

    // Not atomics, but used as such: the log's memory comes as zeros from the system, which gives it page by page.
    mutable std::array<std::int64_t, Within + 1> m_words;
};

static_assert(std::is_trivially_default_constructible_v<FiringSlot> && sizeof(FiringSlot) == 128);
static_assert(std::atomic_ref<std::int64_t>::is_always_lock_free);

} // namespace tovrinhost
