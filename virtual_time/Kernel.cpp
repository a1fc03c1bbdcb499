#include "virtual_time/VirtualThread.hpp"

#include <algorithm>
#include <utility>

namespace virtual_time {

namespace {

Kernel* theKernel = nullptr;

// How often a thread looks what time it is where time passes by itself.
constexpr std::uint64_t stepsBetweenLooks = 64;

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

Kernel::Options optionsOfSchedule(std::uint64_t schedule)
{
    Kernel::Options options;
    options.seed = schedule;
    Random random(schedule);
    options.weather = calmWeather;
    if (schedule != 0) {
        options.weather.switches = random.oneOf<std::uint64_t>({ 2, 3, 6, 20 });
        options.weather.spuriousWakeUps = random.oneOf<std::uint64_t>({ 0, 100, 20 });
    }
    options.stepLimit = 0;
    options.busyAfter = 0;
    options.begin = 1'000'000 * millisecond;
    options.stackSize = std::size_t { 8 } * 1024 * 1024;
    return options;
}

Kernel::Kernel(const Options& options)
    : m_options(options)
    , m_random(options.seed)
    , m_now(options.begin)
{
    theKernel = this;
    if (m_options.weather.oneIsStarved) {
        m_starved = static_cast<int>(m_random.below(4));
    }
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
    m_running = 0;
    m_root.switchTo(*m_threads.front()->fiber);
    m_verdict.steps = m_steps;
    m_verdict.end = m_now;
    return m_verdict;
}

void Kernel::begin()
{
    m_hasBegun = true;
    auto thread = std::make_unique<VirtualThread>();
    thread->name = "main";
    thread->fiber = std::make_unique<Fiber>();
    m_threads.push_back(std::move(thread));
    m_ready.push_back(0);
    m_running = 0;
}

// ---- Threads

int Kernel::spawn(std::string name, std::function<void()> body)
{
    const int number = static_cast<int>(m_threads.size());
    auto thread = std::make_unique<VirtualThread>();
    thread->name = std::move(name);
    thread->body = std::move(body);
    thread->fiber = std::make_unique<Fiber>([this, number] { threadBody(number); }, m_options.stackSize);
    m_threads.push_back(std::move(thread));
    m_ready.push_back(number);
    return number;
}

void Kernel::threadBody(int number)
{
    {
        VirtualThread& thread = *m_threads[static_cast<std::size_t>(number)];
        std::string failure;
        try {
            thread.body();
        } catch (const std::exception& error) {
            failure = "an exception left thread " + thread.name + ": " + error.what();
        }
        if (!failure.empty() && !m_hasBegun) {
            fail(failure);
        }
        if (!failure.empty() && !m_threads.front()->ready) {
            makeReady(0);
        }
        m_threads.front()->failure += failure; // it is thrown there, and this thread ends as any other
        thread.body = nullptr;
        thread.ended = true;
        thread.ready = false;
        std::erase(m_ready, number);
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

/// The others that are ready go first.
void Kernel::yield()
{
    std::erase(m_ready, m_running);
    m_ready.push_back(m_running);
    switchTo(m_options.weather.switches == 0 ? m_ready.front() : m_ready[m_random.below(m_ready.size() - 1)]);
}

int Kernel::choose()
{
    if (m_ready.empty()) {
        return letTimeMove();
    }
    if (m_options.weather.switches == 0) {
        return m_ready.front();
    }
    int chosen = m_ready[m_random.below(m_ready.size())];
    if (chosen == m_starved && !m_random.oneIn(8)) {
        chosen = m_ready[m_random.below(m_ready.size())];
    }
    return chosen;
}

void Kernel::makeReady(std::size_t number)
{
    m_threads[number]->ready = true;
    m_threads[number]->wakesAt = never;
    m_ready.push_back(static_cast<int>(number));
}

void Kernel::point()
{
    // What the model looks at is no step of the threads', nor does it show in the trace.
    if (m_atomic > 0) {
        return;
    }
    ++m_steps;
    if (m_steps > m_options.stepLimit && m_options.stepLimit != 0) {
        fail("no end after " + std::to_string(m_options.stepLimit) + " steps\n" + describeAll());
    }
    const Weather& weather = m_options.weather;
    if (++m_stepsSinceTimeMoved > m_options.busyAfter && m_options.busyAfter != 0) {
        nap(static_cast<Moment>(100 + m_random.below(2000)) * 1000);
    } else if (weather.slowThreads != 0 && m_random.oneIn(weather.slowThreads)) {
        nap(m_random.oneOf<Moment>({ millisecond / 10, millisecond, 10 * millisecond, 40 * millisecond }));
    }
    if (m_someoneIsOutside.load(std::memory_order_relaxed)) {
        letIn();
        yield();
    }
    if (m_options.pace != 0 && m_steps % stepsBetweenLooks == 0) {
        followRealTime();
    }
    if (weather.spuriousWakeUps != 0 && m_random.oneIn(weather.spuriousWakeUps)) {
        wakeSomebodySpuriously();
    }
    if (m_ready.size() > 1 && weather.switches != 0 && m_random.oneIn(weather.switches)) {
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
    std::erase(m_ready, m_running);
    switchTo(choose());
    self.key = nullptr;
    throwIfFailed();
    return !self.timedOut;
}

void Kernel::wakeAll(const void* key)
{
    for (std::size_t number = 0; number < m_threads.size(); ++number) {
        VirtualThread& thread = *m_threads[number];
        if (thread.key == key && !thread.ready) {
            makeReady(number);
        }
    }
}

void Kernel::wakeOne(const void* key)
{
    std::vector<std::size_t> waiting;
    for (std::size_t number = 0; number < m_threads.size(); ++number) {
        if (m_threads[number]->key == key && !m_threads[number]->ready) {
            waiting.push_back(number);
        }
    }
    if (!waiting.empty()) {
        makeReady(m_options.weather.switches == 0 ? waiting.front() : waiting[m_random.below(waiting.size())]);
    }
}

void Kernel::wakeSomebodySpuriously()
{
    for (std::size_t number = 0; number < m_threads.size(); ++number) {
        VirtualThread& thread = *m_threads[number];
        if (!thread.ready && !thread.ended && thread.mayWakeSpuriously && m_random.oneIn(2)) {
            makeReady(number);
        }
    }
}

void Kernel::sleepFor(Moment duration)
{
    block(&running().frames, m_now + duration); // a key that nobody knows
}

void Kernel::letOthersRun()
{
    while (m_ready.size() > 1) {
        yield();
    }
    throwIfFailed();
}

/// Where the first thread goes on after something has failed elsewhere.
void Kernel::throwIfFailed()
{
    if (!running().failure.empty()) {
        throw Failure(std::exchange(running().failure, ""));
    }
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

std::shared_ptr<void>& Kernel::own(const void* key)
{
    return running().own[key];
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

} // namespace virtual_time
