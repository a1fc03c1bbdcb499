#include "c_interface/Host.hpp"

#include "c_interface/CallGuard.hpp"
#include "c_interface/Event.hpp"
#include "c_interface/LastError.hpp"
#include "c_interface/Misuse.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "timer_src/main/NeverDestroyed.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <mutex>
#include <utility>

namespace tovrin_c {

using tovrinhost::EventLoop;
using tovrinhost::ScriptRun;
using tovrintimer::Lock;

namespace {

/// A handle has the number of its host in front of these bits, and there its own; 0 is the host's own.
constexpr int ownBits = 40;
constexpr std::uint64_t ownMask = (std::uint64_t { 1 } << ownBits) - 1;

/// A callback that waits runs others, which may wait as well: each of them needs room on the stack.
constexpr int mostUses = 150;

/// The host that there is.
struct Hosts {
    tovrintimer::Mutex mutex;
    std::shared_ptr<Host> current; // guarded by mutex, like the next
    std::uint64_t latest = 0;
    bool isTaken = false; // also while one is being made or destroyed
};

Hosts& hosts()
{
    static tovrintimer::NeverDestroyed<Hosts> all;
    return *all;
}

/// \returns null if there is none
std::shared_ptr<Host> current()
{
    requireNoEmbeddersTurn();
    const std::lock_guard lock(hosts().mutex);
    return hosts().current;
}

[[noreturn]] void refuseHandle(const char* what, std::uint64_t handle)
{
    throw Misuse(TOVRIN_ERROR_HANDLE,
        "there is no " + std::string(what) + " " + std::to_string(handle)
            + ": it has been destroyed, or never was");
}

} // namespace

std::shared_ptr<Host> Host::create(const tovrin_host_settings& settings)
{
    requireNoEmbeddersTurn();
    Hosts& all = hosts();
    tovrin_host handle = 0;
    {
        const std::lock_guard lock(all.mutex);
        if (all.isTaken) {
            throw Misuse(TOVRIN_ERROR_STATE, "there is a host already; a process has one at a time");
        }
        all.isTaken = true;
        handle = ++all.latest << ownBits;
    }
    std::shared_ptr<Host> made;
    try {
        made = std::make_shared<Host>(handle, settings);
    } catch (...) {
        const std::lock_guard lock(all.mutex);
        all.isTaken = false;
        throw;
    }
    const std::lock_guard lock(all.mutex);
    all.current = made;
    return made;
}

std::shared_ptr<Host> Host::find(tovrin_host handle)
{
    if (auto found = current(); found && found->m_handle == handle) {
        return found;
    }
    refuseHandle("host", handle);
}

std::shared_ptr<Host> Host::findOf(tovrin_timer timer)
{
    if (auto found = current(); found && found->m_handle == (timer & ~ownMask)) {
        return found;
    }
    refuseHandle("timer", timer);
}

Host::Host(tovrin_host handle, const tovrin_host_settings& settings)
    : m_handle(handle)
    , m_log(settings.log, settings.log_data, settings.log_severities)
    , m_tickets(handle, settings.submit, settings.submit_data, m_log)
    , m_thread(tovrintimer::currentThreadId())
    , m_engine(std::make_shared<CallbackEngine>([this](std::uint64_t number) { callBack(number); }))
{
    m_errors.tellTo([this](const std::string& where, const tovrinhost::ReportedError& error) {
        m_log.tell("error in " + where + ": " + error.message);
    });
    m_engine->loop().tellArrivals([this] { somethingCame(); });
    m_timers.emplace(m_engine, m_errors, settings.max_backlog, tovrinhost::systemWallClock(),
        tovrinhost::FiringLog::Purpose::Events);
}

Host::~Host() = default;

Host::Use::Use(Host& host)
    : m_host(host)
    , m_here(host.m_engine->loop())
{
    const std::lock_guard lock(host.m_mutex);
    if (host.m_thread != tovrintimer::currentThreadId()) {
        throw Misuse(TOVRIN_ERROR_THREAD,
            "the host belongs to another thread: the one that has made it, or adopted it last; tovrin_post "
            "reaches it");
    }
    ++host.m_uses;
}

Host::Use::~Use()
{
    {
        const std::lock_guard lock(m_host.m_mutex);
        if (--m_host.m_uses > 0) {
            return;
        }
    }
    m_host.showWhatWaits();
}

void Host::adopt()
{
    const std::lock_guard lock(m_mutex);
    if (m_uses > 0) {
        throw Misuse(TOVRIN_ERROR_STATE, "the host's thread is in one of its functions");
    }
    m_thread = tovrintimer::currentThreadId();
}

void Host::post(tovrin_posted_function function, void* data)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_isEnding) {
            throw Misuse(TOVRIN_ERROR_STATE, "the host is being destroyed");
        }
        ++m_posts;
    }
    const auto leave = [this] {
        const std::lock_guard lock(m_mutex);
        --m_posts;
        m_posted.notify_one();
    };
    try {
        m_engine->loop().post(EventLoop::When::AtEventLoop, [this, function, data] {
            try {
                function(data);
            } catch (...) {
                m_log.tell("a posted function has thrown: " + textOf(std::current_exception()));
            }
        });
    } catch (...) {
        leave();
        throw;
    }
    leave();
}

void Host::discard(tovrin_task task)
{
    m_tickets.redeem(task);
}

std::uint64_t Host::poll(std::uint64_t most)
{
    requireRoom();
    EventLoop& loop = m_engine->loop();
    const std::uint64_t called = loop.arrivals();
    std::uint64_t ran = 0;
    while ((most == 0 || ran < most) && loop.runOne(EventLoop::State::Pumping, called) != Ran::Nothing) {
        ++ran;
    }
    return ran;
}

