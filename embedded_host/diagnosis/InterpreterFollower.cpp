#include "embedded_host/diagnosis/InterpreterFollower.hpp"

namespace tovrinhost {

InterpreterFollower::InterpreterFollower(FiringLog& log)
    : m_log(log)
{
    m_pumping.reserve(usualDepth);
}

InterpreterFollower::ScriptRuns::ScriptRuns(InterpreterFollower& follower)
    : m_follower(follower)
{
    m_follower.turnTo({ Doing::Script, 0 });
}

InterpreterFollower::ScriptRuns::~ScriptRuns()
{
    m_follower.turnTo({ Doing::Host, 0 });
}

void InterpreterFollower::sleeps() noexcept
{
    turnTo({ Doing::Idle, m_log.interpreter().now().number });
}

void InterpreterFollower::wakes() noexcept
{
    turnTo({ Doing::Host, m_log.interpreter().now().number });
}

void InterpreterFollower::pumpingBegins(int line) noexcept
{
    const InterpreterLog::State pumping = m_log.interpreter().now();
    m_pumping.push_back(pumping);
    turnTo({ Doing::Host, pumping.number }, line);
}

void InterpreterFollower::pumpingEnds() noexcept
{
    turnTo(m_pumping.back());
    m_pumping.pop_back();
}

void InterpreterFollower::turnTo(InterpreterLog::State next, int line) noexcept
{
    m_log.interpreter().turnTo(next, m_log.now(), line);
}

} // namespace tovrinhost
