#pragma once

#include "embedded_host/diagnosis/FiringLog.hpp"
#include "embedded_host/diagnosis/TimerTable.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace tovrinhost {

/// Events and moments as a test says, in milliseconds.
constexpr Nanoseconds ms = 1'000'000;

inline Nanoseconds madeUpNow = 0;

inline Nanoseconds madeUpClock() noexcept
{
    return madeUpNow;
}

inline TimerTable::Identity timerNumber(std::int64_t number)
{
    return { 7, number };
}

inline tovrintimer::ObservedWork work(std::uint64_t number, std::int64_t timer, std::int64_t dueMilliseconds,
    std::uint64_t insteadOf = 0, tovrintimer::WorkKind kind = tovrintimer::TimerFcnWork)
{
    const tovrintimer::DueTime due { tovrintimer::DueTime::duration(dueMilliseconds) };
    return { number, insteadOf, timerNumber(timer), kind, due, true };
}

/// As it is where whoever asks for it dispatches it.
inline tovrintimer::ObservedWork forced(tovrintimer::ObservedWork work)
{
    work.wasQueued = false;
    return work;
}

/// What the host notes of the task that it has been given.
inline TaskNote noteOf(FiringLog& log)
{
    TaskNote note;
    log.hostHasIt(note);
    return note;
}

/// "poll" is timer 1, "hog" timer 2.
inline TimerTable::Description describe(const TimerTable::Identity& timer)
{
    const auto description = [](std::uint64_t number, std::string name, std::string settings, std::string place) {
        TimerDescription made;
        made.number = number;
        made.name = std::move(name);
        made.settings = std::move(settings);
        made.period = 100 * ms;
        made.places[2] = std::move(place);
        return made;
    };
    static const auto poll = std::make_shared<const TimerDescription>(
        description(1, "poll", "FixedRate, Drop, 0.1 s", "script.lua:3"));
    static const auto hog = std::make_shared<const TimerDescription>(
        description(2, "hog", "FixedRate, Queue, 0.1 s", "script.lua:5"));
    return timer.second == 1 ? poll : timer.second == 2 ? hog : nullptr;
}

/// A log whose clock is the test's, and the host that gives it its tasks.
class MadeUpLogTest : public testing::Test {
protected:
    static void at(Nanoseconds milliseconds) { madeUpNow = milliseconds * ms; }

    /// From the queue to the host.
    void hand(const tovrintimer::ObservedWork& handed)
    {
        m_log.queued(handed);
        m_log.dispatched(handed);
        EXPECT_NE(hostHasIt(), 0U);
        m_log.handedOver(handed);
    }

    /// \returns the number of the firing
    std::uint64_t hostHasIt()
    {
        const TaskNote note = noteOf(m_log);
        m_notes[note.number] = note;
        return note.number;
    }

    std::map<std::uint64_t, TaskNote> m_notes; // by the number of the firing
    FiringLog m_log { (madeUpNow = 0, madeUpClock) };
};

} // namespace tovrinhost
