#include "embedded_host/diagnosis/TraceWriter.hpp"

#include <utility>

namespace tovrinhost {

TraceWriter::TraceWriter(TraceFile& file, Diagnosis& diagnosis, const std::string& program)
    : m_file(file)
    , m_timers(diagnosis.timers())
    , m_inquiry(diagnosis.inquiry())
    , m_lines(diagnosis.log().beginning())
{
    m_file.add(m_lines.header(program));
    m_file.add(m_lines.nameOfTrack(trace::Scheduler, "scheduler"));
    m_file.add(m_lines.nameOfTrack(trace::Interpreter, "interpreter"));
    m_file.flush();
}

void TraceWriter::write(const News& news, Nanoseconds now)
{
    const ExplanationText& words = m_inquiry.words();
    for (const Activity& activity : news.activities) {
        writeActivity(activity);
    }
    for (const Firing& firing : news.handedOver) {
        trackOf(firing.timer);
        m_file.add(m_lines.dispatch(firing, words.timerName(firing.timer)));
    }
    for (const Firing& firing : news.over) {
        const int track = trackOf(firing.timer);
        m_file.add(m_lines.firing(firing, track, ExplanationText::callbackName(firing.kind, firing.run)));
    }
    if (news.waiting != std::exchange(m_waiting, news.waiting)) {
        m_file.add(m_lines.backlog(now, news.waiting));
    }
    if (news.lost != std::exchange(m_lost, news.lost)) {
        m_file.add(m_lines.lost(now, news.lost));
    }
    m_file.flush();
}

void TraceWriter::writeActivity(Activity activity)
{
    m_inquiry.identify(activity);
    switch (activity.doing) {
    case Doing::Unknown:
    case Doing::Host:
        return; // what is not told
    case Doing::Idle:
        m_file.add(m_lines.activity(activity, "idle"));
        return;
    case Doing::Script:
        m_file.add(m_lines.activity(activity, "script"));
        return;
    case Doing::Callback:
        trackOf(activity.timer);
        m_file.add(m_lines.activity(activity, m_inquiry.words().callback(activity)));
        return;
    }
}

/// Tells the trace of the timer where that is new.
int TraceWriter::trackOf(const TimerTable::Identity& timer)
{
    const auto description = m_timers.find(timer);
    if (!description) {
        return trace::Scheduler;
    }
    const int track = trace::FirstTimer + static_cast<int>(description->number);
    if (auto& known = m_known[timer]; known != description) {
        known = description;
        m_file.add(m_lines.timer(timer, *description));
        if (m_namedTracks.insert(track).second) {
            m_file.add(m_lines.nameOfTrack(track, description->name));
        }
        if (m_known.size() > TimerTable::capacity) {
            m_known.clear(); // they are told again as they come
            m_namedTracks.clear();
        }
    }
    return track;
}

} // namespace tovrinhost
