#pragma once

#include "bench/host/Host.hpp"
#include "bench/measure/Beat.hpp"

#include <utility>

namespace bench {

/// The engine of one fixed-rate timer, which looks how late each hand-over is. The first one only begins the beat.
///
/// The library counts on from a moment just after the hand-over: due is at the earliest what is taken for due
/// here.
class BeatEngine final : public Engine {
public:
    /// \param late given the due time, on the thread that hands over
    BeatEngine(std::chrono::milliseconds period, std::function<void(Clock::time_point)> late)
        : m_beat(period)
        , m_late(std::move(late))
    {
    }

    void take(const std::function<void()>& /*task*/) override
    {
        if (m_beat.due() != Clock::time_point()) {
            m_late(m_beat.due());
        }
        m_beat.goOn();
    }

private:
    Beat m_beat;
    const std::function<void(Clock::time_point)> m_late;
};

} // namespace bench