void Host::runTask(tovrin_task task)
{
    requireRoom();
    m_tickets.redeem(task);
    m_engine->loop().runOne(EventLoop::State::Pumping);
}

bool Host::runUntil(const EventLoop::Deadline& deadline, tovrin_done_function done, void* data)
{
    requireRoom();
    const auto isDone = [&] {
        if (done == nullptr) {
            for (const auto& [number, timer] : m_byNumber) {
                if (!timer.core->isQuiet()) {
                    return false;
                }
            }
            return true;
        }
        try {
            return done(data) != 0;
        } catch (...) {
            throw Misuse(
                TOVRIN_ERROR_STATE, "the function `done` has thrown: " + textOf(std::current_exception()));
        }
    };
    return m_engine->loop().runUntil(EventLoop::State::Pumping, isDone, deadline);
}

std::intptr_t Host::readyDescriptor()
{
    const std::lock_guard lock(m_readyMutex);
    if (!m_ready) {
        m_ready.emplace();
        m_isReadyWanted = true;
    }
    return m_ready->native(); // what waits is shown as the function ends
}

void Host::requireNotEnding() const
{
    const std::lock_guard lock(m_mutex);
    if (m_isEnding) {
        throw Misuse(TOVRIN_ERROR_STATE, "the host is being destroyed");
    }
}

void Host::requireRoom() const
{
    const std::lock_guard lock(m_mutex);
    if (m_uses > mostUses) {
        throw Misuse(TOVRIN_ERROR_STATE,
            std::to_string(mostUses)
                + " functions are at work already, each called in a callback that the one before it runs; that is "
                  "the limit");
    }
}

void Host::requireOutermost(const char* what) const
{
    const std::lock_guard lock(m_mutex);
    if (m_uses > 1) {
        throw Misuse(
            TOVRIN_ERROR_STATE, std::string("the host cannot be ") + what + " inside one of its callbacks");
    }
}

void Host::destroy()
{
    requireOutermost("destroyed");
    {
        Lock lock(m_mutex);
        m_isEnding = true;
        m_posted.wait(lock, [this] { return m_posts == 0; });
    }
    m_tickets.close();
    m_timers->stopAll();
    poll(0); // what has been posted
    // The scheduler's thread first: then nobody hands anything over any more, nor asks for the scheduler.
    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
    m_engine->loop().stop();
    m_byNumber.clear();
    m_timers.reset();
    tovrinhost::destroyProcessScope();
    m_log.close();

    const std::lock_guard lock(hosts().mutex);
    hosts().current = nullptr;
    hosts().isTaken = false;
}

std::uint64_t Host::numberOf(tovrin_timer timer)
{
    return timer & ownMask;
}

tovrin_timer Host::createTimer(Settings settings)
{
    requireNotEnding();
    Timer timer { m_timers->create(std::move(settings.timer)), settings.callbacks, {}, {} };
    const std::uint64_t number = timer.core->number();
    m_byNumber.emplace(number, std::move(timer));
    return m_handle + number;
}

Timer& Host::timer(tovrin_timer handle)
{
    const auto found = m_byNumber.find(numberOf(handle));
    if (found == m_byNumber.end()) {
        refuseHandle("timer", handle);
    }
    return found->second;
}

void Host::destroyTimer(tovrin_timer handle)
{
    const auto core = timer(handle).core;
    m_timers->destroy(*core);
    if (core->isDeleted()) { // else one of its last callbacks has asked again
        m_byNumber.erase(numberOf(handle));
    }
}

/// What the engine evaluates for a callback.
void Host::callBack(std::uint64_t number)
{
    const auto found = m_byNumber.find(number);
    ScriptRun* const run = found != m_byNumber.end() ? found->second.core->run() : nullptr;
    if (run == nullptr) {
        return;
    }
    const tovrin_callback callback = functionOf(found->second.callbacks, run->latestCallback());
    if (callback.function == nullptr) {
        return; // it was taken away once this was on its way
    }
    tovrin_event event = describe(*found->second.core, *run, m_timers->diagnosis().latest(), m_wallTimes);
    event.host = m_handle;
    event.timer = m_handle + number;
    // The timer and the run may go before the callback returns.
    const std::string error = event.error != nullptr ? event.error : "";
    if (event.error != nullptr) {
        event.error = error.c_str();
    }
    const std::string name = event.name;
    event.name = name.c_str();
    run->functionIsCalled(); // last of all
    setLastError("");
    const std::int32_t code = callback.function(&event, callback.data);
    if (code != 0) {
        const std::string text = lastError();
        throw std::runtime_error(text.empty() ? "it returned " + std::to_string(code) : text);
    }
}

/// On whatever thread brought it.
void Host::somethingCame() noexcept
{
    setReady();
    m_tickets.submit();
}

void Host::setReady() noexcept
{
    if (!m_isReadyWanted) {
        return; // as it is asked for, what waits by then is shown
    }
    const std::lock_guard lock(m_readyMutex);
    if (!std::exchange(m_isReadyShown, true)) {
        m_ready->set();
    }
}

/// First not ready, then a look: what comes in between makes it ready by itself.
void Host::showWhatWaits() noexcept
{
    {
        const std::lock_guard lock(m_readyMutex);
        if (std::exchange(m_isReadyShown, false)) {
            m_ready->clear();
        }
    }
    if (!m_engine->loop().isEmpty()) {
        setReady();
        m_tickets.submitIfNone();
    }
}

} // namespace tovrin_c
