#pragma once

#include <memory>

namespace recording {

/// Writes every log record into the journal, as long as it exists.
///
/// The journal's actions make it a sink that throws, waits or calls back. One at a time.
class LogCapture {
public:
    LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

private:
    class Sink;
    std::shared_ptr<Sink> m_sink;
};

} // namespace recording
