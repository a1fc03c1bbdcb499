#pragma once

#include "embedded_host/diagnosis/Activity.hpp"
#include "embedded_host/diagnosis/ZeroedArray.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace tovrinhost {

/// What the interpreter thread has been doing: the moments at which it turned to something else, the latest 65,536
/// of them (1.5 MB). Where it goes from one callback to the next at the same moment, that is one of them.
///
/// Threading: `turnTo` and `now`, the interpreter thread; `since`, any thread.
class InterpreterLog {
public:
    static constexpr std::size_t capacity = 65'536;

    /// What it is at. Idle and Host: in the callback with this number, which pauses or waits; 0 if in none.
    struct State {
        Doing doing = Doing::Host;
        std::uint64_t number = 0;
    };

    /// \param held how many moments it holds; a power of two
    explicit InterpreterLog(std::size_t held = capacity);

    State now() const noexcept { return m_state; }

    /// \param line of what it turns away from; 0 where nobody knows
    /// \returns what it was at, for the turn back
    State turnTo(State next, Nanoseconds at, int line = 0) noexcept
    {
        const std::uint64_t count = m_count.load(std::memory_order_relaxed);
        if (next.doing == Doing::Callback && m_state.doing == Doing::Host && at == m_turned && count > 0) {
            // One word, so that no reader sees half of it.
            m_moments[(count - 1) & m_mask][DoingAndNumber].set(codeOf(next));
            return std::exchange(m_state, next);
        }
        m_turned = at;
        Moment& moment = m_moments[count & m_mask];
        __builtin_prefetch(&m_moments[(count + ahead) & m_mask], 1); // it has long been pushed out of what is near
        moment[At].set(at);
        moment[DoingAndNumber].set(codeOf(next));
        moment[Line].set(line);
        m_count.store(count + 1, std::memory_order_release);
        return std::exchange(m_state, next);
    }

    /// What it was at from `from` on until now, without a gap, the oldest first. What the log does not hold any
    /// more, and what was before the latest `most`, is `Unknown`. Of callbacks only the number is told.
    std::vector<Activity> since(Nanoseconds from, Nanoseconds now, std::size_t most = capacity) const;

    /// How many moments there have been.
    std::uint64_t count() const { return m_count.load(std::memory_order_acquire); }

    /// What began with the moments from number `first` on, as far as the log holds them, and has ended.
    /// \returns the number of the first that is left out, since it has not ended
    std::uint64_t readFrom(std::uint64_t first, std::vector<Activity>& into) const;

private:
    enum Word : std::size_t { At, DoingAndNumber, Line };
    using Moment = std::array<SharedWord, 3>;

    static constexpr std::int64_t numberUnit = 16;
    static constexpr std::size_t ahead = 6;

    static std::int64_t codeOf(State state)
    {
        return static_cast<int>(state.doing) + (numberUnit * static_cast<std::int64_t>(state.number));
    }

    Activity beginningAt(std::uint64_t moment) const;
    bool isHeld(std::uint64_t moment) const { return moment + m_mask >= count(); }

    const std::uint64_t m_mask; // of a number, what tells its place
    const ZeroedArray<Moment> m_moments;
    std::atomic<std::uint64_t> m_count { 0 };
    State m_state; // only for the interpreter thread, like the next
    Nanoseconds m_turned = 0; // since when
};

} // namespace tovrinhost
