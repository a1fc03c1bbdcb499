#pragma once

#include "tests/library/TimerSchedulerPeer.hpp"
#include "tests/recording_host/Engine.hpp"
#include "tests/recording_host/Journal.hpp"
#include "tests/recording_host/LogCapture.hpp"
#include "tests/recording_host/TimerTasks.hpp"
#include "timer_src/main/MonotonicTime.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace faults {

using namespace std::chrono_literals;

using recording::journal;
using recording::TaskRun;
using recording::timerTasks;
using testing::ElementsAre;
using testing::IsEmpty;
using tovrintimer::BusyMode;
using tovrintimer::ExecutionMode;
using tovrintimer::TimerInfo;
using tovrintimer::TimerScheduler;
using tovrintimer::TimerSchedulerPeer;

using Timer = std::shared_ptr<TimerInfo>;

/// The severities of all the library's records.
inline constexpr std::uint32_t allSeverities = 4 | 16 | 32 | 64;

/// A host, and a scheduler that is made as it is first asked for. One at a time.
///
/// At its end nothing is left of either; unlike a fixture, there may be many in one test.
class World {
public:
    explicit World(std::uint32_t logMask = allSeverities);
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World();

    static TimerScheduler& scheduler();

    /// A timer with all four callbacks, in single-shot mode and not running.
    Timer makeTimer() const;

    /// One with these settings, a period of an hour, two tasks, and TimerFcn and StopFcn only.
    Timer makeTimer(ExecutionMode mode, BusyMode busy = BusyMode::Drop) const;

    /// Starts a timer of its own, which needs queue and scheduler thread, and runs its callback.
    /// \throws std::runtime_error if it is not served
    void serveAnother() const;

    const std::shared_ptr<recording::Engine>& engine() const { return m_engine; }

    /// The callbacks that have been evaluated, in order.
    static std::vector<std::string> evaluated();

private:
    std::unique_ptr<recording::LogCapture> m_capture;
    std::shared_ptr<recording::Engine> m_engine;
    std::shared_ptr<InterruptStateData> m_interruptData;
};

} // namespace faults
