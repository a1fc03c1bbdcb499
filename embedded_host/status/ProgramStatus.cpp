#include "embedded_host/status/ProgramStatus.hpp"

#include "embedded_host/diagnosis/FiringStatistics.hpp"
#include "embedded_host/log/Escape.hpp"
#include "embedded_host/log/ValidText.hpp"

#include <utility>

namespace tovrinhost {

namespace {

constexpr std::size_t longestName = 200;
constexpr std::size_t longestScript = 1000;
constexpr std::size_t longestExplanation = 50'000;

TimerState stateOf(const Inquiry::Summary& summary, bool isQueued, FiringStatistics::Run run)
{
    if (summary.isInCallback) {
        return TimerState::Runs;
    }
    if (summary.waiting > 0) {
        return TimerState::Waits;
    }
    switch (run) {
    case FiringStatistics::Run::None:
        return TimerState::New;
    case FiringStatistics::Run::UnderWay:
        return isQueued || summary.newest.number != 0 ? TimerState::Due : TimerState::Unknown;
    case FiringStatistics::Run::Over:
        break;
    }
    return TimerState::Stopped;
}

/// \param queued what of it waits for its due time
TimerStatus statusOf(const TimerDescription& timer, const Inquiry::Summary& summary,
    const std::optional<Firing>& queued, const FiringLog& log)
{
    TimerStatus status;
    status.number = timer.number;
    status.name = shortened(validText(timer.name), longestName);
    status.settings = timer.settings;
    status.backlog = summary.waiting;
    if (queued) {
        status.due = toSeconds(queued->due - log.beginning());
    }
    if (!summary.latenesses.empty()) {
        status.lateness99 = toSeconds(percentile(summary.latenesses, 99));
    }
    if (timer.statistics) {
        const FiringStatistics& all = *timer.statistics;
        status.runs = all.runs;
        status.dropped = all.drops;
        status.errors = all.errors;
        const Nanoseconds age = log.now() - timer.made;
        status.busy = age > 0 ? toSeconds(all.busy) / toSeconds(age) : 0.0;
        if (status.runs > 0) {
            status.last = toSeconds(all.lastStarted - log.beginning());
            status.latenessOfLast = toSeconds(all.lastLateness);
            status.mostLateness = toSeconds(all.mostLateness);
        }
    }
    const auto run = timer.statistics ? timer.statistics->run.load() : FiringStatistics::Run::None;
    status.state = stateOf(summary, queued.has_value(), run);
    return status;
}

} // namespace

const char* nameOf(TimerState state)
{
    switch (state) {
    case TimerState::New:
        return "new";
    case TimerState::Due:
        return "due";
    case TimerState::Waits:
        return "waits";
    case TimerState::Runs:
        return "runs";
    case TimerState::Stopped:
        return "stopped";
    case TimerState::Unknown:
        break;
    }
    return "unknown";
}

ProgramStatus takeStatus(const Diagnosis& diagnosis, std::int64_t process, const std::string& script)
{
    const FiringLog& log = diagnosis.log();
    const Inquiry inquiry = diagnosis.inquiry();
    auto summaries = inquiry.summaries();
    const auto timers = diagnosis.timers().live(ProgramStatus::mostTimers);
    const std::size_t count = diagnosis.timers().liveCount();
    ProgramStatus status;
    status.process = process;
    status.script = shortened(validText(script), longestScript);
    status.now = toSeconds(log.now() - log.beginning());
    status.moreTimers = count > timers.size() ? count - timers.size() : 0;
    for (const auto& timer : timers) {
        status.timers.push_back(statusOf(*timer, summaries[timer->number], inquiry.queuedOf(timer->number), log));
    }
    return status;
}

std::optional<std::string> explainLatest(const Diagnosis& diagnosis, std::uint64_t number)
{
    const Inquiry inquiry = diagnosis.inquiry();
    const auto timer = diagnosis.timers().findLive(number);
    if (!timer) {
        return std::nullopt;
    }
    const auto identity = diagnosis.timers().identityOf(number);
    const auto latest = identity ? inquiry.latest(*identity) : std::nullopt;
    std::string text = latest ? inquiry.text(*latest)
                              : escape(timer->name) + ": the log holds no firing of it, among the latest "
            + std::to_string(FiringLog::capacity) + " of all timers\n";
    return shortened(validText(text), longestExplanation);
}

} // namespace tovrinhost
