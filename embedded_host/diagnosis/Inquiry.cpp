#include "embedded_host/diagnosis/Inquiry.hpp"

#include <algorithm>
#include <map>
#include <utility>

namespace tovrinhost {

namespace {

bool isOf(const Firing& firing, const TimerTable::Identity& timer)
{
    return !(firing.timer < timer) && !(timer < firing.timer);
}

} // namespace

Inquiry::Inquiry(const FiringLog& log, const TimerTable& timers, Queue queue)
    : m_log(log)
    , m_timers(timers)
    , m_queue(std::move(queue))
    , m_words([&timers](const TimerTable::Identity& timer) { return timers.find(timer); }, log.beginning())
{
}

template <typename Visit> void Inquiry::visitAll(const Visit& visit) const
{
    const std::uint64_t newest = m_log.count();
    const std::uint64_t oldest = newest < FiringLog::capacity ? 1 : newest - FiringLog::capacity + 1;
    for (std::uint64_t number = newest; number >= oldest; --number) {
        const auto firing = m_log.at(number);
        if (firing && !visit(*firing)) {
            return;
        }
    }
}

Explanation Inquiry::explain(const Firing& firing) const
{
    if (firing.started == 0) {
        return { firing, {} };
    }
    Circumstances circumstances;
    visitAll([&](const Firing& other) {
        const bool isOther = other.number != firing.number && other.wasQueued && other.dispatched != 0;
        if (isOther && other.dispatched < firing.dispatched && other.taken > firing.due) {
            circumstances.dispatches.push_back({ other.dispatched, other.taken });
        }
        return true;
    });
    circumstances.activities = m_log.interpreter().since(firing.taken, m_log.now());
    for (Activity& activity : circumstances.activities) {
        if (activity.from < firing.started) {
            identify(activity);
        }
    }
    return tovrinhost::explain(firing, circumstances);
}

void Inquiry::identify(Activity& activity) const
{
    if (const auto firing = m_log.at(activity.number)) {
        activity.timer = firing->timer;
        activity.kind = firing->kind;
        activity.run = firing->run;
    }
}

Activity Inquiry::activityNow() const
{
    const Nanoseconds now = m_log.now();
    Activity activity = m_log.interpreter().since(now, now + 1).back();
    identify(activity);
    return activity;
}

std::string Inquiry::text(const Firing& firing) const
{
    if (firing.started != 0 || isOver(firing.stage)) {
        return m_words.of(explain(firing));
    }
    Standing standing { m_log.now(), activityNow(), 0, 0 };
    visitAll([&](const Firing& other) {
        if (isOf(other, firing.timer)) {
            standing.lastRun = std::max(standing.lastRun, other.run);
            standing.waiting += other.stage == Stage::Waiting ? 1 : 0;
        }
        return true;
    });
    Firing pending = firing;
    if (const auto description = m_timers.find(firing.timer); description && firing.firstDue != 0) {
        pending.missed = missedFirings(standing.now - firing.firstDue, description->period);
    }
    return m_words.ofPending(pending, standing);
}

std::optional<Firing> Inquiry::latest(const TimerTable::Identity& timer) const
{
    const std::optional<Firing> waitsInQueue = queued(timer); // at first, since from there it goes into the log
    std::optional<Firing> begun;
    std::optional<Firing> dispatched; // the oldest of those that wait for the host, or that are being dropped
    visitAll([&](const Firing& firing) {
        if (!isOf(firing, timer) || isForNobody(firing)) {
            return true;
        }
        if (firing.started != 0 || isOver(firing.stage)) {
            begun = firing;
            return false;
        }
        dispatched = firing;
        return true;
    });
    return dispatched ? dispatched : begun ? begun : waitsInQueue;
}

std::optional<Firing> Inquiry::run(const TimerTable::Identity& timer, std::uint64_t run) const
{
    std::optional<Firing> found;
    visitAll([&](const Firing& firing) {
        if (isOf(firing, timer) && firing.run == run) {
            found = firing;
        }
        return !found;
    });
    return found;
}

std::optional<Firing> Inquiry::queued(const TimerTable::Identity& timer) const
{
    const auto works = m_queue(timer);
    if (works.empty()) {
        return std::nullopt;
    }
    Firing firing;
    firing.timer = timer;
    firing.kind = works.front().kind;
    firing.wasQueued = true;
    firing.due = dueOf(works.front().due);
    return firing;
}

std::optional<Firing> Inquiry::queuedOf(std::uint64_t number) const
{
    const auto timer = m_timers.identityOf(number);
    return timer ? queued(*timer) : std::nullopt;
}

std::optional<Nanoseconds> Inquiry::nextDue(const TimerTable::Identity& timer) const
{
    const auto works = m_queue(timer);
    const auto next = std::ranges::find(works, tovrintimer::TimerFcnWork, &tovrintimer::ObservedWork::kind);
    return next == works.end() ? std::nullopt : std::optional(m_log.firstDueOf(*next));
}

std::map<std::uint64_t, Inquiry::Summary> Inquiry::summaries() const
{
    std::map<std::uint64_t, Summary> summaries;
    std::map<TimerTable::Identity, Summary*> known;
    visitAll([&](const Firing& firing) {
        const auto [place, isNew] = known.try_emplace(firing.timer, nullptr);
        if (isNew) {
            const auto description = m_timers.find(firing.timer);
            place->second = description ? &summaries[description->number] : nullptr;
        }
        if (Summary* const summary = place->second) {
            if (firing.run != 0) {
                summary->latenesses.push_back(firing.lateness());
            }
            summary->missed += firing.missed;
            summary->waiting += firing.stage == Stage::Waiting ? 1 : 0;
            summary->isInCallback |= firing.stage == Stage::Running;
            if (summary->newest.number == 0) {
                summary->newest = firing;
            }
        }
        return true;
    });
    return summaries;
}

std::vector<Firing> Inquiry::worst(std::size_t count) const
{
    std::vector<Firing> worst; // a heap: the least late of them in front
    visitAll([&](const Firing& firing) {
        if (firing.started != 0) {
            worst.push_back(firing);
            std::push_heap(worst.begin(), worst.end(), isLater);
            if (worst.size() > count) {
                std::pop_heap(worst.begin(), worst.end(), isLater);
                worst.pop_back();
            }
        }
        return true;
    });
    std::sort_heap(worst.begin(), worst.end(), isLater);
    return worst;
}

} // namespace tovrinhost
