#pragma once

#include "embedded_host/diagnosis/FiringLog.hpp"
#include "embedded_host/diagnosis/Inquiry.hpp"
#include "embedded_host/diagnosis/InterpreterFollower.hpp"
#include "embedded_host/diagnosis/TimerTable.hpp"

#include <memory>

namespace tovrinhost {

/// All that is kept of the firings of a script's timers, and told to the log by the library for as long as this
/// lives.
///
/// Threading: made and destroyed while the scheduler's thread does not run. For the rest, that of its parts.
/// Lifetime: one at a time in the process.
class Diagnosis {
public:
    /// \param purpose of its log
    explicit Diagnosis(FiringLog::Purpose purpose = FiringLog::Purpose::Explanations);
    Diagnosis(const Diagnosis&) = delete;
    Diagnosis& operator=(const Diagnosis&) = delete;
    ~Diagnosis();

    FiringLog& log() { return m_log; }
    const FiringLog& log() const { return m_log; }
    TimerTable& timers() { return m_timers; }
    const TimerTable& timers() const { return m_timers; }
    InterpreterFollower& follower() { return m_follower; }

    /// What the log's operation of this name does. Interpreter thread, like the next.
    const FiringLog::Beginning& callbackBegins(
        const TaskNote& note, Nanoseconds turned, std::uint64_t run, Nanoseconds period)
    {
        return m_latest = m_log.callbackBegins(note, turned, run, period);
    }

    /// Of the callback that has begun last.
    const FiringLog::Beginning& latest() const { return m_latest; }

    Inquiry inquiry() const;

private:
    FiringLog m_log;
    TimerTable m_timers;
    InterpreterFollower m_follower { m_log };
    FiringLog::Beginning m_latest;
};

} // namespace tovrinhost
