#include "tests/random_programs/model/Run.hpp"

#include <algorithm>
#include <cmath>

namespace random_programs {

Run::Run(const Settings& settings, double acceptedAt)
    : isFixedRate(settings.isFixedRate())
    , looksEarly(isFixedRate || settings.mode == "FixedDelay")
    , mayOverrun(settings.canOverrun())
    , mayQueue(settings.busyMode == "Queue")
    , tasks(settings.most())
    , shortestPeriod(settings.period)
    , m_base(acceptedAt + settings.startDelay)
{
    startFcn.decide(settings.hasStartFcn);
    stopFcn.decide(settings.hasStopFcn);
    errorFcn.decide(settings.hasErrorFcn);
}

void Run::count()
{
    m_base = due();
    ++timerFcns;
    mayComeLate = mayComeLate && mayQueue;
}

void Run::space(double ended)
{
    m_base = ended;
}

double Run::due() const
{
    if (timerFcns == 0) {
        return m_base;
    }
    // The engine's time is in whole milliseconds, and so are its periods.
    return m_base + std::max(0.0, std::floor(shortestPeriod * 1000.0 + 1e-6) - 1.0) / 1000.0;
}

void Run::stop(bool hasStopFcn, const std::string& why)
{
    if (!hasAll() && !cause) {
        cause = why;
    }
    if (end == End::No && !mayOverrun) {
        stopFcn.decide(hasStopFcn);
    } else if (end != End::Yes) {
        stopFcn.change(hasStopFcn);
    }
    isStoppedInLast = isInTimerFcn && endsByCount;
    hasOverrun = isReported; // one that nobody has learnt of by now is none
    end = End::Yes;
    mayComeLate = false;
}

void Run::fail(const Settings& settings, const std::string& failedCallback)
{
    stop(settings.hasStopFcn, "error");
    cause = "error";
    failure = failedCallback;
    failed = true;
    endsByCount = false;
    errorFcn.decide(settings.hasErrorFcn);
}

void Run::allowEnd(bool hasStopFcn)
{
    if (!hasAll()) {
        return;
    }
    if (end == End::No && !mayOverrun) {
        stopFcn.decide(hasStopFcn);
    } else {
        stopFcn.change(hasStopFcn);
    }
    end = End::Yes;
    endsByCount = true;
}

void Run::change(const Settings& settings, const std::string& property)
{
    shortestPeriod = std::min(shortestPeriod, settings.period);
    mayOverrun = mayOverrun || settings.canOverrun();
    mayQueue = mayQueue || settings.busyMode == "Queue";
    if (property == "TasksToExecute" && settings.mode != "SingleShot"
        && (end != End::Yes || (endsByCount && isInTimerFcn && !isStoppedInLast))) {
        tasks = settings.tasks;
        isTasksChanged = true;
        if (endsByCount && !hasAll()) {
            end = End::No;
            endsByCount = false;
        } else if (!endsByCount) {
            allowEnd(settings.hasStopFcn);
        }
    }
    if (property == "StartFcn") {
        startFcn.change(settings.hasStartFcn);
    } else if (property == "StopFcn") {
        isStopFcnChanged = true;
        // While the last TimerFcn runs, what counts is the StopFcn that is there when it ends.
        if (endsByCount && isInTimerFcn && !isStoppedInLast) {
            stopFcn.decide(settings.hasStopFcn);
        } else {
            stopFcn.change(settings.hasStopFcn);
        }
    } else if (property == "ErrorFcn") {
        errorFcn.change(settings.hasErrorFcn);
    }
}

bool Run::mayGoOn() const
{
    return isTasksChanged && mayOverrun && timerFcns + 1 >= tasks;
}

bool Run::mayHaveEnded() const
{
    return end != End::No || mayOverrun || (looksEarly && isStopFcnChanged);
}

bool Run::canBeOver() const
{
    return active == 0 && owes().empty();
}

bool Run::isOver() const
{
    const bool mayReport = mayOverrun && !isReported && !hasAll();
    // At a fixed rate the last is said on another thread, after the last TimerFcn perhaps.
    const bool maySayMore = isFixedRate && endsByCount && !stopFcn.begun;
    return end == End::Yes && canBeOver() && !stopFcn.canBegin()
        && !(errorFcn.canBegin() && (failed || isReported)) && !mayReport && !maySayMore;
}

std::string Run::refuses(const std::string& callback) const
{
    if (callback == "StartFcn") {
        return startFcn.begun                                  ? "the run has had its StartFcn"
            : timerFcns > 0 || stopFcn.begun || errorFcn.begun ? "the run has begun"
                                                               : "";
    }
    if (startFcn.isOpen()) {
        return "its StartFcn has not run";
    }
    if (callback == "TimerFcn") {
        return hasAll() ? "the run has had all its TimerFcns"
            : failed    ? "the run has failed"
            : end == End::Yes && !mayComeLate
            ? endsByCount ? "the run has had all its TimerFcns" : "the run has been ended"
            : "";
    }
    if (callback == "StopFcn") {
        return stopFcn.begun                             ? "the run has had its StopFcn"
            : end == End::No && !mayOverrun              ? "the run has not come to its end"
            : failed && !mayOverrun && errorFcn.isOpen() ? "its ErrorFcn has not run"
                                                         : "";
    }
    return errorFcn.begun             ? "the run has had its ErrorFcn"
        : !failed && !mayOverrun      ? "the run has not failed"
        : !failed && stopFcn.isOpen() ? "its StopFcn has not run"
                                      : "";
}

bool Run::expects(const std::string& callback) const
{
    return callback == "StartFcn" ? startFcn.isOpen()
        : callback == "StopFcn"   ? stopFcn.isOpen()
        : callback == "ErrorFcn"  ? (failed || isReported) && errorFcn.isOpen()
                                  : end != End::Yes;
}

void Run::noteEnd()
{
    const bool maySeeTheLast = looksEarly && isStopFcnChanged && timerFcns + 1 >= tasks;
    hasOverrun = hasOverrun || !(hasAll() || maySeeTheLast || mayGoOn());
    mayComeLate = looksEarly && (mayQueue || !isInTimerFcn);
    end = End::Yes;
}

std::string Run::owes() const
{
    if (isTakenBack) {
        return {};
    }
    if (startFcn.isOpen()) {
        return "its StartFcn has not run";
    }
    if (end == End::No && !mayOverrun) {
        return "it has not come to its end";
    }
    if ((failed || isReported) && errorFcn.isOpen()) {
        return "its ErrorFcn has not run";
    }
    if (stopFcn.isOpen()) {
        return "its StopFcn has not run";
    }
    if ((hasOverrun || end == End::No) && !isReported) {
        return "nothing has reported that it was overtaken";
    }
    return {};
}

} // namespace random_programs
