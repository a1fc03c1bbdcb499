#pragma once

#include "host/foundation/msg_svc/exchange/IDType.hpp"
#include "timer_src/main/TimerObserver.hpp"

#include <cstdint>

namespace tovrinhost {

/// A moment, or a span, of the steady clock. Moments count from wherever the clock does; 0 stands for a moment
/// that has not come.
using Nanoseconds = std::int64_t;

inline double toSeconds(Nanoseconds span)
{
    return static_cast<double>(span) / 1e9;
}

/// How far a firing has come, or how it ended.
enum class Stage : std::uint8_t {
    Queued, ///< waits for its due time
    Dropped, ///< another attempt is made as soon as the callback before it has ended
    Dispatched, ///< the scheduler is about to hand it to the host
    Waiting, ///< in the host's queue
    Running,
    Done, ///< its callback has returned
    Failed, ///< its callback has raised an error
    Discarded, ///< the host had taken it, and has thrown it away: its timer was stopped
    Refused, ///< the library did not hand it over, see `reason`
};

constexpr bool isOver(Stage stage)
{
    return stage >= Stage::Done;
}

/// One piece of work of a timer, until its callback has ended.
///
/// In busy mode `Drop`, a firing that is dropped and the attempts that make up for it are one.
///
///     due           dispatched         taken               started       ended
///      |-- wake-up ------|-- dispatching --|-- host's queue ---|-- running --|
struct Firing {
    std::uint64_t number = 0; ///< as they are dispatched, from 1 on; 0 of one that has not been
    foundation::msg_svc::exchange::IDType timer { 0, 0 }; ///< the library's timer, one for each run of a script's
    tovrintimer::WorkKind kind = tovrintimer::TimerFcnWork;
    Stage stage = Stage::Queued;
    tovrintimer::DropReason reason = tovrintimer::DropReason::BusyModeDrop; ///< of one that was refused
    bool wasQueued = false; ///< if not, whoever asked for it dispatched it

    Nanoseconds due = 0; ///< of the latest attempt
    Nanoseconds firstDue = 0; ///< of the first that was dropped; 0 if none was
    Nanoseconds dispatched = 0;
    Nanoseconds taken = 0; ///< the host had it
    Nanoseconds started = 0;
    Nanoseconds ended = 0;

    std::uint64_t run = 0; ///< of a TimerFcn that has started: the how-manieth since its timer was started
    std::uint64_t missed = 0; ///< how many firings of its timer were dropped since the run before
    std::uint64_t within = 0; ///< the number of the firing in whose callback this one ran nested; 0 if in none

    Nanoseconds lateness() const { return started - due; }
};

/// Whether it was work for nobody: as a StopFcn is that its timer does not have.
inline bool isForNobody(const Firing& firing)
{
    return firing.stage == Stage::Refused && firing.reason == tovrintimer::DropReason::NoCallback;
}

/// For the order in which the one that was the latest comes first.
inline bool isLater(const Firing& a, const Firing& b)
{
    return a.lateness() > b.lateness();
}

} // namespace tovrinhost
