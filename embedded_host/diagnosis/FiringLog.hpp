#pragma once

#include "embedded_host/diagnosis/Firing.hpp"
#include "embedded_host/diagnosis/FiringSlots.hpp"
#include "embedded_host/diagnosis/InterpreterLog.hpp"
#include "embedded_host/diagnosis/ZeroedArray.hpp"
#include "embedded_host/engine/TaskOwner.hpp"
#include "timer_src/main/TimerObserver.hpp"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace tovrinhost {

/// Whether the log is kept at all. There is a program without it for measurements alone: nobody tells that log of
/// anything, and it is empty.
#ifdef TOVRINHOST_NO_FIRING_LOG
inline constexpr bool isFiringLogKept = false;
#else
inline constexpr bool isFiringLogKept = true;
#endif

/// The latest 32,768 firings of all timers, and what the interpreter thread did meanwhile. Always on: 4 MB, which
/// the system gives as they are used, and 2 more for what only some firings have; no lock, no allocation, and of a
/// firing among many that are due together one look at the clock: when the host has it. It was dispatched as the
/// thread was done with the one before; when its callback began and ended, the interpreter's loop has seen.
///
///     library          dispatching thread          interpreter thread
///     dispatched  -->  hostHasIt              -->  callbackBegins, callbackEnds
///                 -->  handedOver                  or discarded
///     dropped
///
/// A firing comes here as it is dispatched, or as it is dropped without that: what is queued, the library's queue
/// tells. Its events come one after the other, but for `handedOver`, which its callback may overtake. What the
/// interpreter thread has to know travels with the task.
///
/// Threading: as said, and any thread reads.
/// Lifetime: to be forgotten by the library before it goes.
class FiringLog final : public tovrintimer::TimerObserver {
public:
    static constexpr std::size_t capacity = 32'768;

    enum class Purpose {
        Explanations, ///< whoever asks later is told each moment
        Events, ///< each callback is told of itself: few firings, and that the host had it is not timed apart
    };
    static constexpr std::size_t capacityForEvents = 256; // which stays in what is near to the processor

    using Clock = Nanoseconds (*)() noexcept;
    static Nanoseconds steadyClock() noexcept;

    explicit FiringLog(Clock clock = steadyClock, Purpose purpose = Purpose::Explanations);
    ~FiringLog() override;

    // ---- The library
    void queued(const tovrintimer::ObservedWork& work) noexcept override;
    void dispatched(const tovrintimer::ObservedWork& work) noexcept override;
    void handedOver(const tovrintimer::ObservedWork& work) noexcept override;
    void dropped(const tovrintimer::ObservedWork& work, tovrintimer::DropReason why) noexcept override;

    // ---- The host

    /// The host is given the task of what was dispatched last on this thread.
    /// \param note all but its mark is set
    void hostHasIt(TaskNote& note) noexcept;

    /// The host has thrown the task away.
    void discarded(const TaskNote& note) noexcept;

    /// What there is to know as a callback begins.
    struct Beginning {
        std::uint64_t number = 0;
        Nanoseconds due = 0; ///< 0 if nobody has told of its firing
        Nanoseconds started = 0;
        std::uint64_t missed = 0;

        Nanoseconds lateness() const { return due == 0 ? 0 : started - due; }
    };

    /// \param turned when the interpreter turned to it; where the task came later, it did so as it came
    /// \param run of a TimerFcn, the how-manieth since the timer's start; else 0
    /// \param period what lies between two firings of its timer, for the number of those that were dropped
    Beginning callbackBegins(
        const TaskNote& note, Nanoseconds turned, std::uint64_t run, Nanoseconds period) noexcept;

    /// \returns how long it took; 0 if the log does not hold it any more
    Nanoseconds callbackEnds(const TaskNote& note, Nanoseconds ended, bool hasFailed) noexcept;

    InterpreterLog& interpreter() { return m_interpreter; }
    const InterpreterLog& interpreter() const { return m_interpreter; }

    // ---- Whoever wants to know
    Nanoseconds now() const noexcept { return m_clock(); }

    /// When this piece of work is due, or was: where it makes up for a firing that was dropped, as that was.
    Nanoseconds firstDueOf(const tovrintimer::ObservedWork& work) const noexcept;

    /// What is told to people counts from here: at first, from when the log was made.
    Nanoseconds beginning() const { return m_beginning.load(std::memory_order_relaxed); }
    void beginNow() { m_beginning.store(m_clock(), std::memory_order_relaxed); }

    /// How many firings there have been. Their numbers go from 1 on to this one; the oldest have gone.
    std::uint64_t count() const { return m_count.load(std::memory_order_acquire); }
    std::optional<Firing> at(std::uint64_t number) const;

private:
    DispatchSlot& dispatchOf(std::uint64_t number) const { return m_dispatches[number & m_mask]; }
    CallbackSlot& callbackOf(std::uint64_t number) const { return m_callbacks[number & m_mask]; }
    DropSlot& dropOf(std::uint64_t number) const { return m_drops[number % capacity]; }
    std::uint64_t begin(const tovrintimer::ObservedWork& work, Nanoseconds due, Nanoseconds dispatched) noexcept;
    const DropSlot* dropBefore(const tovrintimer::ObservedWork& work) const noexcept;
    std::uint64_t goOn(const DropSlot& before, const tovrintimer::ObservedWork& work, Nanoseconds due,
        Nanoseconds dispatched) noexcept;
    Nanoseconds turnedTo(const tovrintimer::ObservedWork& work, Nanoseconds due) const noexcept;
    void refuse(std::uint64_t number, Stage stage, tovrintimer::DropReason why) noexcept;

    const Clock m_clock;
    const bool m_timesHandOver;
    std::atomic<Nanoseconds> m_beginning;
    const std::uint64_t m_mask; // of a number, what tells its place
    const ZeroedArray<DispatchSlot> m_dispatches;
    const ZeroedArray<CallbackSlot> m_callbacks; // apart, so that the interpreter's memory is its own

    // Only for those that have it: memory that is not used is none.
    const ZeroedArray<DropSlot> m_drops;
    const ZeroedArray<PastSlot> m_pasts;
    const ZeroedArray<SharedWord> m_dropped; // by the library's numbers, which firing's attempt was dropped last

    // In cache lines of their own, and so is what stands in front of them, which all threads read: one is written
    // by the threads that queue, the other by the interpreter's, at the same time.
    static constexpr std::size_t cacheLine = 64;
    alignas(cacheLine) std::atomic<std::uint64_t> m_count { 0 };
    alignas(cacheLine) InterpreterLog m_interpreter;
};

/// In nanoseconds, or the end of what they reach to.
Nanoseconds dueOf(tovrintimer::DueTime moment);

/// How many firings a timer has missed in busy mode `Drop` where so much time has passed from when the first was
/// due to the dispatch of the one that makes up for them: those whose moments have passed meanwhile.
std::uint64_t missedFirings(Nanoseconds sinceDrop, Nanoseconds period);

} // namespace tovrinhost
