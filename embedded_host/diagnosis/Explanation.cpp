#include "embedded_host/diagnosis/Explanation.hpp"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace tovrinhost {

namespace {

/// Parts that agree in this are one.
using Kind = std::tuple<Cause, Doing, std::uint64_t, int>;

Kind kindOf(const Part& part)
{
    return { part.cause, part.activity.doing, part.activity.number, part.activity.line };
}

class Explaining {
public:
    explicit Explaining(const Firing& firing) { m_explanation.firing = firing; }

    void add(const Part& part)
    {
        if (part.length <= 0) {
            return;
        }
        auto& parts = m_explanation.parts;
        const auto [place, isNew] = m_places.try_emplace(kindOf(part), parts.size());
        if (isNew) {
            parts.push_back(part);
        } else {
            parts[place->second].length += part.length;
        }
    }

    void add(Cause cause, Nanoseconds length, std::uint64_t others = 0)
    {
        add(Part { cause, length, others, {} });
    }

    void addActivity(const Activity& activity, Nanoseconds length)
    {
        add(Part { Cause::Queue, length, 0, activity });
    }

    Explanation explanation() && { return std::move(m_explanation); }

private:
    Explanation m_explanation;
    std::map<Kind, std::size_t> m_places; // of the parts
};

/// From the due time until the scheduler's thread had it.
void addWayToDispatch(
    Explaining& explaining, Nanoseconds due, Nanoseconds dispatched, const Circumstances& circumstances)
{
    Nanoseconds awake = dispatched;
    std::uint64_t others = 0;
    for (const auto& other : circumstances.dispatches) {
        if (other.to > due && other.from < dispatched) {
            awake = std::min(awake, std::max(other.from, due));
            ++others;
        }
    }
    explaining.add(Cause::WakeUp, awake - due);
    explaining.add(Cause::OtherDispatches, dispatched - awake, others);
}

/// What the interpreter thread was at between two moments.
void addQueue(Explaining& explaining, Nanoseconds from, Nanoseconds to, const std::vector<Activity>& activities)
{
    Activity looksForWork;
    looksForWork.doing = Doing::Host;
    for (const Activity& activity : activities) {
        const Nanoseconds begins = std::clamp(activity.from, from, to);
        const Nanoseconds ends = std::clamp(activity.to, begins, to);
        if (ends > begins) {
            explaining.addActivity(looksForWork, begins - from);
            explaining.addActivity(activity, ends - begins);
            from = ends;
        }
    }
    explaining.addActivity(looksForWork, to - from);
}

} // namespace

Explanation explain(const Firing& firing, const Circumstances& circumstances)
{
    Explaining explaining(firing);
    if (firing.started > firing.due) {
        // The moments come in this order; of one that the log has missed, nothing is known.
        const Nanoseconds dispatched = std::clamp(firing.dispatched, firing.due, firing.started);
        const Nanoseconds taken = std::clamp(firing.taken, dispatched, firing.started);
        if (firing.wasQueued) {
            addWayToDispatch(explaining, firing.due, dispatched, circumstances);
        } else {
            explaining.add(Cause::Asking, dispatched - firing.due);
        }
        explaining.add(Cause::Dispatching, taken - dispatched);
        addQueue(explaining, taken, firing.started, circumstances.activities);
    }
    return std::move(explaining).explanation();
}

} // namespace tovrinhost
