#include "tests/simulation/kernel/VirtualThread.hpp"

#include <algorithm>
#include <utility>

namespace simulation {

namespace {

Kernel* theKernel = nullptr;

// A deadline so far away is as good as none.
constexpr Moment tooFar = Moment { 30 } * 24 * 3'600'000 * millisecond;

// So many steps may be made in no time at all.
constexpr std::uint64_t busyAfter = 150;

} // namespace

Weather randomWeather(Random& random)
{
    Weather weather;
    weather.switches = random.oneOf<std::uint64_t>({ 2, 3, 6, 20 });
    weather.spuriousWakeUps = random.oneOf<std::uint64_t>({ 0, 0, 100, 20 });
    weather.lateWakeUps = random.oneOf<std::uint64_t>({ 0, 0, 10, 2 });
    weather.slowThreads = random.oneOf<std::uint64_t>({ 0, 0, 500, 50 });
    weather.oneIsStarved = random.oneIn(4);
    return weather;
}

Kernel::Kernel(const Options& options)
    : m_options(options)
    , m_random(options.seed)
    , m_now(options.begin)
{
    theKernel = this;
}

Kernel::~Kernel()
{
    theKernel = nullptr;
}

Kernel* Kernel::current()
{
    return theKernel;
}

Verdict Kernel::run(std::function<void()> body)
{
    spawn("main", std::move(body));
    if (m_options.weather.oneIsStarved) {
        m_starved = static_cast<int>(m_random.below(4));
    }
    m_running = 0;
    m_root.switchTo(*m_threads.front()->fiber);
    m_verdict.steps = m_steps;
    m_verdict.end = m_now;
    return m_verdict;
}

// ---- Threads

int Kernel::spawn(std::string name, std::function<void()> body)
{
    const int number = static_cast<int>(m_threads.size());
    auto thread = std::make_unique<VirtualThread>();
    thread->name = std::move(name);
    thread->body = std::move(body);
    thread->fiber = std::make_unique<Fiber>([this, number] { threadBody(number); });
    m_threads.push_back(std::move(thread));
    m_ready.push_back(number);
    return number;
}

void Kernel::threadBody(int number)
{
    {
        VirtualThread& thread = *m_threads[static_cast<std::size_t>(number)];
        try {
            thread.body();
        } catch (const std::exception& error) {
            fail("an exception left thread " + thread.name + ": " + error.what());
        }
        thread.body = nullptr;
        thread.ended = true;
        thread.ready = false;
        m_ready.erase(std::find(m_ready.begin(), m_ready.end(), number));
        wakeAll(&thread);
    }
    const bool allEnded = std::ranges::all_of(m_threads, [](const auto& thread) { return thread->ended; });
    if (allEnded) {
        running().fiber->leaveFor(m_root);
    }
    switchTo(choose(), true);
}

void Kernel::join(int thread)
{
    VirtualThread& other = *m_threads.at(static_cast<std::size_t>(thread));
    while (!other.ended) {
        block(&other, never);
    }
}

bool Kernel::hasEnded(int thread) const
{
    return m_threads.at(static_cast<std::size_t>(thread))->ended;
}

void Kernel::rename(std::string name)
{
    running().name = std::move(name);
}

void Kernel::switchTo(int next, bool forGood)
{
    if (next == m_running) {
        return;
    }
    VirtualThread& before = running();
    m_running = next;
    if (forGood) {
        before.fiber->leaveFor(*running().fiber);
    } else {
        before.fiber->switchTo(*running().fiber);
    }
}

int Kernel::choose()
{
    if (m_ready.empty()) {
        return letTimeMove();
    }
    int chosen = m_ready[m_random.below(m_ready.size())];
    if (chosen == m_starved && !m_random.oneIn(8)) {
        chosen = m_ready[m_random.below(m_ready.size())];
    }
    return chosen;
}

int Kernel::letTimeMove()
{
    if (m_witness != nullptr) {
        m_witness->timeMoves();
    }
    Moment next = never;
    for (const auto& thread : m_threads) {
        if (!thread->ended) {
            next = std::min(next, thread->wakesAt);
        }
    }
    if (next == never || next - m_now > tooFar) {
        fail("deadlock: all threads are blocked, and nothing is due\n" + describeAll());
    }
    m_now = std::max(m_now, next);
    m_stepsSinceTimeMoved = 0;
    for (std::size_t number = 0; number < m_threads.size(); ++number) {
        VirtualThread& thread = *m_threads[number];
        if (!thread.ended && thread.wakesAt <= m_now) {
            thread.timedOut = true;
            thread.ready = true;
            thread.wakesAt = never;
            m_ready.push_back(static_cast<int>(number));
        }
    }
    return choose();
}

void Kernel::point()
{
    // What the model looks at is no step of the threads', nor does it show in the trace.
    if (m_atomic > 0) {
        return;
    }
    ++m_steps;
    if (m_steps > m_options.stepLimit) {
        fail("no end after " + std::to_string(m_options.stepLimit) + " steps\n" + describeAll());
    }
    const Weather& weather = m_options.weather;
    if (++m_stepsSinceTimeMoved > busyAfter) {
        nap(static_cast<Moment>(100 + m_random.below(2000)) * 1000);
    } else if (weather.slowThreads != 0 && m_random.oneIn(weather.slowThreads)) {
        nap(m_random.oneOf<Moment>({ millisecond / 10, millisecond, 10 * millisecond, 40 * millisecond }));
    }
    if (weather.spuriousWakeUps != 0 && m_random.oneIn(weather.spuriousWakeUps)) {
        wakeSomebodySpuriously();
    }
    if (m_ready.size() > 1 && m_random.oneIn(weather.switches)) {
        switchTo(choose());
    }
}

void Kernel::nap(Moment duration)
{
    block(&running().wakesAt, m_now + duration);
}

bool Kernel::block(const void* key, Moment deadline, bool mayWakeSpuriously)
{
    if (m_atomic > 0) {
        fail("an operation that is to happen at once is blocked\n" + describeAll());
    }
    if (deadline <= m_now) {
        switchTo(choose());
        return false;
    }
    VirtualThread& self = running();
    self.key = key;
    self.deadline = deadline;
    self.wakesAt = deadline;
    self.mayWakeSpuriously = mayWakeSpuriously;
    self.timedOut = false;
    self.ready = false;
    const std::uint64_t late = m_options.weather.lateWakeUps;
    if (late != 0 && deadline < never - 100 * millisecond && m_random.oneIn(late)) {
        self.wakesAt = deadline + static_cast<Moment>(m_random.below(20'000)) * 1000;
    }
    m_ready.erase(std::find(m_ready.begin(), m_ready.end(), m_running));
    switchTo(choose());
    self.key = nullptr;
    return !self.timedOut;
}

void Kernel::wakeAll(const void* key)
{
    for (std::size_t number = 0; number < m_threads.size(); ++number) {
        VirtualThread& thread = *m_threads[number];
        if (thread.key == key && !thread.ready) {
            thread.ready = true;
            thread.wakesAt = never;
            m_ready.push_back(static_cast<int>(number));
        }
    }
}

void Kernel::wakeOne(const void* key)
{
    std::vector<int> waiting;
    for (std::size_t number = 0; number < m_threads.size(); ++number) {
        if (m_threads[number]->key == key && !m_threads[number]->ready) {
            waiting.push_back(static_cast<int>(number));
        }
    }
    if (!waiting.empty()) {
        const int chosen = waiting[m_random.below(waiting.size())];
        m_threads[static_cast<std::size_t>(chosen)]->ready = true;
        m_threads[static_cast<std::size_t>(chosen)]->wakesAt = never;
        m_ready.push_back(chosen);
    }
}

void Kernel::wakeSomebodySpuriously()
{
    for (std::size_t number = 0; number < m_threads.size(); ++number) {
        VirtualThread& thread = *m_threads[number];
        if (!thread.ready && !thread.ended && thread.mayWakeSpuriously && m_random.oneIn(2)) {
            thread.ready = true;
            thread.wakesAt = never;
            m_ready.push_back(static_cast<int>(number));
        }
    }
}

void Kernel::sleepFor(Moment duration)
{
    block(&running().frames, m_now + duration); // a key that nobody knows
}

bool Kernel::isBlockedOn(int thread, const void* key) const
{
    const VirtualThread& other = *m_threads.at(static_cast<std::size_t>(thread));
    return !other.ended && !other.ready && other.key == key;
}

Moment Kernel::deadlineOf(int thread) const
{
    return m_threads.at(static_cast<std::size_t>(thread))->deadline;
}

std::size_t Kernel::locksHeld() const
{
    return running().locks;
}

void Kernel::lockTaken()
{
    ++running().locks;
}

void Kernel::lockGiven()
{
    --running().locks;
}

} // namespace simulation
