#include "tests/recording_host/Journal.hpp"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace recording {

namespace {

constexpr std::chrono::seconds patience { 30 };

} // namespace

Journal& journal()
{
    // Never destroyed: static objects of the library end later than any of ours.
    static Journal& instance = *new Journal;
    return instance;
}

void Journal::add(const Event& event)
{
    std::vector<Action> actions;
    {
        const std::lock_guard lock(m_mutex);
        for (auto hook = m_hooks.begin(); hook != m_hooks.end();) {
            const auto current = hook++;
            if (event.text.starts_with(current->beginning)) {
                actions.push_back(current->action);
                if (current->once) {
                    m_hooks.erase(current);
                }
            }
        }
        m_events.push_back(event);
    }
    m_added.notify_all();
    for (const auto& action : actions) {
        action(event);
    }
}

std::vector<Event> Journal::events() const
{
    const std::lock_guard lock(m_mutex);
    return m_events;
}

std::vector<std::string> Journal::texts(Kind kind, std::thread::id thread) const
{
    std::vector<std::string> texts;
    for (const Event& event : events()) {
        if (event.kind == kind && (thread == std::thread::id() || thread == event.thread)) {
            texts.push_back(event.text);
        }
    }
    return texts;
}

std::size_t Journal::count(const std::string& beginning) const
{
    const std::lock_guard lock(m_mutex);
    return countLocked(beginning);
}

std::size_t Journal::countLocked(const std::string& beginning) const
{
    const auto number = std::count_if(m_events.begin(), m_events.end(),
        [&beginning](const Event& event) { return event.text.starts_with(beginning); });
    return static_cast<std::size_t>(number);
}

void Journal::clear()
{
    const std::lock_guard lock(m_mutex);
    m_events.clear();
    m_hooks.clear();
}

void Journal::clearEvents()
{
    const std::lock_guard lock(m_mutex);
    m_events.clear();
}

void Journal::hook(Hook hook)
{
    const std::lock_guard lock(m_mutex);
    m_hooks.push_back(std::move(hook));
}

void Journal::waitFor(const std::string& beginning, std::size_t times) const
{
    std::unique_lock lock(m_mutex);
    if (m_added.wait_for(lock, patience, [&] { return countLocked(beginning) >= times; })) {
        return;
    }
    std::string message
        = "waited in vain for \"" + beginning + "\" to happen " + std::to_string(times) + " times; what happened:";
    for (const Event& event : m_events) {
        message += "\n  " + event.text;
    }
    throw std::runtime_error(message);
}

} // namespace recording
