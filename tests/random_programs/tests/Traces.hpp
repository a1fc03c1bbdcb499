#pragma once

#include "tests/random_programs/model/Model.hpp"
#include "tests/random_programs/model/RuleNames.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

namespace random_programs {

using Lines = std::vector<std::string>;

/// As a program prints it: lines that begin with a bar get a time before it, each a millisecond after the one
/// before.
inline std::string printed(const Lines& lines)
{
    std::ostringstream out;
    int milliseconds = 0;
    for (const std::string& line : lines) {
        if (line.starts_with('|')) {
            out << '@' << std::fixed << std::setprecision(6) << ++milliseconds / 1000.0;
        }
        out << line << '\n';
    }
    return out.str();
}

inline void expectKept(const Lines& lines, int status = 0)
{
    const auto broken = findBrokenRule(printed(lines), status);
    EXPECT_FALSE(broken) << broken->what() << '\n' << printed(lines);
}

inline void expectBroken(const char* rule, const Lines& lines, int status = 0)
{
    const auto broken = findBrokenRule(printed(lines), status);
    ASSERT_TRUE(broken) << "nothing is found in\n" << printed(lines);
    EXPECT_EQ(broken->rule, rule) << broken->what();
}

/// The lines with more behind them.
inline Lines operator+(Lines lines, const Lines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

inline const Lines singleShot { "|new|a|SingleShot|Drop|0.001|0.0|1|StartFcn StopFcn ErrorFcn" };
inline const Lines plainSingleShot { "|new|a|SingleShot|Drop|0.001|0.0|1|" };
inline const Lines delayedSingleShot { "|new|a|SingleShot|Drop|0.001|0.1|1|" };
inline const Lines strictFixedRate { "|new|a|FixedRate|Error|0.001|0.0|5|StopFcn ErrorFcn" };
inline const Lines started { "|call|start|a||false|0|nil", "|done|start|a|nil|true|0|nil" };
inline const Lines stopped { "|call|stop|a||true|0|nil", "|done|stop|a|true|true|0|nil" };
inline const Lines startFcnRun { "|begin|a|StartFcn|true|0|nil", "|end|a|StartFcn||true|0|nil" };
inline const Lines timerFcnRun { "|begin|a|TimerFcn|true|1|nil", "|end|a|TimerFcn||true|1|nil" };
inline const Lines stopFcnRun { "|begin|a|StopFcn|false|1|nil", "|end|a|StopFcn||false|1|nil" };
inline const Lines over { "|over" };
inline const Lines wholeRun = startFcnRun + timerFcnRun + stopFcnRun;
inline const Lines paused { "|call|pause|-|0.0|-|-|-", "|done|pause|-|nil|-|-|-" };
inline const Lines deleted { "|call|delete|a||false|0|nil", "|done|delete|a|nil|deleted|-|-" };
inline const Lines failed { "|begin|a|TimerFcn|true|1|nil", "|raise|boom", "|end|a|TimerFcn|boom|true|1|nil" };
inline const Lines reported { R"(tovrin: error in TimerFcn of timer "a": boom)",
    "stack traceback:", "\t[C]: in ?" };
inline const Lines errorFcnRun { "|begin|a|ErrorFcn|true|1|boom", "|end|a|ErrorFcn||true|1|boom" };
inline const Lines stopFcnAfterError { "|begin|a|StopFcn|false|1|boom", "|end|a|StopFcn||false|1|boom" };
inline const Lines overtaken {
    R"(tovrin: error in timer "a": callback of timer "a" was still running when its next run fell due)"
};

} // namespace random_programs
