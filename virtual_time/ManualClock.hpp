#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

/// The engine over a clock that a test has in its hand.
namespace virtual_time {

/// The time of the engine in the hand of a test. It stands still, but for what the test says; until then, nothing
/// that is due later happens, and what is due happens at its very moment, however long it takes to compute.
///
///     ManualClock clock([&] { host.runWaitingTasks(); });
///     timer->createAndStartWork(...);                     // a period of 1 s
///     clock.advance(3s);                                  // three callbacks, at 1, 2 and 3 s
///     TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
///
/// It is for programs that link `tovrintimer::testing` in place of `tovrintimer::tovrintimer`. There the engine's
/// threads are virtual: they go on while the test waits for them, in a call of this clock or of the engine.
///
/// Threading: the thread that makes it calls everything, the engine too: a host under test runs its tasks there.
/// Ownership: one at a time. The scheduler is cleaned up before the clock goes.
/// Errors: Failure, out of the call that waits, where nothing can ever go on any more; what each thread waits for
/// is in its text.
class ManualClock {
public:
    using Duration = std::chrono::nanoseconds; ///< the engine itself goes by whole milliseconds

    /// What a test may choose.
    struct Options {
        /// Which of the engine's threads goes on where several could, and whether waits end for no reason: 0 has
        /// them take turns, any other number is a schedule of its own, always the same one for the same number.
        std::uint64_t schedule = 0;

        /// What the calendar shows at the beginning.
        std::chrono::sys_seconds calendar { std::chrono::seconds(1'700'000'000) };
    };

    /// \param work the host's: runs the tasks that have been handed to it. Called whenever all of the engine's
    ///        threads wait, and before time moves; none: tasks stay where the host has put them
    explicit ManualClock(std::function<void()> work = nullptr);

    /// The same, with what the test has chosen.
    ManualClock(std::function<void()> work, const Options& options);
    ManualClock(const ManualClock&) = delete;
    ManualClock& operator=(const ManualClock&) = delete;

    /// The engine's threads have ended by then.
    ~ManualClock();

    /// Since it was made.
    Duration now() const;

    /// Until nothing is due any more at this moment, and the host has done its work.
    void settle();

    /// When something is due next; none while nothing is. To be asked after `settle`, or one of the next two.
    std::optional<Duration> nextDue() const;

    /// From one due moment to the next one, settling at each, until so much time has passed.
    /// \throws std::invalid_argument if `by` is negative
    void advance(Duration by);

    /// To the next moment at which something is due, and settles there. \returns whether there is one
    bool advanceToNext();

private:
    struct State;

    void moveTo(Duration moment);

    const std::unique_ptr<State> m_state;
};

} // namespace virtual_time
