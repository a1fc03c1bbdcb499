#pragma once

#include "tests/library/TimerSchedulerPeer.hpp"
#include "tests/recording_host/World.hpp"
#include "timer_src/main/MonotonicTime.hpp"

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

/// The timers of these tests, and what becomes of them.
class World : public recording::World {
public:
    using recording::World::World;

    /// A timer with all four callbacks, in single-shot mode and not running.
    Timer makeTimer() const;

    /// One with these settings, and TimerFcn and StopFcn only. It has a second task, an hour later.
    Timer makeTimer(ExecutionMode mode, BusyMode busy = BusyMode::Drop, double periodMs = 3'600'000.0,
        std::size_t tasks = 2) const;

    /// Starts a timer of its own, which needs queue and scheduler thread, and runs its callback.
    /// \throws std::runtime_error if it is not served
    void serveAnother() const;

    const std::shared_ptr<recording::Engine>& engine() const { return m_engine; }

    /// The callbacks that have been evaluated, in order.
    static std::vector<std::string> evaluated();
};

} // namespace faults
