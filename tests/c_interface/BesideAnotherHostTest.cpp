#include "c_interface/tovrintimer.h"
#include "embedded_host/timers/ScriptRunner.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <thread>

namespace c_interface_tests {

namespace {

std::int32_t count(const tovrin_event* /*event*/, void* data)
{
    ++*static_cast<int*>(data);
    return 0;
}

/// A fixed rate of ten runs through the C interface. \returns how many callbacks have come
int runThroughC()
{
    int callbacks = 0;
    tovrin_host host = 0;
    tovrin_timer timer = 0;
    tovrin_settings settings;
    EXPECT_EQ(tovrin_settings_init(&settings, sizeof settings), TOVRIN_OK);
    settings.execution_mode = TOVRIN_FIXED_RATE;
    settings.period = 0.005;
    settings.tasks_to_execute = 10;
    settings.timer_fcn = { count, &callbacks };
    EXPECT_EQ(tovrin_host_create(nullptr, &host), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(tovrin_timer_create(host, &settings, &timer), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(tovrin_timer_start(timer), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(tovrin_run_until(host, INFINITY, nullptr, nullptr, nullptr), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(tovrin_host_destroy(host), TOVRIN_OK) << tovrin_last_error();
    return callbacks;
}

} // namespace

TEST(BesideAnotherHostTest, EachHasTimersOfItsOwnInOneProcess)
{
    int callbacks = 0;
    std::thread other([&] { callbacks = runThroughC() + runThroughC(); });
    {
        tovrinhost::ScriptRunner runner(100);
        const tovrinhost::Script script { "script", {},
            tovrinhost::Script::Text { R"(
                local runs = 0
                local t = every(0.005, function(t)
                  runs = runs + 1
                  if runs == 20 then t:stop() end
                end)
                t:wait()
                os.exit(runs == 20 and t.Name == "timer-1" and #timers() == 1 and 7 or 1)
            )",
                "=script" } };
        EXPECT_EQ(runner.run(script), 7);
    }
    other.join();
    EXPECT_EQ(callbacks, 20);
}

} // namespace c_interface_tests
