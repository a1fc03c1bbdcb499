#include "tests/simulation/program/Program.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <sstream>
#include <stdexcept>

namespace simulation {

namespace {

constexpr std::array<const char*, 15> verbNames { "start", "stop", "fail", "fail-and-stop", "destroy", "make",
    "set-period", "set-tasks", "set-busy", "set-mode", "set-delay", "set-has-stop", "set-has-error", "sleep",
    "raise" };

const char* name(Verb verb)
{
    return verbNames.at(static_cast<std::size_t>(verb));
}

Verb verbOf(const std::string& text)
{
    const auto* const found = std::ranges::find(verbNames, text);
    if (found == verbNames.end()) {
        throw std::invalid_argument("unknown step \"" + text + "\"");
    }
    return static_cast<Verb>(found - verbNames.begin());
}

/// Words of the form name=value.
class Fields {
public:
    explicit Fields(std::istream& line)
    {
        for (std::string word; line >> word;) {
            const auto equals = word.find('=');
            if (equals == std::string::npos) {
                throw std::invalid_argument("\"" + word + "\" is not of the form name=value");
            }
            m_values[word.substr(0, equals)] = word.substr(equals + 1);
        }
    }

    double number(const std::string& name) const
    {
        const auto found = m_values.find(name);
        if (found == m_values.end()) {
            throw std::invalid_argument("\"" + name + "=\" is missing");
        }
        return std::stod(found->second);
    }

    std::uint64_t whole(const std::string& name) const { return static_cast<std::uint64_t>(number(name)); }
    bool flag(const std::string& name) const { return number(name) != 0; }

private:
    std::map<std::string, std::string> m_values;
};

TimerSpec timerFrom(const Fields& fields)
{
    TimerSpec spec;
    spec.settings.mode = fields.whole("mode");
    spec.settings.busy = fields.whole("busy");
    spec.settings.period = fields.number("period");
    spec.settings.delay = fields.number("delay");
    spec.settings.tasks = fields.whole("tasks");
    spec.settings.hasStart = fields.flag("start");
    spec.settings.hasStop = fields.flag("stop");
    spec.settings.hasError = fields.flag("error");
    spec.lasts = fields.number("lasts");
    spec.onError = static_cast<OnError>(std::min<std::uint64_t>(fields.whole("onerror"), 2));
    return spec;
}

Step stepFrom(const std::string& actor, std::istream& line)
{
    Step step;
    const auto dash = actor.rfind('-');
    const std::string who = actor.substr(0, dash);
    if (dash == std::string::npos || (who != "host" && who != "callback")) {
        throw std::invalid_argument("unknown line \"" + actor + "\"");
    }
    step.byCallback = who == "callback";
    step.actor = std::stoi(actor.substr(dash + 1));
    std::string verb;
    std::string value = "0";
    line >> verb >> step.timer >> value;
    step.verb = verbOf(verb);
    step.value = std::stod(value);
    return step;
}

void readLine(Program& program, const std::string& text)
{
    std::istringstream line(text);
    std::string what;
    if (!(line >> what) || what.front() == '#') {
        return;
    }
    if (what == "schedule") {
        line >> program.schedule;
    } else if (what == "weather") {
        const Fields fields(line);
        program.weather = { fields.whole("switches"), fields.whole("spurious"), fields.whole("late"),
            fields.whole("slow"), fields.flag("starved") };
    } else if (what == "host") {
        const Fields fields(line);
        program.timerPpe = fields.flag("ppe");
        program.logs = fields.flag("logs");
    } else if (what == "end") {
        const Fields fields(line);
        program.settle = fields.number("settle");
        program.ending = static_cast<Ending>(std::min<std::uint64_t>(fields.whole("how"), 3));
    } else if (what == "timer") {
        program.timers.push_back(timerFrom(Fields(line)));
    } else {
        program.steps.push_back(stepFrom(what, line));
    }
}

} // namespace

int Program::hostThreads() const
{
    int threads = 0;
    for (const Step& step : steps) {
        threads = step.byCallback ? threads : std::max(threads, step.actor + 1);
    }
    return threads;
}

std::string toText(const Program& program)
{
    std::ostringstream text;
    text.precision(17);
    text << "schedule " << program.schedule << '\n'
         << "weather switches=" << program.weather.switches << " spurious=" << program.weather.spuriousWakeUps
         << " late=" << program.weather.lateWakeUps << " slow=" << program.weather.slowThreads
         << " starved=" << program.weather.oneIsStarved << '\n'
         << "host ppe=" << program.timerPpe << " logs=" << program.logs << '\n'
         << "end settle=" << program.settle << " how=" << static_cast<int>(program.ending) << '\n';
    for (const TimerSpec& spec : program.timers) {
        const Settings& s = spec.settings;
        text << "timer mode=" << s.mode << " busy=" << s.busy << " period=" << s.period << " delay=" << s.delay
             << " tasks=" << s.tasks << " start=" << s.hasStart << " stop=" << s.hasStop << " error=" << s.hasError
             << " lasts=" << spec.lasts << " onerror=" << static_cast<int>(spec.onError) << '\n';
    }
    for (const Step& step : program.steps) {
        text << (step.byCallback ? "callback-" : "host-") << step.actor << ' ' << name(step.verb) << ' '
             << step.timer << ' ' << step.value << '\n';
    }
    return text.str();
}

Program fromText(const std::string& text)
{
    Program program;
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        try {
            readLine(program, line);
        } catch (const std::exception& error) {
            throw std::invalid_argument("line " + std::to_string(number) + ": " + error.what());
        }
    }
    const auto isWrong = [&](const Step& step) {
        const int timers = static_cast<int>(program.timers.size());
        return step.timer < 0 || step.timer >= timers || step.actor < 0
            || step.actor >= (step.byCallback ? timers : 64);
    };
    if (program.timers.empty() || std::ranges::any_of(program.steps, isWrong)) {
        throw std::invalid_argument("a program needs timers, and its steps name only those that it has");
    }
    return program;
}

} // namespace simulation
