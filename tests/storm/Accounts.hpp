#pragma once

#include "host/foundation/tovrindata/Array.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/WorkKind.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace storm {

/// What a timer is like. Constant in its life, so that its account can be reckoned up.
struct Character {
    tovrintimer::ExecutionMode mode = tovrintimer::ExecutionMode::SingleShot;
    tovrintimer::BusyMode busyMode = tovrintimer::BusyMode::Drop;
    std::size_t tasks = 1;
    double period = 1.0;
    double startDelay = 0.0;
    bool hasStartFcn = false;
    bool hasStopFcn = false;
    bool hasErrorFcn = false;
    bool raisesErrors = false; ///< in one TimerFcn of four

    void applyTo(tovrintimer::TimerInfo& timer) const;

    /// How many TimerFcn callbacks a run may have at most.
    std::size_t longestRun() const { return mode == tovrintimer::ExecutionMode::SingleShot ? 1 : tasks; }

    /// Whether a callback that overlaps the one before it ends the run with the ErrorFcn.
    bool failsWhenBusy() const
    {
        return mode == tovrintimer::ExecutionMode::FixedRate && busyMode == tovrintimer::BusyMode::Error;
    }
};

Character randomCharacter(std::mt19937& random);

std::ostream& operator<<(std::ostream& stream, const Character& character);

/// What was asked for a timer, and what came of it. Any thread.
struct Account {
    Character character; // written before the timer exists
    std::atomic<std::size_t> starts { 0 };
    std::atomic<std::size_t> stops { 0 }; ///< stops, and errors that call for a StopFcn
    std::atomic<std::size_t> errors { 0 };
    std::array<std::atomic<std::size_t>, 5> evaluated {}; ///< by kind of callback

    std::size_t evaluatedOf(tovrintimer::WorkKind kind) const
    {
        return evaluated.at(static_cast<std::size_t>(kind));
    }
};

/// The accounts of all timers that a storm ever makes. The host-language object of a timer is the number of its
/// account.
class Accounts {
public:
    Accounts();

    /// \throws std::length_error where there are no more
    Account& open(const Character& character, foundation::tovrindata::Array& timerObject);

    Account& of(const foundation::tovrindata::Array& timerObject);

    bool isFull() const { return m_opened >= m_accounts.size() - reserve; }
    std::size_t size() const { return m_opened; }
    const Account& at(std::size_t number) const { return m_accounts.at(number); }

private:
    static constexpr std::size_t most = 200'000;
    static constexpr std::size_t reserve = 1'000; // threads that ask at the same time

    std::vector<Account> m_accounts;
    std::atomic<std::size_t> m_opened { 0 };
};

Accounts& accounts();

} // namespace storm
