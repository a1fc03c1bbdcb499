#include "tests/simulation/model/Model.hpp"

#include "tests/library/TimerSchedulerPeer.hpp"
#include "tests/simulation/model/Rules.hpp"

#include <algorithm>

namespace simulation {

namespace {

constexpr std::int64_t farDeadlineMs = 32'400'000'000; // 375 days

} // namespace

using tovrintimer::TimerFcnWork;
using Peer = tovrintimer::TimerSchedulerPeer;

Model::Model(Kernel& kernel)
    : m_kernel(kernel)
{
    kernel.setWitness(this);
}

void Model::watch(tovrintimer::TimerScheduler& scheduler)
{
    m_scheduler = &scheduler;
}

void Model::unwatch()
{
    m_scheduler = nullptr;
    if (m_queuedBeforeCleanup && m_schedulerThread < 0) {
        fail("work was queued, but no scheduler thread has been started");
    }
}

// ---- Timers

int Model::timerMade(const std::shared_ptr<tovrintimer::TimerInfo>& timer, const Settings& settings)
{
    const int number = static_cast<int>(m_timers.size());
    m_timers.emplace_back();
    m_timers.back().timer = timer;
    m_timers.back().id = timer->getId();
    m_timers.back().hasStart = settings.hasStart;
    m_timers.back().running.set(++m_time, false);
    m_timerOf[timer->getId()] = number;
    settingsChanged(number, settings);
    return number;
}

void Model::settingsChanged(int timer, const Settings& settings)
{
    TimerModel& model = at(timer);
    ++m_time;
    model.mode.set(m_time, settings.mode);
    model.busy.set(m_time, settings.busy);
    model.period.set(m_time, settings.period);
    model.delay.set(m_time, settings.delay);
    model.tasks.set(m_time, settings.tasks);
    model.hasStop.set(m_time, settings.hasStop);
    model.hasError.set(m_time, settings.hasError);
}

void Model::timerDestroyed(int timer)
{
    ++m_time;
    at(timer).exists = false;
}

// ---- Activities

Activity* Model::activity()
{
    Activities& mine = activities();
    return mine.empty() ? nullptr : mine.back().get();
}

Activity& Model::begin(Activity::What what, int timer)
{
    auto next = std::make_unique<Activity>();
    next->what = what;
    next->timer = timer;
    next->timerExists = timer < 0 || at(timer).exists;
    next->begin = ++m_time;
    activities().push_back(std::move(next));
    return *activities().back();
}

void Model::end()
{
    m_aboutToNotify.erase(m_kernel.self());
    const std::unique_ptr<Activity> ended = std::move(activities().back());
    activities().pop_back();
    ++m_time;
    if (ended->what == Activity::Start && ended->events.empty()) {
        at(ended->timer).lastReset = m_time;
    }
    if (ended->handOver) {
        ended->handOver->hasSettled.set(m_time, ended->handOver->completed.latest());
    }
    if (m_kernel.isTracing()) {
        m_kernel.note("(" + describe(*ended) + ")");
    }
    judge(*this, *ended);
}

Event& Model::add(Event::What what, int timer)
{
    m_aboutToNotify.erase(m_kernel.self());
    Activity* const current = activity();
    if (current == nullptr || current->timer != timer) {
        fail("something happens to timer " + std::to_string(timer) + " that nobody has asked for: event "
            + std::to_string(what) + (current != nullptr ? " during " + describe(*current) : ""));
    }
    if (!at(timer).exists) {
        fail("work of a timer that has been destroyed is not silent: " + describe(*current));
    }
    Event& event = current->events.emplace_back();
    event.what = what;
    event.when = ++m_time;
    if (current->what == Activity::Start && current->events.size() == 1) {
        at(timer).lastReset = m_time;
    }
    return event;
}

void Model::operationBegins(Activity::What what, int timer)
{
    begin(what, timer);
    if (what == Activity::Start && at(timer).exists) {
        at(timer).statistics.reset();
    }
}

void Model::operationEnds()
{
    if (activity()->what == Activity::Cleanup) {
        activities().pop_back();
        return;
    }
    end();
}

std::shared_ptr<HandOver> Model::handedOver(int timer)
{
    Event& event = add(Event::HandedOver, timer);
    const Activity& by = *activity();
    event.handOver = std::make_shared<HandOver>();
    event.handOver->number = ++m_handOvers;
    event.handOver->timer = timer;
    event.handOver->when = m_time;
    event.handOver->completed.set(0, false);
    event.handOver->hasSettled.set(0, false);
    expectOf(*event.handOver, at(timer), by, m_time);
    return event.handOver;
}

void Model::taskBegins(const std::shared_ptr<HandOver>& handOver)
{
    begin(Activity::Task, handOver->timer).handOver = handOver;
}

void Model::taskEnds()
{
    end();
}

void Model::evaluationBegins(int timer, WorkKind kind)
{
    add(Event::EvaluationBegins, timer).kind = kind;
    const Activity& task = *activity();
    if (task.what != Activity::Task) {
        fail("a callback is evaluated outside a task: " + describe(task));
    }
    if (kind == TimerFcnWork) {
        if (task.clockReads.empty()) {
            fail("a run is not counted before its callback begins: " + describe(task));
        }
        TimerModel& model = at(timer);
        model.statistics.runStarts(
            task.clockReads.front().second / millisecond, model.lastReset > task.begin || isBeingReset(timer));
        checkStatistics(timer);
    }
}

void Model::evaluationEnds(int timer, WorkKind kind, bool succeeded)
{
    Event& event = add(Event::EvaluationEnds, timer);
    event.kind = kind;
    event.succeeded = succeeded;
    HandOver& handOver = *activity()->handOver;
    if (succeeded && kind == TimerFcnWork && handOver.modes.front() == ExecutionMode::FixedRate) {
        handOver.completed.set(m_time, true);
    }
    checkStatistics(timer);
}

/// Whether a start has begun that may not have come to the statistics yet.
bool Model::isBeingReset(int timer) const
{
    return std::ranges::any_of(m_activities, [timer](const auto& ofThread) {
        return std::ranges::any_of(ofThread.second, [timer](const auto& activity) {
            return activity->what == Activity::Start && activity->timer == timer && activity->events.empty();
        });
    });
}

void Model::checkStatistics(int timer) const
{
    const auto info = at(timer).timer.lock();
    if (info && !isBeingReset(timer)) {
        const std::string difference = at(timer).statistics.compare(*info);
        if (!difference.empty()) {
            fail("timer " + std::to_string(timer) + ": " + difference);
        }
    }
}

void Model::woken(int timer)
{
    add(Event::Woken, timer);
    at(timer).running.set(m_time, false);
    checkFlags();
}

void Model::schedulerThreadStarted()
{
    if (m_schedulerThread >= 0) {
        fail("a second scheduler thread has been started");
    }
    m_schedulerThread = m_kernel.self();
}

void Model::checkFlags() const
{
    const Kernel::Atomically atomically;
    for (const TimerModel& model : m_timers) {
        const auto timer = model.timer.lock();
        if (timer && timer->getIsRunning() != model.running.latest()) {
            fail("the running flag of timer " + std::to_string(m_timerOf.at(model.id)) + " is "
                + (model.running.latest() ? "false, and ought to be true" : "true, and ought to be false"));
        }
    }
}

void Model::checkNothingIsLeft()
{
    for (const TimerModel& model : m_timers) {
        if (model.exists) {
            fail("timer " + std::to_string(m_timerOf.at(model.id)) + " is still owned by somebody");
        }
    }
    const bool recordIsLeft = std::ranges::any_of(m_records, [](const auto& record) { return !record.expired(); });
    if (recordIsLeft) {
        fail("a completion record is still owned by somebody");
    }
    for (const auto& [thread, left] : m_activities) {
        if (!left.empty()) {
            fail("thread " + std::to_string(thread) + " has not finished: " + describe(*left.back()));
        }
    }
}

// ---- The clock and the queue

void Model::clockWasRead(Moment now)
{
    m_aboutToNotify.erase(m_kernel.self());
    if (Activity* const current = activity()) {
        current->clockReads.emplace_back(++m_time, now);
    }
}

/// That is how a start sets the running flag.
void Model::atomicWasWritten()
{
    Activity* const current = activity();
    if (current == nullptr || current->what != Activity::Start) {
        return;
    }
    const Kernel::Atomically atomically;
    TimerModel& model = at(current->timer);
    const auto timer = model.timer.lock();
    if (timer && !model.running.latest() && timer->getIsRunning()) {
        model.running.set(++m_time, true);
    }
}

void Model::conditionWasNotified(const void* condition)
{
    m_aboutToNotify.erase(m_kernel.self());
    // That is how a dispatch ends.
    if (m_scheduler != nullptr && condition == &Peer::consumerCondition(*m_scheduler)) {
        if (activity() == nullptr || activity()->what != Activity::Dispatch) {
            fail("a dispatch is reported that has not been");
        }
        end();
    }
}

void Model::mutexWasReleased(const void* mutex)
{
    if (m_scheduler != nullptr && mutex == &Peer::mutex(*m_scheduler)) {
        compareQueue();
    }
}

void Model::timeMoves()
{
    checkFlags();
    if (m_scheduler == nullptr || m_schedulerThread < 0
        || !m_kernel.isBlockedOn(m_schedulerThread, &Peer::workCondition(*m_scheduler))) {
        return;
    }
    if (!m_aboutToNotify.empty()) {
        return;
    }
    const Moment waitsUntil = m_kernel.deadlineOf(m_schedulerThread);
    // Where the queue has become empty by a removal it sleeps on, until what was the deadline before.
    const std::int64_t wanted = m_queue.empty() ? farDeadlineMs : m_queue.front().due;
    const bool isStale = m_queue.empty() && m_removedDues.contains(waitsUntil / millisecond);
    if (waitsUntil != wanted * millisecond && !isStale) {
        fail("the scheduler thread sleeps until " + std::to_string(waitsUntil / millisecond) + " ms, and ought to "
            + "until " + std::to_string(wanted) + " ms, as " + std::to_string(m_queue.size())
            + " items are queued");
    }
    checkNoneWaitsInVain();
}

} // namespace simulation
