#pragma once

#include "embedded_host/status/ProgramStatus.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tovrinhost {

/// The columns of the table of a program's timers.
enum class Column : std::uint8_t {
    Timer,
    State,
    Settings,
    Due,
    Left,
    LastRun,
    Runs,
    LateLast,
    Late99,
    LateMost,
    Busy,
    Dropped,
    Backlog,
};

constexpr std::size_t columnCount = 13;

struct ColumnHead {
    const char* title;
    bool isText; ///< put to the left; the others to the right
};

/// In the order of `Column`.
extern const std::array<ColumnHead, columnCount> columnHeads;

/// What stands in the table, without control characters.
std::string cellOf(const TimerStatus& timer, Column column, double now);

/// For an order by a column: whether `a` comes first. What is not known comes last.
bool comesBefore(const TimerStatus& a, const TimerStatus& b, Column column);

/// What a status is of: "tovrin 123, script.lua: 3 timers after 12.345 s".
std::string headOf(const ProgramStatus& status);

/// The whole table, a head line before it.
std::string timersTable(const ProgramStatus& status);

} // namespace tovrinhost
