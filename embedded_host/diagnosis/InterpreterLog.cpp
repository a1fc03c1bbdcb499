#include "embedded_host/diagnosis/InterpreterLog.hpp"

#include <algorithm>

namespace tovrinhost {

InterpreterLog::InterpreterLog(std::size_t held)
    : m_mask(held - 1)
    , m_moments(held)
{
}

/// From that moment to the one after it, which there has to be.
Activity InterpreterLog::beginningAt(std::uint64_t moment) const
{
    const Moment& began = m_moments[moment & m_mask];
    const Moment& ended = m_moments[(moment + 1) & m_mask];
    Activity activity;
    const std::int64_t code = began[DoingAndNumber].get();
    activity.doing = static_cast<Doing>(code % numberUnit);
    activity.number = static_cast<std::uint64_t>(code / numberUnit);
    activity.from = began[At].get();
    activity.to = ended[At].get();
    activity.line = activity.doing == Doing::Script ? static_cast<int>(ended[Line].get()) : 0;
    return activity;
}

std::vector<Activity> InterpreterLog::since(Nanoseconds from, Nanoseconds now, std::size_t most) const
{
    std::vector<Activity> activities; // the latest first
    const std::uint64_t end = count();
    Nanoseconds reached = now;
    for (std::uint64_t moment = end; moment > 0 && reached > from && activities.size() < most; --moment) {
        Activity activity = beginningAt(moment - 1);
        if (!isHeld(moment - 1)) {
            break;
        }
        if (moment == end) {
            activity.to = now;
            activity.line = 0;
        }
        activities.push_back(activity);
        reached = activity.from;
    }
    if (reached > from) {
        Activity unknown;
        unknown.from = from;
        unknown.to = reached;
        activities.push_back(unknown);
    }
    std::reverse(activities.begin(), activities.end());
    return activities;
}

std::uint64_t InterpreterLog::readFrom(std::uint64_t first, std::vector<Activity>& into) const
{
    const std::uint64_t end = count();
    std::uint64_t moment = std::max(first, end > m_mask ? end - m_mask : 0);
    for (; moment + 1 < end; ++moment) {
        const Activity activity = beginningAt(moment);
        if (isHeld(moment)) {
            into.push_back(activity);
        }
    }
    return moment;
}

} // namespace tovrinhost
