#include "embedded_host/plan/PlanTable.hpp"

#include "embedded_host/clock/LocalTime.hpp"
#include "embedded_host/log/Escape.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

namespace tovrinhost {

namespace {

constexpr Nanoseconds nanosecondsPerSecond = 1'000'000'000;
constexpr std::size_t widestName = 40;
constexpr const char* calendarHead = "calendar               ";

template <typename... Values> std::string format(const char* form, Values... values)
{
    std::array<char, 96> text {};
    std::snprintf(text.data(), text.size(), form, values...);
    return text.data();
}

std::string seconds(Nanoseconds span)
{
    return format("%.3f", toSeconds(span));
}

std::string alignedRight(const std::string& text, std::size_t width)
{
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

/// "2026-12-24 08:00:00.000"
std::string localTime(Nanoseconds sinceEpoch)
{
    using namespace std::chrono;
    const Nanoseconds moment = sinceEpoch / nanosecondsPerSecond;
    const sys_seconds local { std::chrono::seconds(moment + systemUtcOffset(moment)) };
    const sys_days day = floor<days>(local);
    const year_month_day date(day);
    const hh_mm_ss time(local - day);
    return format("%04d-%02u-%02u %02d:%02d:%02d.%03d", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
        static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
        static_cast<int>(time.seconds().count()), static_cast<int>(sinceEpoch % nanosecondsPerSecond / 1'000'000));
}

/// What else there is to say of a firing, in the order of importance.
std::string noteOf(const PlanRow& row)
{
    std::string note;
    const auto add = [&note](const std::string& text) { note += (note.empty() ? "  " : "; ") + text; };
    switch (row.outcome) {
    case PlanRow::Outcome::Done:
        break;
    case PlanRow::Outcome::Failed:
        add("fails");
        break;
    case PlanRow::Outcome::Running:
        add("runs on");
        break;
    case PlanRow::Outcome::Waiting:
        add("still waits");
        break;
    case PlanRow::Outcome::Dropped:
        add("dropped: " + row.reason);
        break;
    }
    if (row.dropped > 0 && row.droppedFrom != row.due) {
        add(std::to_string(row.dropped) + " dropped from " + seconds(row.droppedFrom) + " on");
    } else if (row.dropped > 1) {
        add(std::to_string(row.dropped) + " of them");
    }
    if (!row.waits.empty()) {
        add(std::ranges::max_element(row.waits, {}, &PlanRow::Wait::length)->what);
    }
    return note;
}

std::string endText(const PlanEnd& end)
{
    const std::string at = seconds(end.at) + " s";
    switch (end.why) {
    case PlanEnd::Why::Span:
        return "The plan ends after " + at + "; what is due later is left out.\n";
    case PlanEnd::Why::Script:
        return "The script ends after " + at + ".\n";
    case PlanEnd::Why::Interrupted:
        break;
    }
    return "Interrupted after " + at + ".\n";
}

} // namespace

PlanTable::PlanTable(PlanOutput& output, Nanoseconds span, Nanoseconds calendar)
    : m_output(output)
    , m_calendar(calendar)
    , m_momentWidth(std::max<std::size_t>(8, seconds(span).size()))
{
}

void PlanTable::begin(const std::vector<TimerTable::Description>& timers)
{
    for (const auto& timer : timers) {
        nameColumn(timer->name);
    }
    m_output.write(alignedRight("time", m_momentWidth) + "  " + calendarHead + "  " + nameColumn("timer")
        + "  callback     run      late      took\n");
}

/// Wide enough for this name and all before it.
std::string PlanTable::nameColumn(const std::string& name)
{
    std::string text = escape(name);
    m_nameWidth = std::max(m_nameWidth, std::min(text.size(), widestName));
    text.resize(std::max(m_nameWidth, text.size()), ' ');
    return text;
}

void PlanTable::write(const PlanRow& row)
{
    const std::string run = row.run == 0 ? "-" : std::to_string(row.run);
    m_output.write(alignedRight(seconds(row.at), m_momentWidth) + "  " + localTime(m_calendar + row.at) + "  "
        + nameColumn(row.timer) + "  " + format("%-8s  %6s", row.callback.c_str(), run.c_str()) + "  "
        + alignedRight(seconds(row.lateness()), 8) + "  " + alignedRight(row.took ? seconds(*row.took) : "-", 8)
        + noteOf(row) + "\n");
}

void PlanTable::end(const PlanTotals& totals, const PlanEnd& end)
{
    if (totals.timers().empty()) {
        m_output.write("No timer fires.\n");
    } else {
        m_output.write("\n" + nameColumn("timer") + "     fired   dropped    failed  late most  busy %\n");
    }
    for (const auto& [number, total] : totals.timers()) {
        const double busy = end.at > 0 ? 100 * toSeconds(total.busy) / toSeconds(end.at) : 0;
        m_output.write(nameColumn(total.timer)
            + format("  %8llu  %8llu  %8llu  ", static_cast<unsigned long long>(total.fired),
                static_cast<unsigned long long>(total.dropped), static_cast<unsigned long long>(total.failed))
            + alignedRight(seconds(total.mostLateness), 9) + format("  %6.1f\n", busy));
    }
    if (totals.rowsLeftOut() > 0) {
        m_output.write("and " + std::to_string(totals.rowsLeftOut()) + " firings of other timers\n");
    }
    if (end.lost > 0) {
        m_output.write(
            std::to_string(end.lost) + " firings could not be told: there were too many at one moment.\n");
    }
    m_output.write(endText(end));
}

} // namespace tovrinhost
