#include "embedded_host/diagnosis/StatusTable.hpp"

#include "embedded_host/diagnosis/FiringStatistics.hpp"
#include "embedded_host/log/Escape.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

namespace tovrinhost {

namespace {

constexpr std::size_t mostExplanations = 10;

std::string inMilliseconds(Nanoseconds span)
{
    std::array<char, 32> text {};
    std::snprintf(text.data(), text.size(), "%.1f", static_cast<double>(span) / 1e6);
    return text.data();
}

std::string inSeconds(Nanoseconds span)
{
    std::array<char, 32> text {};
    std::snprintf(text.data(), text.size(), "%.3f", toSeconds(span));
    return text.data();
}

/// What a timer is at.
/// \param queued what of it waits for its due time
std::string standingOf(const TimerDescription& timer, const Firing& newest, const std::optional<Firing>& queued,
    Nanoseconds beginning)
{
    if (newest.stage == Stage::Dropped) {
        return "dropped";
    }
    if (queued) {
        return "due " + inSeconds(queued->due - beginning);
    }
    if (newest.number == 0) {
        return "-";
    }
    switch (newest.stage) {
    case Stage::Dispatched:
    case Stage::Waiting:
        return "waits";
    case Stage::Running:
        return "runs";
    default:
        return timer.statistics && timer.statistics->run == FiringStatistics::Run::UnderWay ? "due" : "stopped";
    }
}

using Row = std::vector<std::string>;

Row rowOf(const TimerDescription& timer, Inquiry::Summary summary, const std::optional<Firing>& queued,
    Nanoseconds beginning)
{
    auto& late = summary.latenesses;
    Row row { escape(timer.name), timer.settings, standingOf(timer, summary.newest, queued, beginning),
        std::to_string(late.size()), std::to_string(summary.missed) };
    if (late.empty()) {
        row.insert(row.end(), 4, "-");
    } else {
        for (const Nanoseconds span : { late.front(), percentile(late, 50), percentile(late, 99),
                 *std::max_element(late.begin(), late.end()) }) {
            row.push_back(inMilliseconds(span));
        }
    }
    return row;
}

/// The first columns as texts, the others as numbers.
std::string aligned(const std::vector<Row>& rows)
{
    constexpr std::size_t texts = 3;
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::string text;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string padding(widths[i] - row[i].size(), ' ');
            text += (i == 0 ? "" : "  ") + (i < texts ? row[i] + padding : padding + row[i]);
        }
        text += '\n';
    }
    return text;
}

} // namespace

std::string statusTable(const Diagnosis& diagnosis)
{
    const FiringLog& log = diagnosis.log();
    const Inquiry inquiry = diagnosis.inquiry();
    auto summaries = inquiry.summaries();
    const auto timers = diagnosis.timers().live();
    std::vector<Row> rows { { "timer", "settings", "now", "runs", "dropped", "late: last", "median", "99 %",
        "most (ms)" } };
    for (const auto& timer : timers) {
        rows.push_back(
            rowOf(*timer, std::move(summaries[timer->number]), inquiry.queuedOf(timer->number), log.beginning()));
    }
    std::string text = "tovrin: " + std::to_string(timers.size()) + (timers.size() == 1 ? " timer" : " timers")
        + " after " + inSeconds(log.now() - log.beginning()) + " s, by the latest "
        + std::to_string(FiringLog::capacity) + " firings\n" + aligned(rows);
    for (const Firing& firing : inquiry.worst(mostExplanations)) {
        text += inquiry.text(firing);
    }
    return text;
}

} // namespace tovrinhost
