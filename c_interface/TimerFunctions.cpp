#include "c_interface/CallGuard.hpp"
#include "c_interface/Host.hpp"
#include "c_interface/Misuse.hpp"
#include "c_interface/SizedStruct.hpp"
#include "c_interface/tovrintimer.h"

#include <cmath>
#include <new>
#include <stdexcept>

using tovrin_c::guarded;
using tovrin_c::Host;
using tovrin_c::Misuse;
using tovrin_c::requireNotNull;
using tovrin_c::Timer;

namespace {

/// Does something with a timer, and tells which one it was where it is refused.
template <typename Work> void withTimer(tovrin_timer handle, const Work& work)
{
    const auto host = Host::findOf(handle);
    const Host::Use use(*host);
    const std::string label = host->timer(handle).label();
    try {
        work(*host, host->timer(handle));
    } catch (const std::invalid_argument& refusal) {
        throw Misuse(TOVRIN_ERROR_ARGUMENT, label + ": " + refusal.what());
    } catch (const std::logic_error& refusal) {
        throw Misuse(TOVRIN_ERROR_STATE, label + ": " + refusal.what());
    } catch (const Misuse& misuse) {
        throw Misuse(misuse.code(), label + ": " + misuse.what());
    }
}

/// What a timer that is running keeps.
void requireSameWhileRunning(const tovrinhost::TimerSettings& now, const tovrinhost::TimerSettings& wanted)
{
    const auto require = [](bool isSame, const char* member) {
        if (!isSame) {
            throw std::logic_error(std::string(member) + " cannot be changed while the timer is running");
        }
    };
    require(now.name == wanted.name, "settings.name");
    require(now.executionMode == wanted.executionMode, "settings.execution_mode");
    require(now.startDelaySeconds == wanted.startDelaySeconds, "settings.start_delay");
}

std::int32_t endReasonOf(const tovrinhost::ScriptTimer& timer)
{
    return timer.endReason() ? static_cast<std::int32_t>(*timer.endReason()) + 1 : TOVRIN_NOT_ENDED;
}

} // namespace

int32_t tovrin_timer_create(tovrin_host host, const tovrin_settings* settings, tovrin_timer* timer)
{
    return guarded(__func__, [&] {
        const auto found = Host::find(host);
        const Host::Use use(*found);
        requireNotNull(timer, "timer");
        *timer = found->createTimer(tovrin_c::takeSettings(settings));
    });
}

int32_t tovrin_timer_destroy(tovrin_timer timer)
{
    return guarded(
        __func__, [&] { withTimer(timer, [&](Host& host, Timer& /*found*/) { host.destroyTimer(timer); }); });
}

int32_t tovrin_timer_set(tovrin_timer timer, const tovrin_settings* settings)
{
    return guarded(__func__, [&] {
        withTimer(timer, [&](Host& /*host*/, Timer& found) {
            tovrin_c::Settings taken = tovrin_c::takeSettings(settings);
            if (taken.timer.name.empty()) {
                taken.timer.name = found.core->settings().name;
            }
            if (found.core->isRunning()) {
                requireSameWhileRunning(found.core->settings(), taken.timer);
            }
            found.core->change(taken.timer);
            found.callbacks = taken.callbacks;
        });
    });
}

int32_t tovrin_timer_get(tovrin_timer timer, tovrin_settings* settings)
{
    return guarded(__func__, [&] {
        withTimer(timer, [&](Host& /*host*/, Timer& found) {
            tovrin_settings values = tovrin_c::toStruct({ found.core->settings(), found.callbacks });
            found.nameToldOf = found.core->settings().name;
            values.name = found.nameToldOf.c_str();
            tovrin_c::giveStruct(settings, "settings", values);
        });
    });
}

int32_t tovrin_timer_start(tovrin_timer timer)
{
    return guarded(__func__, [&] {
        withTimer(timer, [](Host& host, Timer& found) {
            host.requireNotEnding();
            found.core->start();
        });
    });
}

int32_t tovrin_timer_stop(tovrin_timer timer)
{
    return guarded(__func__, [&] { withTimer(timer, [](Host& /*host*/, Timer& found) { found.core->stop(); }); });
}

int32_t tovrin_timer_fail(tovrin_timer timer, const char* text)
{
    return guarded(__func__, [&] {
        withTimer(timer, [&](Host& /*host*/, Timer& found) {
            requireNotNull(text, "text");
            found.core->fail(text);
        });
    });
}

int32_t tovrin_timer_wait(tovrin_timer timer, double seconds, int32_t* has_ended)
{
    return guarded(__func__, [&] {
        withTimer(timer, [&](Host& host, Timer& found) {
            host.requireRoom();
            const auto core = found.core; // it may be destroyed meanwhile
            const bool hasEnded = core->wait(tovrin_c::deadlineAfter(seconds));
            if (has_ended != nullptr) {
                *has_ended = hasEnded ? 1 : 0;
            }
        });
    });
}

int32_t tovrin_timer_statistics(tovrin_timer timer, tovrin_statistics* statistics)
{
    return guarded(__func__, [&] {
        withTimer(timer, [&](Host& /*host*/, Timer& found) {
            const tovrinhost::ScriptTimer& core = *found.core;
            const auto untilDue = core.untilNextDue();
            tovrin_statistics values {};
            values.is_running = core.isRunning() ? 1 : 0;
            values.end_reason = endReasonOf(core);
            values.tasks_executed = static_cast<std::uint64_t>(core.tasksExecuted());
            values.runs = core.firings().runs;
            values.drops = core.firings().drops;
            values.errors = core.firings().errors;
            values.instant_period = core.instantPeriod();
            values.average_period = core.averagePeriod();
            values.remaining = untilDue ? static_cast<double>(*untilDue) / 1e9 : std::nan("");
            tovrin_c::giveStruct(statistics, "statistics", values);
        });
    });
}

int32_t tovrin_timer_error(tovrin_timer timer, const char** text)
{
    return guarded(__func__, [&] {
        withTimer(timer, [&](Host& /*host*/, Timer& found) {
            requireNotNull(static_cast<const void*>(text), "text");
            found.errorToldOf = found.core->lastError().value_or("");
            *text = found.errorToldOf.c_str();
        });
    });
}
