#include "tests/random_programs/program/Program.hpp"
#include "virtual_time/Random.hpp"

namespace random_programs {

namespace {

using virtual_time::Choices;

double randomPeriod(Choices& choices)
{
    return choices.oneOf({ 1.0, 1.0, 1.5, 2.0, 3.0, 5.0 });
}

double randomDelay(Choices& choices)
{
    return choices.oneOf({ 0.0, 0.0, 0.0, 0.5, 1.0, 4.0 });
}

int randomTasks(Choices& choices)
{
    return choices.oneOf({ 0, 1, 1, 2, 3, 5 });
}

TimerSpec randomTimer(Choices& choices)
{
    TimerSpec spec;
    // Fixed rate has most to go wrong.
    spec.mode = choices.oneOf({ 0, 1, 2, 3, 3, 3 });
    spec.busyMode = choices.oneOf({ 0, 1, 2 });
    spec.period = randomPeriod(choices);
    spec.startDelay = randomDelay(choices);
    spec.tasks = randomTasks(choices);
    spec.has = { !choices.oneIn(3), true, !choices.oneIn(3), !choices.oneIn(3) };
    return spec;
}

double randomValue(Choices& choices, Verb verb)
{
    switch (verb) {
    case Verb::Wait:
    case Verb::WaitBoth:
    case Verb::WaitEither:
    case Verb::Pause:
        return choices.oneOf({ 0.0, 0.0, 0.5, 1.0, 2.0, 4.0, 6.0 });
    case Verb::Once:
    case Verb::Appoint:
        return randomDelay(choices);
    case Verb::Often:
        return randomPeriod(choices);
    case Verb::SetKeepsAlive:
        return choices.oneIn(3) ? 1.0 : 0.0;
    case Verb::Busy:
        return choices.oneOf({ 0.0, 0.5, 1.0, 2.0, 4.0, 8.0 });
    case Verb::SetPeriod:
        return choices.oneIn(8) ? 0.0 : randomPeriod(choices);
    case Verb::SetTasks:
        return choices.oneOf({ -1.0, 0.0, 1.0, 1.0, 2.0, 3.0, 5.0 });
    case Verb::SetBusyMode:
        return static_cast<double>(choices.below(3));
    case Verb::SetStartDelay:
        return randomDelay(choices);
    case Verb::Assign:
        return static_cast<double>(choices.below(callbackKinds));
    case Verb::Remove:
        return choices.oneOf({ 0.0, 2.0, 2.0, 3.0 });
    case Verb::Exit:
        return static_cast<double>(choices.oneOf({ 0, 0, 3, 5 }));
    case Verb::Start:
    case Verb::Stop:
    case Verb::Delete:
    case Verb::Raise:
    case Verb::Caught:
    case Verb::Collect:
    case Verb::Haunt:
    case Verb::OnTheSecond:
        break;
    }
    return 0.0;
}

Verb randomChange(Choices& choices)
{
    return choices.oneOf({ Verb::SetPeriod, Verb::SetTasks, Verb::SetTasks, Verb::SetBusyMode, Verb::SetStartDelay,
        Verb::Assign, Verb::Assign, Verb::Remove, Verb::SetKeepsAlive });
}

Verb randomRarity(Choices& choices)
{
    if (choices.oneIn(20)) {
        return Verb::OnTheSecond; // which takes long
    }
    return choices.oneOf(
        { Verb::Caught, Verb::Collect, Verb::Haunt, Verb::Delete, Verb::Once, Verb::Often, Verb::Appoint });
}

Verb randomVerbOfScript(Choices& choices)
{
    if (choices.oneIn(60)) {
        return choices.oneOf({ Verb::Raise, Verb::Exit });
    }
    return choices.oneIn(5) ? randomChange(choices)
        : choices.oneIn(8)
        ? randomRarity(choices)
        : choices.oneOf({ Verb::Start, Verb::Start, Verb::Start, Verb::Start, Verb::Stop, Verb::Stop, Verb::Wait,
            Verb::Wait, Verb::WaitBoth, Verb::WaitEither, Verb::Pause, Verb::Pause, Verb::Pause, Verb::Busy });
}

Verb randomVerbOfCallback(Choices& choices)
{
    if (choices.oneIn(80)) {
        return Verb::Exit;
    }
    return choices.oneIn(4) ? randomChange(choices)
        : choices.oneIn(8)
        ? randomRarity(choices)
        : choices.oneOf({ Verb::Start, Verb::Start, Verb::Start, Verb::Stop, Verb::Stop, Verb::Busy, Verb::Busy,
            Verb::Busy, Verb::Raise, Verb::Raise, Verb::Pause, Verb::Wait, Verb::WaitBoth, Verb::WaitEither });
}

int randomTimerOf(Choices& choices, const Program& program)
{
    return static_cast<int>(choices.below(program.timers.size()));
}

Step stepOfScript(Choices& choices, const Program& program)
{
    Step step;
    step.verb = randomVerbOfScript(choices);
    step.timer = randomTimerOf(choices, program);
    step.value = randomValue(choices, step.verb);
    // Callbacks that wait for each other without a limit would wait for ever: only the script may.
    step.second = randomTimerOf(choices, program);
    const bool isWait = step.verb == Verb::Wait || step.verb == Verb::WaitBoth || step.verb == Verb::WaitEither;
    if (isWait && choices.oneIn(3)) {
        step.value = -1.0;
    }
    step.inCoroutine = choices.oneIn(8);
    return step;
}

Step stepOfCallback(Choices& choices, const Program& program)
{
    Step step;
    step.actor = randomTimerOf(choices, program);
    step.callback = choices.oneOf({ startFcn, timerFcn, timerFcn, timerFcn, stopFcn, stopFcn, errorFcn });
    step.call = choices.oneOf({ 0, 1, 1, 1, 2, 3 });
    step.verb = randomVerbOfCallback(choices);
    step.timer = choices.oneIn(2) ? step.actor : randomTimerOf(choices, program);
    step.second = randomTimerOf(choices, program);
    step.value = randomValue(choices, step.verb);
    step.inCoroutine = choices.oneIn(8);
    return step;
}

} // namespace

Program programOf(std::uint64_t seed)
{
    virtual_time::Random choices(seed);
    Program program;
    const auto timers = 4 + choices.below(5);
    for (std::uint64_t i = 0; i < timers; ++i) {
        program.timers.push_back(randomTimer(choices));
    }
    for (auto steps = 4 + choices.below(3 * timers); steps > 0; --steps) {
        program.steps.push_back(stepOfCallback(choices, program));
    }
    // Without a start little happens.
    for (int timer = 0; timer < static_cast<int>(timers); ++timer) {
        program.steps.push_back({ .verb = Verb::Start, .timer = timer });
        for (auto steps = choices.below(4); steps > 0; --steps) {
            program.steps.push_back(stepOfScript(choices, program));
        }
    }
    return program;
}

} // namespace random_programs
