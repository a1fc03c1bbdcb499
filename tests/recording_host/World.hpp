#pragma once

#include "tests/recording_host/Engine.hpp"
#include "tests/recording_host/Journal.hpp"
#include "tests/recording_host/LogCapture.hpp"
#include "tests/recording_host/Services.hpp"
#include "tests/recording_host/TimerTasks.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <cstdint>
#include <memory>

namespace recording {

/// A fresh host, and a scheduler that is made as it is first asked for. One at a time.
///
/// At its end nothing is left of either; unlike a fixture, there may be many in one test.
class World {
public:
    /// The severities of all the library's records.
    static constexpr std::uint32_t allSeverities = 4 | 16 | 32 | 64;

    explicit World(std::uint32_t logMask = allSeverities);
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World();

    static tovrintimer::TimerScheduler& scheduler();

    /// Sets the severities of the library's three channels.
    static void setLogMasks(std::uint32_t mask);

    /// A timer in this host's engine.
    std::shared_ptr<tovrintimer::TimerInfo> makeTimer(foundation::tovrindata::Array timerObject = {}) const;

protected:
    /// Empties the process scope, and gives everything else up. Again: nothing.
    void end();

    std::shared_ptr<Engine> m_engine;
    std::shared_ptr<InterruptStateData> m_interruptData;

private:
    std::unique_ptr<LogCapture> m_capture;
};

} // namespace recording
