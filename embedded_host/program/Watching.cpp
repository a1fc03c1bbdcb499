#include "embedded_host/program/Watching.hpp"

namespace tovrinhost {

Watching::Watching(const RunCommand& command, Diagnosis& diagnosis)
{
    if (command.traceFile) {
        m_file = std::make_unique<TraceFile>(*command.traceFile);
        m_trace.emplace(*m_file, diagnosis, "tovrin run " + command.file);
    }
    if (command.lateAbove) {
        m_late.emplace(diagnosis, static_cast<Nanoseconds>(*command.lateAbove * 1e9));
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
