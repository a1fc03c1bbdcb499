#pragma once

#include "c_interface/tovrintimer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace c_interface_tests {

using Clock = std::chrono::steady_clock;
using Function = std::function<std::int32_t(const tovrin_event&)>;

/// Long enough for what does come.
constexpr double longTime = 30.0;

/// A timer's settings, with functions of C++ in them.
struct TimerOptions {
    const char* name = "beat";
    std::int32_t mode = TOVRIN_SINGLE_SHOT;
    double period = 0.005;
    std::uint64_t tasks = 0;
    double startDelay = 0.0;
    std::int32_t busyMode = TOVRIN_DROP;
    Function timer = [](const tovrin_event&) { return 0; };
    Function start = nullptr;
    Function stop = nullptr;
    Function error = nullptr;
};

inline std::string kindName(std::int32_t kind)
{
    switch (kind) {
    case TOVRIN_START_FCN:
        return "StartFcn";
    case TOVRIN_TIMER_FCN:
        return "TimerFcn";
    case TOVRIN_STOP_FCN:
        return "StopFcn";
    case TOVRIN_ERROR_FCN:
        return "ErrorFcn";
    default:
        return "kind " + std::to_string(kind);
    }
}

inline std::int32_t callFunction(const tovrin_event* event, void* data)
{
    return (*static_cast<Function*>(data))(*event);
}

/// A host with the built-in queue, unless a test makes another one; destroyed at the end of the test.
class HostFixture : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(tovrin_host_create(nullptr, &host), TOVRIN_OK) << tovrin_last_error(); }

    void TearDown() override
    {
        if (host != 0) {
            EXPECT_EQ(tovrin_host_destroy(host), TOVRIN_OK) << tovrin_last_error();
        }
    }

    /// In place of the one that there is.
    void makeHost(const tovrin_host_settings& settings)
    {
        ASSERT_EQ(tovrin_host_destroy(host), TOVRIN_OK) << tovrin_last_error();
        host = 0;
        ASSERT_EQ(tovrin_host_create(&settings, &host), TOVRIN_OK) << tovrin_last_error();
    }

    static tovrin_host_settings hostSettings()
    {
        tovrin_host_settings settings;
        EXPECT_EQ(tovrin_host_settings_init(&settings, sizeof settings), TOVRIN_OK);
        return settings;
    }

    tovrin_callback callback(Function function)
    {
        if (!function) {
            return { nullptr, nullptr };
        }
        return { callFunction, &functions.emplace_back(std::move(function)) };
    }

    tovrin_settings settings(const TimerOptions& options)
    {
        tovrin_settings made;
        EXPECT_EQ(tovrin_settings_init(&made, sizeof made), TOVRIN_OK) << tovrin_last_error();
        made.name = options.name;
        made.execution_mode = options.mode;
        made.busy_mode = options.busyMode;
        made.period = options.period;
        made.start_delay = options.startDelay;
        made.tasks_to_execute = options.tasks;
        made.start_fcn = callback(options.start);
        made.timer_fcn = callback(options.timer);
        made.stop_fcn = callback(options.stop);
        made.error_fcn = callback(options.error);
        return made;
    }

    tovrin_timer makeTimer(const TimerOptions& options)
    {
        const tovrin_settings made = settings(options);
        tovrin_timer timer = 0;
        EXPECT_EQ(tovrin_timer_create(host, &made, &timer), TOVRIN_OK) << tovrin_last_error();
        return timer;
    }

    /// A callback that only tells that it has run.
    Function tell(std::int32_t outcome = 0)
    {
        return [this, outcome](const tovrin_event& event) {
            story.push_back(kindName(event.kind));
            return outcome;
        };
    }

    /// All four callbacks tell.
    TimerOptions tellAll(TimerOptions options)
    {
        options.start = options.timer = options.stop = options.error = tell();
        return options;
    }

    void start(tovrin_timer timer) { ASSERT_EQ(tovrin_timer_start(timer), TOVRIN_OK) << tovrin_last_error(); }

    void stop(tovrin_timer timer) { ASSERT_EQ(tovrin_timer_stop(timer), TOVRIN_OK) << tovrin_last_error(); }

    /// Until no timer has anything to come.
    void runToTheEnd()
    {
        std::int32_t isDone = 0;
        ASSERT_EQ(tovrin_run_until(host, longTime, nullptr, nullptr, &isDone), TOVRIN_OK) << tovrin_last_error();
        ASSERT_EQ(isDone, 1);
    }

    static tovrin_statistics statistics(tovrin_timer timer)
    {
        tovrin_statistics values;
        values.size = sizeof values;
        EXPECT_EQ(tovrin_timer_statistics(timer, &values), TOVRIN_OK) << tovrin_last_error();
        return values;
    }

    tovrin_host host = 0;
    std::vector<std::string> story;
    std::deque<Function> functions; // stay where they are
};

} // namespace c_interface_tests
