#include "tests/scripts/PeriodicTest.hpp"

#include <cmath>
#include <cstdio>
#include <sstream>

namespace scripts {

PeriodicRun PeriodicTest::runTimer(const std::string& settings, double callbackSeconds, const Words& options)
{
    std::ostringstream script;
    script << "local begin\n"
              "local function say(t, event) print(event.Type) end\n"
              "local t = timer { StartFcn = say, StopFcn = say, ErrorFcn = say, "
           << settings
           << ",\n TimerFcn = function(t, event)\n"
              "  local start = now()\n"
              "  busy("
           << callbackSeconds
           << ")\n"
              "  print(event.Type)\n"
              "  print(string.format('callback %.6f %.6f', start - begin, now() - begin))\n"
              " end }\n"
              "begin = now()\n"
              "t:start()\n"
              "t:wait()\n"
              "print('average ' .. t.AveragePeriod)\n";
    const Outcome outcome = run(script.str(), options);
    const bool isOverrun = !linesWith(outcome.err, "was still running when its next run fell due").empty();
    EXPECT_EQ(outcome.status, isOverrun ? 1 : 0) << outcome.err;
    PeriodicRun result { {}, {}, -1.0, outcome.err };
    for (const std::string& line : lines(outcome.out)) {
        Callback callback {};
        if (std::sscanf(line.c_str(), "callback %lf %lf", &callback.start, &callback.end) == 2) {
            result.callbacks.push_back(callback);
        } else if (line.starts_with("average ")) {
            result.averagePeriod = std::stod(line.substr(8));
        } else {
            result.order.push_back(line);
        }
    }
    return result;
}

std::string PeriodicTest::settings(const std::string& mode, double period, int tasks, const std::string& busyMode)
{
    std::ostringstream text;
    text << "ExecutionMode = '" << mode << "', BusyMode = '" << busyMode << "', Period = " << period
         << ", TasksToExecute = " << tasks;
    return text.str();
}

std::vector<double> PeriodicTest::dispatchTimes(const std::string& log)
{
    constexpr double day = 86400.0;
    std::vector<double> times;
    double first = 0.0;
    for (const std::string& line : linesWith(log, "Transfering WorkItem callback")) {
        int hour = 0;
        int minute = 0;
        double second = 0.0;
        EXPECT_EQ(std::sscanf(line.c_str(), "%*d-%*d-%*d %d:%d:%lf", &hour, &minute, &second), 3) << line;
        const double time = hour * 3600.0 + minute * 60.0 + second;
        if (times.empty()) {
            first = time;
        }
        times.push_back(time < first ? time + day - first : time - first);
    }
    return times;
}

void PeriodicTest::expectStarts(const PeriodicRun& run, double distance, double callbackSeconds)
{
    for (std::size_t i = 0; i < run.callbacks.size(); ++i) {
        const Callback& callback = run.callbacks[i];
        expectMoment(callback.start, static_cast<double>(i) * distance);
        expectMoment(callback.end, static_cast<double>(i) * distance + callbackSeconds);
    }
}

std::string PeriodicTest::gapsBeyond(const std::vector<Callback>& callbacks, double atMost)
{
    std::string wrong;
    for (std::size_t i = 1; i < callbacks.size(); ++i) {
        const double gap = callbacks[i].start - callbacks[i - 1].end;
        EXPECT_GE(gap, 0.0) << "callbacks overlap";
        wrong += gap <= atMost ? "" : "gap of " + std::to_string(gap) + "; ";
    }
    return wrong;
}

std::vector<std::string> wholeRun(std::size_t tasks)
{
    std::vector<std::string> order(tasks + 2, "TimerFcn");
    order.front() = "StartFcn";
    order.back() = "StopFcn";
    return order;
}

} // namespace scripts
