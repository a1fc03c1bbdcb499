#pragma once

#include "embedded_host/clock/WallClock.hpp"

namespace tovrinhost {

/// A wall clock that nobody sets: it goes with the steady clock, from a moment of its own.
class SteadyWallClock final : public WallClock {
public:
    /// \param atZero what it shows where the steady clock is at its zero; not before 1970
    explicit SteadyWallClock(WallTime atZero)
        : m_atZero(atZero)
    {
    }

    WallTime now() const override;
    void wait(tovrintimer::ConditionVariable& changed, tovrintimer::Lock& lock, WallTime moment,
        const std::function<bool()>& ends) const override;

private:
    const WallTime m_atZero;
};

} // namespace tovrinhost
