#include "embedded_host/status/TimersTable.hpp"

#include "embedded_host/diagnosis/FiringLog.hpp"
#include "embedded_host/log/Escape.hpp"
#include "embedded_host/log/ValidText.hpp"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <vector>

namespace tovrinhost {

namespace {

std::string decimals(double value, int places)
{
    std::array<char, 32> text {};
    std::snprintf(text.data(), text.size(), "%.*f", places, value);
    return text.data();
}

std::string secondsOf(const std::optional<double>& seconds)
{
    // What is due in the millisecond in which the program began was so before it.
    return seconds ? decimals(std::max(0.0, *seconds), 3) : "-";
}

std::string millisecondsOf(const std::optional<double>& seconds)
{
    return seconds ? decimals(*seconds * 1e3, 1) : "-";
}

/// What an order goes by, but for texts.
std::optional<double> valueOf(const TimerStatus& timer, Column column)
{
    switch (column) {
    case Column::Timer:
    case Column::Settings:
        break;
    case Column::State:
        return static_cast<double>(timer.state);
    case Column::Due:
    case Column::Left:
        return timer.due;
    case Column::LastRun:
        return timer.last;
    case Column::Runs:
        return static_cast<double>(timer.runs);
    case Column::LateLast:
        return timer.latenessOfLast;
    case Column::Late99:
        return timer.lateness99;
    case Column::LateMost:
        return timer.mostLateness;
    case Column::Busy:
        return timer.busy;
    case Column::Dropped:
        return static_cast<double>(timer.dropped);
    case Column::Backlog:
        return static_cast<double>(timer.backlog);
    }
    return std::nullopt;
}

} // namespace

const std::array<ColumnHead, columnCount> columnHeads { {
    { "timer", true },
    { "state", true },
    { "settings", true },
    { "due", false },
    { "left", false },
    { "last run", false },
    { "runs", false },
    { "late: last", false },
    { "99 %", false },
    { "most", false },
    { "busy %", false },
    { "dropped", false },
    { "backlog", false },
} };

std::string cellOf(const TimerStatus& timer, Column column, double now)
{
    switch (column) {
    case Column::Timer:
        return escape(timer.name);
    case Column::State:
        return nameOf(timer.state);
    case Column::Settings:
        return escape(timer.settings);
    case Column::Due:
        return secondsOf(timer.due);
    case Column::Left:
        return timer.due ? decimals(*timer.due - now, 3) : "-";
    case Column::LastRun:
        return secondsOf(timer.last);
    case Column::Runs:
        return std::to_string(timer.runs);
    case Column::LateLast:
        return millisecondsOf(timer.latenessOfLast);
    case Column::Late99:
        return millisecondsOf(timer.lateness99);
    case Column::LateMost:
        return millisecondsOf(timer.mostLateness);
    case Column::Busy:
        return decimals(timer.busy * 100, 1);
    case Column::Dropped:
        return std::to_string(timer.dropped);
    case Column::Backlog:
        return std::to_string(timer.backlog);
    }
    return "";
}

bool comesBefore(const TimerStatus& a, const TimerStatus& b, Column column)
{
    if (column == Column::Timer) {
        return a.name < b.name;
    }
    if (column == Column::Settings) {
        return a.settings < b.settings;
    }
    const auto ofA = valueOf(a, column);
    const auto ofB = valueOf(b, column);
    return ofA && (!ofB || *ofA < *ofB);
}

std::string headOf(const ProgramStatus& status)
{
    const std::size_t count = status.timers.size() + status.moreTimers;
    return "tovrin " + std::to_string(status.process) + ", " + escape(status.script) + ": " + std::to_string(count)
        + (count == 1 ? " timer" : " timers") + " after " + secondsOf(status.now) + " s";
}

std::string timersTable(const ProgramStatus& status)
{
    using Row = std::vector<std::string>;
    Row titles;
    for (const ColumnHead& head : columnHeads) {
        titles.emplace_back(head.title);
    }
    std::vector<Row> rows { titles };
    for (const TimerStatus& timer : status.timers) {
        Row row;
        for (std::size_t column = 0; column < columnCount; ++column) {
            row.push_back(cellOf(timer, static_cast<Column>(column), status.now));
        }
        rows.push_back(std::move(row));
    }
    std::array<std::size_t, columnCount> widths {};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < columnCount; ++column) {
            widths.at(column) = std::max(widths.at(column), characterCount(row[column]));
        }
    }
    std::string text = headOf(status)
        + " of the steady clock; due, left and last run in s, lateness in ms, its 99 % by the latest "
        + std::to_string(FiringLog::capacity) + " firings of all timers\n";
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < columnCount; ++column) {
            const std::string padding(widths.at(column) - characterCount(row[column]), ' ');
            text += column == 0 ? "" : "  ";
            text += columnHeads.at(column).isText ? row[column] + padding : padding + row[column];
        }
        text += '\n';
    }
    if (status.moreTimers > 0) {
        text += "and " + std::to_string(status.moreTimers) + " more timers, made later\n";
    }
    return text;
}

} // namespace tovrinhost
