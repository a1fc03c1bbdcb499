#include "tests/simulation/program/Program.hpp"

#include <cmath>
#include <limits>

namespace simulation {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

double randomPeriod(Choices& choices)
{
    if (choices.oneIn(40)) {
        return choices.oneOf({ infinity, std::nan("1"), -3.0, 1e300 });
    }
    return choices.oneOf({ 0.0, 0.9, 1.0, 2.0, 3.7, 5.0, 10.0, 25.0, 499.9, 500.0 });
}

double randomDelay(Choices& choices)
{
    return choices.oneOf({ 0.0, 0.0, 0.0, -1.0, 0.5, 1.0, 2.9, 10.0 });
}

std::size_t randomTasks(Choices& choices)
{
    return choices.oneOf<std::size_t>({ 0, 1, 1, 2, 3, 5, 8, 1000 });
}

double randomDuration(Choices& choices)
{
    return choices.oneOf({ 0.0, 0.0, 0.3, 1.0, 2.5, 7.0, 30.0 });
}

std::size_t randomMode(Choices& choices)
{
    // Fixed rate has most to go wrong.
    return choices.oneIn(60) ? 4 : choices.oneOf<std::size_t>({ 0, 1, 2, 3, 3, 3 });
}

std::size_t randomBusyMode(Choices& choices)
{
    return choices.oneIn(60) ? 3 : choices.oneOf<std::size_t>({ 0, 0, 1, 2 });
}

TimerSpec randomTimer(Choices& choices)
{
    TimerSpec spec;
    spec.settings.mode = randomMode(choices);
    spec.settings.busy = randomBusyMode(choices);
    spec.settings.period = randomPeriod(choices);
    spec.settings.delay = randomDelay(choices);
    spec.settings.tasks = randomTasks(choices);
    spec.settings.hasStart = choices.oneIn(3);
    spec.settings.hasStop = choices.oneIn(2);
    spec.settings.hasError = choices.oneIn(2);
    spec.lasts = randomDuration(choices);
    spec.onError = static_cast<OnError>(choices.below(3));
    return spec;
}

Verb randomVerb(Choices& choices)
{
    return choices.oneOf({ Verb::Start, Verb::Start, Verb::Start, Verb::Start, Verb::Stop, Verb::Stop, Verb::Stop,
        Verb::Fail, Verb::FailAndStop, Verb::Destroy, Verb::Make, Verb::SetPeriod, Verb::SetTasks, Verb::SetBusy,
        Verb::SetMode, Verb::SetDelay, Verb::SetHasStop, Verb::SetHasError, Verb::Sleep, Verb::Sleep, Verb::Sleep,
        Verb::Sleep });
}

double randomValue(Choices& choices, Verb verb)
{
    switch (verb) {
    case Verb::SetPeriod:
        return randomPeriod(choices);
    case Verb::SetTasks:
        return static_cast<double>(randomTasks(choices));
    case Verb::SetBusy:
        return static_cast<double>(randomBusyMode(choices));
    case Verb::SetMode:
        return static_cast<double>(randomMode(choices));
    case Verb::SetDelay:
        return randomDelay(choices);
    case Verb::SetHasStop:
    case Verb::SetHasError:
        return static_cast<double>(choices.below(2));
    case Verb::Sleep:
        return choices.oneOf({ 0.01, 0.4, 1.0, 2.0, 5.0, 12.0, 40.0 });
    case Verb::Start:
    case Verb::Stop:
    case Verb::Fail:
    case Verb::FailAndStop:
    case Verb::Destroy:
    case Verb::Make:
    case Verb::Raise:
        break;
    }
    return 0.0;
}

Step randomStep(Choices& choices, bool byCallback, int actor, int timers)
{
    Step step;
    step.byCallback = byCallback;
    step.actor = actor;
    step.verb = byCallback && choices.oneIn(2) ? choices.oneOf({ Verb::Raise, Verb::Sleep }) : randomVerb(choices);
    step.timer = static_cast<int>(choices.below(static_cast<std::uint64_t>(timers)));
    step.value = randomValue(choices, step.verb);
    return step;
}

} // namespace

Program randomProgram(Choices& choices)
{
    Program program;
    program.schedule = choices.below(1'000'000'000);
    Random weather(program.schedule);
    program.weather = randomWeather(weather);
    program.timerPpe = !choices.oneIn(4);
    program.logs = choices.oneIn(25);
    program.settle = choices.oneOf({ 0.0, 3.0, 20.0, 60.0 });
    program.ending = choices.oneOf({ Ending::StopAll, Ending::StopAll, Ending::StopAll,
        Ending::CleanupWhileRunning, Ending::CleanupAtOnce, Ending::DestroyWhileRunning });

    const int timers = static_cast<int>(choices.oneIn(10) ? 1 + choices.below(20) : 1 + choices.below(4));
    for (int timer = 0; timer < timers; ++timer) {
        program.timers.push_back(randomTimer(choices));
    }
    const int hosts = static_cast<int>(1 + choices.below(3));
    for (int host = 0; host < hosts; ++host) {
        const auto steps = 2 + choices.below(static_cast<std::uint64_t>(14 + timers));
        // Without a start little happens.
        program.steps.push_back({ false, host, Verb::Start, host % timers, 0.0 });
        for (std::uint64_t number = 0; number < steps; ++number) {
            program.steps.push_back(randomStep(choices, false, host, timers));
        }
    }
    for (std::uint64_t number = choices.below(12); number > 0; --number) {
        const auto actor = static_cast<int>(choices.below(static_cast<std::uint64_t>(timers)));
        program.steps.push_back(randomStep(choices, true, actor, timers));
    }
    return program;
}

} // namespace simulation
