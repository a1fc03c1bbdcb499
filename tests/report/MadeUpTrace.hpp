#pragma once

#include "embedded_host/diagnosis/TraceEvents.hpp"
#include "tests/embedded_host/TemporaryFile.hpp"

#include <fstream>
#include <string>
#include <vector>

namespace tovrinhost {

constexpr Nanoseconds ms = 1'000'000;

/// A trace as a test says: "poll" is timer 1, with a period of 100 ms, and "hog" timer 2, unless they are renamed.
class MadeUpTrace {
public:
    explicit MadeUpTrace(const std::string& pollsName = "poll")
    {
        m_text = "[\n" + m_lines.header("script.lua");
        addTimer(1, pollsName, "FixedRate, Drop, 0.1 s", "script.lua:3");
        addTimer(2, "hog", "FixedRate, Queue, 0.4 s", "script.lua:5");
    }

    static TimerTable::Identity timer(std::int64_t number) { return { 7, number }; }

    void addTimer(
        std::int64_t number, const std::string& name, const std::string& settings, const std::string& place)
    {
        TimerDescription description;
        description.number = static_cast<std::uint64_t>(number);
        description.name = name;
        description.settings = settings;
        description.period = 100 * ms;
        description.places[2] = place;
        addLine(m_lines.timer(timer(number), description));
    }

    /// A run, in milliseconds: handed over as soon as it was due.
    Firing run(std::int64_t number, std::uint64_t run, Nanoseconds due, Nanoseconds started, Nanoseconds ended)
    {
        Firing firing;
        firing.number = ++m_latest;
        firing.timer = timer(number);
        firing.stage = Stage::Done;
        firing.wasQueued = true;
        firing.due = due * ms;
        firing.dispatched = firing.taken = firing.due;
        firing.started = started * ms;
        firing.ended = ended * ms;
        firing.run = run;
        return firing;
    }

    void add(const Firing& firing) { addLine(m_lines.firing(firing, 100, "run")); }

    void addActivity(const Firing& firing)
    {
        Activity activity;
        activity.doing = Doing::Callback;
        activity.from = firing.started;
        activity.to = firing.ended;
        activity.number = firing.number;
        activity.timer = firing.timer;
        activity.run = firing.run;
        addLine(m_lines.activity(activity, "callback"));
    }

    void addDispatch(const Firing& firing) { addLine(m_lines.dispatch(firing, "poll")); }

    void addLine(const std::string& line) { m_text += ",\n" + line; }

    std::string content() const { return m_text + "\n]\n"; }

    /// \returns the path of the trace
    std::string write() const
    {
        std::ofstream(m_file.path(), std::ios::binary) << content();
        return m_file.path();
    }

private:
    const TraceLines m_lines { 0 };
    std::string m_text;
    std::uint64_t m_latest = 0;
    TemporaryFile m_file;
};

} // namespace tovrinhost
