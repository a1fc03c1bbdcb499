#include "c_interface/CallGuard.hpp"
#include "c_interface/Host.hpp"
#include "c_interface/LastError.hpp"
#include "c_interface/SizedStruct.hpp"
#include "c_interface/tovrintimer.h"

using tovrin_c::guarded;
using tovrin_c::Host;
using tovrin_c::requireNotNull;

const char* tovrin_last_error(void)
{
    return tovrin_c::lastError();
}

void tovrin_set_error(const char* text)
{
    tovrin_c::setLastError(text != nullptr ? text : "");
}

int32_t tovrin_settings_init(tovrin_settings* settings, size_t size)
{
    return guarded(
        __func__, [&] { tovrin_c::initStruct(settings, size, "settings", tovrin_c::defaultSettings()); });
}

int32_t tovrin_host_settings_init(tovrin_host_settings* settings, size_t size)
{
    return guarded(
        __func__, [&] { tovrin_c::initStruct(settings, size, "settings", tovrin_c::defaultHostSettings()); });
}

int32_t tovrin_host_create(const tovrin_host_settings* settings, tovrin_host* host)
{
    return guarded(__func__, [&] {
        requireNotNull(host, "host");
        *host = Host::create(tovrin_c::takeHostSettings(settings))->handle();
    });
}

int32_t tovrin_host_destroy(tovrin_host host)
{
    return guarded(__func__, [&] {
        const auto found = Host::find(host);
        const Host::Use use(*found);
        found->destroy();
    });
}

int32_t tovrin_host_adopt(tovrin_host host)
{
    return guarded(__func__, [&] { Host::find(host)->adopt(); });
}

int32_t tovrin_post(tovrin_host host, tovrin_posted_function function, void* data)
{
    return guarded(__func__, [&] {
        const auto found = Host::find(host);
        requireNotNull(reinterpret_cast<const void*>(function), "function");
        found->post(function, data);
    });
}

int32_t tovrin_run_until(tovrin_host host, double seconds, tovrin_done_function done, void* data, int32_t* is_done)
{
    return guarded(__func__, [&] {
        const auto found = Host::find(host);
        const Host::Use use(*found);
        const bool isDone = found->runUntil(tovrin_c::deadlineAfter(seconds), done, data);
        if (is_done != nullptr) {
            *is_done = isDone ? 1 : 0;
        }
    });
}

int32_t tovrin_poll(tovrin_host host, uint64_t most, uint64_t* ran)
{
    return guarded(__func__, [&] {
        const auto found = Host::find(host);
        const Host::Use use(*found);
        const std::uint64_t count = found->poll(most);
        if (ran != nullptr) {
            *ran = count;
        }
    });
}

int32_t tovrin_ready_descriptor(tovrin_host host, intptr_t* descriptor)
{
    return guarded(__func__, [&] {
        const auto found = Host::find(host);
        const Host::Use use(*found);
        requireNotNull(descriptor, "descriptor");
        *descriptor = found->readyDescriptor();
    });
}

int32_t tovrin_task_run(tovrin_host host, tovrin_task task)
{
    return guarded(__func__, [&] {
        const auto found = Host::find(host);
        const Host::Use use(*found);
        found->runTask(task);
    });
}

int32_t tovrin_task_discard(tovrin_host host, tovrin_task task)
{
    return guarded(__func__, [&] { Host::find(host)->discard(task); });
}
