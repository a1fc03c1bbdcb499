#pragma once

#include "tests/simulation/model/Model.hpp"

#include <algorithm>
#include <string>
#include <vector>

namespace simulation {

/// Reads the events of an activity, one after the other, against what the rules allow next.
class Reading {
public:
    Reading(const Model& model, const Activity& activity)
        : m_model(model)
        , m_activity(activity)
        , m_timer(model.at(activity.timer))
        , m_end(model.time())
    {
    }

    const TimerModel& timer() const { return m_timer; }
    const Activity& activity() const { return m_activity; }

    /// From the latest event that has been read to the next, or to the end.
    Window window() const
    {
        const auto& events = m_activity.events;
        return { m_at == 0 ? m_activity.begin : events[m_at - 1].when,
            m_at < events.size() ? events[m_at].when : m_end };
    }

    std::size_t left() const { return m_activity.events.size() - m_at; }

    bool nextIs(Event::What what) const { return left() > 0 && m_activity.events[m_at].what == what; }

    bool nextIsInsertOf(WorkKind kind) const
    {
        return nextIs(Event::Inserted) && m_activity.events[m_at].item.kind == kind;
    }

    const Event& next() const { return m_activity.events[m_at]; }
    const Event& take() { return m_activity.events[m_at++]; }

    const Event& take(Event::What what, const char* rule)
    {
        require(nextIs(what), rule);
        return take();
    }

    /// \returns whether the callback succeeded
    bool takeEvaluation()
    {
        take(Event::EvaluationBegins, "a task evaluates its callback");
        return take(Event::EvaluationEnds, "a task waits for its callback").succeeded;
    }

    /// For what depends on a setting that has changed meanwhile.
    void takeAll() { m_at = m_activity.events.size(); }

    void require(bool holds, const char* rule) const
    {
        if (!holds) {
            m_model.fail(std::string(rule) + "\n" + describe(m_activity) + "\nafter " + std::to_string(m_at)
                + " events of it");
        }
    }

    // What was so at some moment of the window.

    template <typename T> std::vector<T> during(const History<T>& history) const
    {
        return history.during(window());
    }

    template <typename T> bool had(const History<T>& history, const T& value) const
    {
        return history.had(window(), value);
    }

    template <typename T, typename Predicate> bool any(const History<T>& history, Predicate predicate) const
    {
        return std::ranges::any_of(during(history), predicate);
    }

    bool mayRun() const { return had(m_timer.running, true); }
    bool mayBeStopped() const { return had(m_timer.running, false); }

    /// The moments at which this thread has read the clock in the window.
    std::vector<Moment> clock() const
    {
        std::vector<Moment> moments;
        for (const auto& [when, moment] : m_activity.clockReads) {
            if (when >= window().from && when <= window().to) {
                moments.push_back(moment);
            }
        }
        return moments;
    }

private:
    const Model& m_model;
    const Activity& m_activity;
    const TimerModel& m_timer;
    const std::uint64_t m_end;
    std::size_t m_at = 0;
};

} // namespace simulation
