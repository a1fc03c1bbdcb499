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
#include <map>
#include <mutex>
#include <optional>

namespace tovrinhost {

/// Whether the log is kept at all. There is a program without it for measurements alone: nobody tells that log of
/// anything, and it is empty.
#ifdef TOVRINHOST_NO_FIRING_LOG
inline constexpr bool isFiringLogKept = false;
#else
inline constexpr bool isFiringLogKept = true;
#endif

/// The latest 32,768 firings of all timers, and what the interpreter thread did meanwhile. Always on: 6 MB, which
/// the system gives as they are used; no lock, no allocation, and of a firing among many that are due together one
/// look at the clock: when the host has it. It was dispatched as the thread was done with the one before; when its
/// callback began and ended, the interpreter's loop has seen.
///
///     library                  dispatching thread          interpreter thread
///     queued, dispatched  -->  hostHasIt              -->  callbackBegins, callbackEnds
///                         -->  handedOver                  or discarded
///     dropped
///
/// A firing's events come one after the other, but for `handedOver`, which its callback may overtake. What the
/// interpreter thread has to know travels with the task. A firing that waits for so long that its place has been
/// given to another gets a new one as it is dispatched; until then, of a TimerFcn, it is kept aside when it is
/// due.
///
/// Threading: as said, and any thread reads.
/// Lifetime: to be forgotten by the library before it goes.
class FiringLog final : public tovrintimer::TimerObserver {
public:
    static constexpr std::size_t capacity = 32'768;

    using Clock = Nanoseconds (*)() noexcept;
    static Nanoseconds steadyClock() noexcept;

    explicit FiringLog(Clock clock = steadyClock);
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

    /// What is told to people counts from here: at first, from when the log was made.
    Nanoseconds beginning() const { return m_beginning.load(std::memory_order_relaxed); }
    void beginNow() { m_beginning.store(m_clock(), std::memory_order_relaxed); }

    /// How many firings there have been. They stand at the places from 1 on to this one; the oldest have gone.
    std::uint64_t count() const { return m_count.load(std::memory_order_acquire); }
    std::optional<Firing> at(std::uint64_t place) const;

    std::optional<Firing> find(std::uint64_t number) const;

    /// When the TimerFcn of this timer is due that has lost its place.
    std::optional<Nanoseconds> dueOfDisplaced(const foundation::msg_svc::exchange::IDType& timer) const;

private:
    void keepIfQueued(const DispatchSlot& slot) noexcept;
    void forgetDisplaced(const foundation::msg_svc::exchange::IDType& timer) noexcept;
    DispatchSlot& dispatchAt(std::uint64_t place) const { return m_dispatches[place % capacity]; }
    CallbackSlot& callbackAt(std::uint64_t place) const { return m_callbacks[place % capacity]; }
    DispatchSlot* slotOf(std::uint64_t number) const noexcept;
    DispatchSlot& newSlot(const tovrintimer::ObservedWork& work, bool isQueued) noexcept;
    DispatchSlot* slotOfChain(const tovrintimer::ObservedWork& work) noexcept;
    DispatchSlot& slotFor(const tovrintimer::ObservedWork& work) noexcept;
    Nanoseconds dispatchOf(const DispatchSlot& slot, const tovrintimer::ObservedWork& work) const noexcept;

    const Clock m_clock;
    std::atomic<Nanoseconds> m_beginning;
    const ZeroedArray<DispatchSlot> m_dispatches;
    const ZeroedArray<CallbackSlot> m_callbacks; // apart, so that the interpreter's memory is its own
    const ZeroedArray<std::uint64_t> m_places; // by number, the latest of those that share one; used as atomics

    mutable std::mutex m_displacedMutex; // taken alone, and only where there is something displaced
    std::map<foundation::msg_svc::exchange::IDType, Nanoseconds> m_displaced; // guarded by it
    std::atomic<bool> m_hasDisplaced { false }; // written under it, read without

    // In cache lines of their own, and so is what stands in front of them, which all threads read: one is written
    // by the threads that queue, the other by the interpreter's, at the same time.
    static constexpr std::size_t cacheLine = 64;
    alignas(cacheLine) std::atomic<std::uint64_t> m_count { 0 };
    alignas(cacheLine) InterpreterLog m_interpreter;
};

/// How many firings a timer has missed in busy mode `Drop` where so much time has passed from when the first was
/// due to the dispatch of the one that makes up for them: those whose moments have passed meanwhile.
std::uint64_t missedFirings(Nanoseconds sinceDrop, Nanoseconds period);

} // namespace tovrinhost
