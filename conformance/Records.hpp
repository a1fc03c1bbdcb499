#pragma once

#include "conformance/LogSink.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace conformance {

/// The log records of the program, as long as it exists, in order.
///
/// Threading: all operations, any thread. Actions run on the thread of their record, with no lock held.
class Records {
public:
    struct Record {
        std::string text;
        std::string channel;
        std::uint32_t severity;
        unsigned int indent;
    };

    std::vector<Record> all() const;

    /// The same, of each record one member.
    template <typename Value> std::vector<Value> all(Value Record::*member) const
    {
        std::vector<Value> values;
        for (const Record& record : all()) {
            values.push_back(record.*member);
        }
        return values;
    }

    /// Has the action run in the sink at the next record of that text, which is kept before.
    void once(const std::string& text, std::function<void()> action);

private:
    void take(const boost::log::record_view& record);

    mutable std::mutex m_mutex;
    std::vector<Record> m_records; // guarded by m_mutex, like the next
    std::map<std::string, std::function<void()>> m_actions;
    // Last: it writes into the others.
    const LogSink m_sink { [this](const boost::log::record_view& record) { take(record); } };
};

} // namespace conformance
