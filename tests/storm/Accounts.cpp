#include "tests/storm/Accounts.hpp"

#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "host/foundation/tovrindata/CharArray.hpp"

#include <ostream>
#include <stdexcept>

namespace storm {

using foundation::tovrindata::Array;
using foundation::tovrindata::ArrayFactory;
using foundation::tovrindata::CharArray;
using tovrintimer::BusyMode;
using tovrintimer::ExecutionMode;

namespace {

template <typename T, std::size_t number> T oneOf(std::mt19937& random, const std::array<T, number>& choices)
{
    return choices.at(std::uniform_int_distribution<std::size_t>(0, number - 1)(random));
}

bool either(std::mt19937& random)
{
    return oneOf<bool, 2>(random, { false, true });
}

} // namespace

void Character::applyTo(tovrintimer::TimerInfo& timer) const
{
    timer.setExecutionMode(static_cast<std::size_t>(mode));
    timer.setBusyMode(static_cast<std::size_t>(busyMode));
    timer.setNumOfTasksToExecute(tasks);
    timer.setPeriod(period);
    timer.setStartDelay(startDelay);
    timer.setStartFcnIsEmpty(!hasStartFcn);
    timer.setStopFcnIsEmpty(!hasStopFcn);
    timer.setErrorFcnIsEmpty(!hasErrorFcn);
}

Character randomCharacter(std::mt19937& random)
{
    Character character;
    character.mode = oneOf<ExecutionMode, 4>(random,
        { ExecutionMode::SingleShot, ExecutionMode::FixedSpacing, ExecutionMode::FixedDelay,
            ExecutionMode::FixedRate });
    character.busyMode = oneOf<BusyMode, 3>(random, { BusyMode::Drop, BusyMode::Queue, BusyMode::Error });
    character.tasks = oneOf<std::size_t, 5>(random, { 1, 2, 3, 5, 20 });
    character.period = oneOf<double, 4>(random, { 0.0, 0.9, 1.0, 3.0 });
    character.startDelay = oneOf<double, 4>(random, { 0.0, 0.0, 1.0, 2.9 });
    character.hasStartFcn = either(random);
    character.hasStopFcn = either(random);
    character.hasErrorFcn = either(random);
    character.raisesErrors = either(random);
    return character;
}

std::ostream& operator<<(std::ostream& stream, const Character& character)
{
    return stream << "mode " << static_cast<int>(character.mode) << ", busy mode "
                  << static_cast<int>(character.busyMode) << ", " << character.tasks << " tasks, period "
                  << character.period << ", start delay " << character.startDelay << ", StartFcn "
                  << character.hasStartFcn << ", StopFcn " << character.hasStopFcn << ", ErrorFcn "
                  << character.hasErrorFcn << ", raises errors " << character.raisesErrors;
}

Accounts::Accounts()
    : m_accounts(most)
{
}

Account& Accounts::open(const Character& character, Array& timerObject)
{
    const std::size_t number = m_opened++;
    if (number >= m_accounts.size()) {
        throw std::length_error("the storm has made more than " + std::to_string(most) + " timers");
    }
    timerObject = ArrayFactory().createCharArray(std::to_string(number));
    m_accounts[number].character = character;
    return m_accounts[number];
}

Account& Accounts::of(const Array& timerObject)
{
    return m_accounts.at(std::stoul(CharArray(timerObject).toUTF8()));
}

Accounts& accounts()
{
    static Accounts instance;
    return instance;
}

} // namespace storm
