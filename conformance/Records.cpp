#include "conformance/Records.hpp"

#include <boost/log/attributes/value_extraction.hpp>

#include <utility>

namespace conformance {

std::vector<Records::Record> Records::all() const
{
    const std::lock_guard lock(m_mutex);
    return m_records;
}

void Records::once(const std::string& text, std::function<void()> action)
{
    const std::lock_guard lock(m_mutex);
    m_actions[text] = std::move(action);
}

void Records::take(const boost::log::record_view& record)
{
    using boost::log::extract_or_default;
    std::function<void()> action;
    {
        const std::lock_guard lock(m_mutex);
        m_records.push_back({
            .text = extract_or_default<std::string>("Message", record, std::string()),
            .channel = extract_or_default<std::string>("Channel", record, std::string()),
            .severity = extract_or_default<std::uint32_t>("Severity", record, std::uint32_t { 0 }),
            .indent = extract_or_default<unsigned int>("Indent", record, 0U),
        });
        if (const auto found = m_actions.find(m_records.back().text); found != m_actions.end()) {
            action = std::move(found->second);
            m_actions.erase(found);
        }
    }
    if (action) {
        action();
    }
}

} // namespace conformance
