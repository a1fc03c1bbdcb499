#pragma once

#include "bench/measure/Thread.hpp"

#include <cstddef>
#include <vector>

namespace bench {

/// A beat that is due in whole milliseconds of the clock, a period after it was last looked at: the library's
/// fixed rate, which the peers follow alike.
class Beat {
public:
    explicit Beat(std::chrono::milliseconds period)
        : m_period(period)
    {
    }

    /// Due again a period from now.
    void goOn() { m_due = std::chrono::floor<std::chrono::milliseconds>(Clock::now()) + m_period; }

    Clock::time_point due() const { return m_due; }

private:
    const std::chrono::milliseconds m_period;
    Clock::time_point m_due {};
};

/// How much later than due something came, each time. One thread notes, and nobody reads meanwhile.
class Delays {
public:
    Delays() { m_microseconds.reserve(std::size_t { 1 } << 14); }

    void note(Clock::time_point due)
    {
        m_microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - due).count());
    }

    const std::vector<double>& microseconds() const { return m_microseconds; }

private:
    std::vector<double> m_microseconds;
};

} // namespace bench
