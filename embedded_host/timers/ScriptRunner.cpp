#include "embedded_host/timers/ScriptRunner.hpp"

#include "embedded_host/engine/Processes.hpp"
#include "embedded_host/engine/ScriptMemory.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "embedded_host/timers/HelpFunction.hpp"
#include "embedded_host/timers/TimerLibrary.hpp"
#include "embedded_host/timers/WallTimes.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <cstdlib>

namespace tovrinhost {

ScriptRunner::ScriptRunner(std::size_t maxBacklog, const WallClock& clock)
    : m_engine(Engine::start())
    , m_timers(m_engine, m_errors, maxBacklog, clock)
{
    m_engine->run([this](Interpreter& interpreter) {
        keepReserveFrom(interpreter.state(), interpreter.spareBlocks());
        openTimerLibrary(interpreter, m_timers, m_exitCode);
        interpreter.protect([](lua_State* state) {
            openProcesses(state);
            openHelp(state);
            openWallTimes(state);
            return 0;
        });
    });
    m_timers.diagnosis().log().beginNow();
}

ScriptRunner::~ScriptRunner()
{
    // The scheduler's thread first: then nobody hands anything over any more. Once the engine's has ended too,
    // nobody asks for the scheduler.
    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
    m_engine->shutDown();
    destroyProcessScope();
}

int ScriptRunner::run(const Script& script)
{
    runAndStop([&](Interpreter& interpreter) {
        if (runScript(interpreter, script)) {
            m_timers.serve();
        }
    });
    if (m_interruptedStatus != 0) {
        return m_interruptedStatus;
    }
    if (m_exitCode != EXIT_SUCCESS) {
        return m_exitCode;
    }
    return m_errors.hasErrors() ? EXIT_FAILURE : EXIT_SUCCESS;
}

int ScriptRunner::serve(const std::function<void(Interpreter&)>& work)
{
    runAndStop(work);
    return m_interruptedStatus != 0 ? m_interruptedStatus.load() : m_exitCode;
}

void ScriptRunner::runAndStop(const std::function<void(Interpreter&)>& work)
{
    m_engine->run([&](Interpreter& interpreter) {
        EventLoop& loop = m_engine->loop();
        try {
            work(interpreter);
        } catch (const Interrupted&) {
            // Told by the loop.
        }
        noteInterruption();
        loop.clearInterruption();
        try {
            m_timers.stopAll();
        } catch (const Interrupted&) {
            // In a StopFcn: what is left is not waited for.
            noteInterruption();
        }
    });
}

bool ScriptRunner::runScript(Interpreter& interpreter, const Script& script)
{
    try {
        const InterpreterFollower::ScriptRuns runs(m_timers.diagnosis().follower());
        interpreter.runScript(script);
        return true;
    } catch (const std::exception& error) {
        if (m_engine->loop().interruption() == Interruption::None) {
            m_errors.report("script", error);
        }
        return false;
    }
}

void ScriptRunner::interrupt(int status)
{
    int none = 0;
    m_interruptedStatus.compare_exchange_strong(none, status);
    m_engine->interrupt(Interruption::User);
}

void ScriptRunner::noteInterruption()
{
    if (m_engine->loop().interruption() == Interruption::User) {
        int none = 0;
        m_interruptedStatus.compare_exchange_strong(none, controlCStatus);
    }
}

} // namespace tovrinhost
