#include "tests/random_programs/program/Program.hpp"

#include <array>
#include <sstream>

namespace random_programs {

namespace {

constexpr std::array<const char*, 4> modes { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" };
constexpr std::array<const char*, 3> busyModes { "Drop", "Queue", "Error" };
constexpr std::array<const char*, callbackKinds> callbacks { "StartFcn", "TimerFcn", "StopFcn", "ErrorFcn" };

const char* modeName(int mode)
{
    return modes.at(static_cast<std::size_t>(mode));
}

std::string quoted(const std::string& text)
{
    return '"' + text + '"';
}

std::string busyModeName(double mode)
{
    return quoted(busyModes.at(static_cast<std::size_t>(mode)));
}

std::string callbackName(double callback)
{
    return quoted(callbacks.at(static_cast<std::size_t>(callback)));
}

std::string timerName(int timer)
{
    return quoted(std::string(1, static_cast<char>('a' + timer)));
}

std::string text(double number)
{
    std::ostringstream out;
    out << number;
    return out.str();
}

std::string seconds(double milliseconds)
{
    return text(milliseconds / 1000.0);
}

std::string setting(int timer, const char* property, const std::string& value)
{
    return "set(" + timerName(timer) + ", \"" + property + "\", " + value + ")";
}

std::string toLua(const Step& step)
{
    const std::string timer = timerName(step.timer);
    switch (step.verb) {
    case Verb::Start:
        return "start(" + timer + ")";
    case Verb::Stop:
        return "stop(" + timer + ")";
    case Verb::Delete:
        return "delete(" + timer + ")";
    case Verb::Wait:
        return "wait(" + timer + (step.value < 0 ? "" : ", " + text(step.value)) + ")";
    case Verb::Pause:
        return "sleep(" + text(step.value) + ")";
    case Verb::Busy:
        return "busy(" + text(step.value) + ")";
    case Verb::SetPeriod:
        return setting(step.timer, "Period", seconds(step.value));
    case Verb::SetTasks:
        return setting(step.timer, "TasksToExecute", step.value < 0 ? "math.huge" : text(step.value));
    case Verb::SetBusyMode:
        return setting(step.timer, "BusyMode", busyModeName(step.value));
    case Verb::SetStartDelay:
        return setting(step.timer, "StartDelay", seconds(step.value));
    case Verb::Assign:
        return "assign(" + timer + ", " + callbackName(step.value) + ")";
    case Verb::Remove:
        return "set(" + timer + ", " + callbackName(step.value) + ", nil)";
    case Verb::Once:
        return "once(" + text(step.value) + ")";
    case Verb::Appoint:
        return "appoint(" + text(step.value) + ")";
    case Verb::OnTheSecond:
        return "onTheSecond()";
    case Verb::Often:
        return "often(" + text(step.value) + ", 3)";
    case Verb::WaitBoth:
    case Verb::WaitEither:
        return (step.verb == Verb::WaitBoth ? "waitBoth(" : "waitEither(") + timer + ", " + timerName(step.second)
            + (step.value < 0 ? "" : ", " + text(step.value)) + ")";
    case Verb::SetKeepsAlive:
        return setting(step.timer, "KeepsAlive", step.value > 0 ? "true" : "false");
    case Verb::Raise:
        return "raise()";
    case Verb::Caught:
        return "caught()";
    case Verb::Exit:
        return "exit(" + text(step.value) + ")";
    case Verb::Collect:
        return "collect()";
    case Verb::Haunt:
        return "haunt(" + timer + ")";
    }
    return {};
}

std::string line(const Step& step)
{
    const std::string action = toLua(step);
    return step.inCoroutine ? "inCoroutine(function() " + action + " end)" : action;
}

void writeTimer(std::ostream& out, int number, const TimerSpec& spec)
{
    std::string has;
    for (std::size_t callback = 0; callback < callbacks.size(); ++callback) {
        if (spec.has[callback] && callback != timerFcn) {
            has += (has.empty() ? "" : " ") + std::string(callbacks[callback]);
        }
    }
    out << "new(" << timerName(number) << ", " << quoted(has) << ", { ExecutionMode = \"" << modeName(spec.mode)
        << "\", BusyMode = " << busyModeName(spec.busyMode) << ", Period = " << seconds(spec.period);
    if (spec.startDelay > 0) {
        out << ", StartDelay = " << seconds(spec.startDelay);
    }
    if (spec.tasks > 0) {
        out << ", TasksToExecute = " << spec.tasks;
    }
    out << " })\n";
}

} // namespace

std::string toLua(const Program& program)
{
    std::ostringstream out;
    for (std::size_t i = 0; i < program.timers.size(); ++i) {
        writeTimer(out, static_cast<int>(i), program.timers[i]);
    }
    for (const Step& step : program.steps) {
        if (step.actor != script) {
            out << "during(" << timerName(step.actor) << ", " << callbackName(step.callback) << ", " << step.call
                << ", function() " << line(step) << " end)\n";
        }
    }
    for (const Step& step : program.steps) {
        if (step.actor == script) {
            out << line(step) << '\n';
        }
    }
    return out.str();
}

} // namespace random_programs
