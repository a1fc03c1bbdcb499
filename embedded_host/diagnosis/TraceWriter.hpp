#pragma once

#include "embedded_host/diagnosis/Diagnosis.hpp"
#include "embedded_host/diagnosis/LogReader.hpp"
#include "embedded_host/diagnosis/TimerTable.hpp"
#include "embedded_host/diagnosis/TraceEvents.hpp"
#include "embedded_host/diagnosis/TraceFile.hpp"

#include <cstddef>
#include <map>
#include <set>
#include <string>

namespace tovrinhost {

/// Writes the news of the log into a trace.
///
/// Threading: one thread at a time.
class TraceWriter {
public:
    /// \param program how the page is called
    TraceWriter(TraceFile& file, Diagnosis& diagnosis, const std::string& program);

    void write(const News& news, Nanoseconds now);

private:
    int trackOf(const TimerTable::Identity& timer);
    void writeActivity(Activity activity);

    TraceFile& m_file;
    const TimerTable& m_timers;
    const Inquiry m_inquiry;
    const TraceLines m_lines;

    /// The timers that the trace knows, as it knows them; no more than the log has.
    std::map<TimerTable::Identity, TimerTable::Description> m_known;
    std::set<int> m_namedTracks;
    std::size_t m_waiting = 0;
    std::uint64_t m_lost = 0;
};

} // namespace tovrinhost
