#include "timer_src/main/TimerInfo.hpp"

#include "host/vorn/VORN.hpp"
#include "timer_src/main/MonotonicTime.hpp"

namespace tovrintimer {

namespace {

// A mode is stored as a signed 32-bit number, whatever the caller passes.
template <typename Mode> Mode fromSize(size_t value)
{
    return static_cast<Mode>(static_cast<std::int32_t>(static_cast<std::uint32_t>(value)));
}

template <typename Mode> size_t toSize(Mode mode)
{
    return static_cast<size_t>(static_cast<std::int64_t>(mode));
}

double secondsBetween(std::int64_t earlierMs, std::int64_t laterMs)
{
    return static_cast<double>(laterMs - earlierMs) / 1000.0;
}

} // namespace

TimerInfo::TimerInfo(foundation::tovrindata::Array tovrinSideOfTimerObj, std::shared_ptr<vorn::VORN> vornInstance,
    const std::shared_ptr<InterruptStateData>& interruptData)
    : m_tovrinSideOfTimerObj(std::move(tovrinSideOfTimerObj))
    , m_vornInstanceWhereTimerWasFirstCreated(std::move(vornInstance))
    , m_interruptData(interruptData)
{
}

TimerInfo::~TimerInfo() = default;

pelk::factory::full::SharingType TimerInfo::getSharingType() const
{
    return pelk::factory::full::SharingType::StdShared;
}

const char* TimerInfo::getFullyQualifiedPelkTypeName() const
{
    return "StdSharedTimerInfo";
}

foundation::tovrindata::Array TimerInfo::getTOVRINSideOfTimerObj()
{
    return m_tovrinSideOfTimerObj;
}

std::shared_ptr<vorn::VORN> TimerInfo::getVORNInstanceWhereTimerWasFirstCreated()
{
    return m_vornInstanceWhereTimerWasFirstCreated;
}

const std::shared_ptr<InterruptStateData>& TimerInfo::getInterruptData() const
{
    return m_interruptData;
}

foundation::msg_svc::exchange::IDType TimerInfo::getId() const
{
    return m_id;
}

double TimerInfo::getPeriod() const
{
    return m_period;
}

void TimerInfo::setPeriod(double milliseconds)
{
    m_period = milliseconds;
}

double TimerInfo::getStartDelay() const
{
    return m_startDelay;
}

void TimerInfo::setStartDelay(double milliseconds)
{
    m_startDelay = milliseconds;
}

size_t TimerInfo::getBusyMode() const
{
    return toSize(m_busyMode.load());
}

void TimerInfo::setBusyMode(size_t busyMode)
{
    m_busyMode = fromSize<BusyMode>(busyMode);
}

size_t TimerInfo::getExecutionMode() const
{
    return toSize(m_executionMode.load());
}

void TimerInfo::setExecutionMode(size_t executionMode)
{
    m_executionMode = fromSize<ExecutionMode>(executionMode);
}

size_t TimerInfo::getNumOfTasksToExecute() const
{
    return m_numOfTasksToExecute;
}

void TimerInfo::setNumOfTasksToExecute(size_t numOfTasks)
{
    m_numOfTasksToExecute = numOfTasks;
}

bool TimerInfo::getStartFcnIsEmpty()
{
    return m_startFcnIsEmpty;
}

void TimerInfo::setStartFcnIsEmpty(bool isEmpty)
{
    m_startFcnIsEmpty = isEmpty;
}

bool TimerInfo::getStopFcnIsEmpty()
{
    return m_stopFcnIsEmpty;
}

void TimerInfo::setStopFcnIsEmpty(bool isEmpty)
{
    m_stopFcnIsEmpty = isEmpty;
}

bool TimerInfo::getErrorFcnIsEmpty()
{
    return m_errorFcnIsEmpty;
}

void TimerInfo::setErrorFcnIsEmpty(bool isEmpty)
{
    m_errorFcnIsEmpty = isEmpty;
}

bool TimerInfo::getIsRunning() const
{
    return m_isRunning;
}

void TimerInfo::setActivationStatus(bool isRunning)
{
    m_isRunning = isRunning;
    if (!isRunning) {
        breakOutOfEventLoop(m_vornInstanceWhereTimerWasFirstCreated);
    }
}

void TimerInfo::breakOutOfEventLoop(std::shared_ptr<vorn::VORN>& engine)
{
    cmddistributor::RunOptions options(cmddistributor::WhenToDequeue::AtEventLoop, boost::none);
    options.setQueueName(u"TIMER_WAKE_UP_VORN");
    const auto requestId = vorn::VORN::createRequestID();
    // Nobody waits for the statement: taking it off the queue is what wakes the event loop.
    engine->evalAsync(u"if(1==1), end", options, requestId);
}

void TimerInfo::updateTimerFunRunStatus()
{
    const Lock lock(m_statsMutex);
    const std::uint64_t runs = ++m_tasksExecuted;
    if (runs > 1) {
        m_prevRunTime = m_lastRunTime;
    }
    m_lastRunTime = now().time_since_epoch().count();
    if (runs < 2) {
        return;
    }
    const double instant = secondsBetween(m_prevRunTime, m_lastRunTime);
    if (runs == 2) {
        m_averagePeriod = instant;
    } else {
        // The weights count runs, although one period fewer has been measured.
        const auto before = static_cast<double>(runs - 1);
        m_averagePeriod = (before * m_averagePeriod + instant) / static_cast<double>(runs);
    }
}

double TimerInfo::getTasksExecuted() const
{
    const Lock lock(m_statsMutex);
    return static_cast<double>(m_tasksExecuted.load());
}

double TimerInfo::getInstantPeriod() const
{
    const Lock lock(m_statsMutex);
    if (m_tasksExecuted < 2) {
        return std::nan("1");
    }
    return secondsBetween(m_prevRunTime, m_lastRunTime);
}

double TimerInfo::getAveragePeriod() const
{
    const Lock lock(m_statsMutex);
    return m_averagePeriod;
}

void TimerInfo::reset()
{
    m_tasksExecuted = 0;
    m_averagePeriod = std::nan("1");
}

} // namespace tovrintimer
