#pragma once

#include "embedded_host/diagnosis/Firing.hpp"
#include "embedded_host/diagnosis/ZeroedArray.hpp"

#include <array>
#include <cstddef>
#include <cstdint>

namespace tovrinhost {

/// Words that the log keeps of one firing.
///
/// Threading: one thread at a time writes. Anybody may read at any time: the first word tells before and after
/// whose they are, and is 0 while they are being given to another.
template <std::size_t size> class FiringSlot {
public:
    /// It will be written soon: by then the processor is to have it at hand. By the time its turn comes, the log
    /// has long been pushed out of what is near.
    void expect() const noexcept { __builtin_prefetch(&m_words, 1); }

    bool isOf(std::uint64_t number) const { return this->number() == number; }
    std::uint64_t number() const { return static_cast<std::uint64_t>(get(0) / markUnit); }

protected:
    void set(std::size_t word, std::int64_t value) { m_words[word].set(value); }
    std::int64_t get(std::size_t word) const { return m_words[word].get(); }

    /// What stands beside the number: 0 to 31.
    std::int64_t mark() const { return get(0) % markUnit; }

    void giveUp() { set(0, 0); }
    void giveTo(std::uint64_t number, std::int64_t mark = 0)
    {
        set(0, (static_cast<std::int64_t>(number) * markUnit) + mark);
    }

private:
    static constexpr std::int64_t markUnit = 32;

    std::array<SharedWord, size> m_words;
};

/// A firing on its way to the host: written by the thread that dispatches it.
class DispatchSlot : public FiringSlot<6> {
public:
    /// Gives it to a firing.
    /// \param number never 0
    /// \param dispatched 0 if it has not been
    void begin(
        std::uint64_t number, const tovrintimer::ObservedWork& work, Nanoseconds due, Nanoseconds dispatched)
    {
        giveUp();
        set(TimerFirst, work.timer.first);
        set(TimerSecond, work.timer.second);
        set(Due, due);
        set(Dispatched, dispatched);
        set(Taken, 0);
        giveTo(number, static_cast<int>(work.kind) + (work.wasQueued ? queued : 0));
    }

    /// Another attempt of the same firing.
    void beginAgain(Nanoseconds due, Nanoseconds dispatched)
    {
        set(Due, due);
        set(Dispatched, dispatched);
    }

    void drop() { set(Dispatched, 0); }
    void take(Nanoseconds at) { set(Taken, at); }

    Nanoseconds due() const { return get(Due); }
    Nanoseconds dispatched() const { return get(Dispatched); }

    void readInto(Firing& firing) const
    {
        firing.number = number();
        firing.kind = static_cast<tovrintimer::WorkKind>(mark() % queued);
        firing.wasQueued = mark() >= queued;
        firing.timer = { get(TimerFirst), get(TimerSecond) };
        firing.taken = get(Taken); // the latest first, so that what led to it is there
        firing.dispatched = get(Dispatched);
        firing.due = get(Due);
    }

private:
    enum Word : std::size_t {
        TimerFirst = 1,
        TimerSecond,
        Due,
        Dispatched, ///< 0 again once it has been dropped for another attempt
        Taken,
    };

    static constexpr std::int64_t queued = 16;
};

/// Its callback, written by the interpreter thread; or that there was none, written by whoever finds so.
class CallbackSlot : public FiringSlot<4> {
public:
    /// \param hasPast there is a PastSlot of this firing
    void begin(std::uint64_t number, Nanoseconds started, std::uint64_t run, bool hasPast)
    {
        giveUp();
        set(Started, started);
        set(RunAndOutcome, static_cast<std::int64_t>(run) * outcomeUnit);
        giveTo(number, hasPast ? 1 : 0);
    }

    void end(Nanoseconds at, Stage stage, tovrintimer::DropReason reason = tovrintimer::DropReason::BusyModeDrop)
    {
        const std::int64_t outcome = static_cast<int>(stage) + (static_cast<int>(reason) * reasonUnit);
        set(Ended, at);
        set(RunAndOutcome, get(RunAndOutcome) + outcome);
    }

    Nanoseconds started() const { return get(Started); }
    bool hasPast() const { return mark() != 0; }

    void readInto(Firing& firing) const
    {
        const std::int64_t both = get(RunAndOutcome);
        const std::int64_t outcome = both % outcomeUnit;
        firing.started = get(Started);
        firing.ended = outcome == 0 ? 0 : get(Ended);
        firing.stage = outcome == 0 ? Stage::Running : static_cast<Stage>(outcome % reasonUnit);
        firing.reason = static_cast<tovrintimer::DropReason>(outcome / reasonUnit);
        firing.run = static_cast<std::uint64_t>(both / outcomeUnit);
    }

private:
    enum Word : std::size_t {
        Started = 1,
        Ended,
        RunAndOutcome, ///< the stage at which it ended, and why; 0 before
    };

    static constexpr std::int64_t reasonUnit = 16;
    static constexpr std::int64_t outcomeUnit = 256;
};

static_assert(
    static_cast<int>(Stage::Refused) < 16 && static_cast<int>(tovrintimer::DropReason::NotHandedOver) < 16);

/// What only some firings have: attempts that were dropped. Written by the thread that dispatches.
class DropSlot : public FiringSlot<3> {
public:
    /// \param work the library's number of the attempt
    void begin(std::uint64_t number, Nanoseconds firstDue, std::uint64_t work)
    {
        giveUp();
        set(FirstDue, firstDue);
        set(Work, static_cast<std::int64_t>(work));
        giveTo(number);
    }

    /// The attempt that was dropped last; 0: another one is under way.
    void setWork(std::uint64_t work) { set(Work, static_cast<std::int64_t>(work)); }

    Nanoseconds firstDue() const { return get(FirstDue); }
    std::uint64_t work() const { return static_cast<std::uint64_t>(get(Work)); }

private:
    enum Word : std::size_t { FirstDue = 1, Work };
};

/// Likewise: firings that were missed before it, and a callback within which its own ran. Written by the
/// interpreter thread.
class PastSlot : public FiringSlot<3> {
public:
    void begin(std::uint64_t number, std::uint64_t missed, std::uint64_t within)
    {
        giveUp();
        set(Missed, static_cast<std::int64_t>(missed));
        set(Within, static_cast<std::int64_t>(within));
        giveTo(number);
    }

    std::uint64_t missed() const { return static_cast<std::uint64_t>(get(Missed)); }
    std::uint64_t within() const { return static_cast<std::uint64_t>(get(Within)); }

private:
    enum Word : std::size_t { Missed = 1, Within };
};

} // namespace tovrinhost
