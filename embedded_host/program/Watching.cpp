#include "embedded_host/program/Watching.hpp"

namespace tovrinhost {

Watching::Watching(const RunOptions& options, Diagnosis& diagnosis)
{
    if (options.traceFile) {
        m_file = std::make_unique<TraceFile>(*options.traceFile);
        m_trace.emplace(*m_file, diagnosis, "tovrin run " + options.script.name);
    }
    if (options.lateAbove) {
        m_late.emplace(diagnosis, static_cast<Nanoseconds>(*options.lateAbove * 1e9));
    }
    if (m_trace || m_late) {
        const FiringLog& log = diagnosis.log();
        m_watch = std::make_unique<Watch>(log, [this, &log](const News& news) { tell(news, log.now()); });
    }
}

void Watching::tell(const News& news, Nanoseconds now)
{
    if (m_trace) {
        m_trace->write(news, now);
    }
    if (m_late) {
        m_late->take(news, now);
    }
}

bool Watching::end()
{
    m_watch.reset();
    m_late.reset();
    m_trace.reset();
    return !m_file || m_file->end();
}

} // namespace tovrinhost
