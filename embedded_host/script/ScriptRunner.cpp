#include "embedded_host/script/ScriptRunner.hpp"

#include "embedded_host/process/ProcessScope.hpp"
#include "embedded_host/script/TimerLibrary.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <cstdlib>

namespace tovrinhost {

namespace {

constexpr int interruptedStatus = 130;

} // namespace

ScriptRunner::ScriptRunner(std::size_t maxBacklog)
    : m_engine(Engine::start())
    , m_timers(m_engine, m_errors, maxBacklog)
{
    m_engine->run([this](Interpreter& interpreter) { openTimerLibrary(interpreter, m_timers, m_exitCode); });
}

ScriptRunner::~ScriptRunner()
{
    // The scheduler's thread first: then nobody hands anything over any more. Once the engine's has ended too,
    // nobody asks for the scheduler.
    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
    m_engine->shutDown();
    destroyProcessScope();
}

int ScriptRunner::run(const std::string& path, const std::vector<std::string>& arguments)
{
    Interruption why = Interruption::None;
    m_engine->run([&](Interpreter& interpreter) {
        EventLoop& loop = m_engine->loop();
        try {
            if (runScript(interpreter, path, arguments)) {
                m_timers.runUntilQuiet();
            }
        } catch (const Interrupted&) {
            // Told by the loop.
        }
        why = loop.interruption();
        loop.clearInterruption();
        try {
            m_timers.stopAll();
        } catch (const Interrupted&) {
            // A StopFcn has called os.exit: what is left is not waited for.
        }
    });
    switch (why) {
    case Interruption::User:
        return interruptedStatus;
    case Interruption::Exit:
        return m_exitCode;
    case Interruption::None:
        break;
    }
    return m_errors.hasErrors() ? EXIT_FAILURE : EXIT_SUCCESS;
}

bool ScriptRunner::runScript(
    Interpreter& interpreter, const std::string& path, const std::vector<std::string>& arguments)
{
    try {
        interpreter.runFile(path, arguments);
        return true;
    } catch (const std::exception& error) {
        if (m_engine->loop().interruption() == Interruption::None) {
            m_errors.report("script", error);
        }
        return false;
    }
}

void ScriptRunner::interrupt()
{
    m_engine->interrupt(Interruption::User);
}

} // namespace tovrinhost
