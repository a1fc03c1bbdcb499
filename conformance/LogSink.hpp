#pragma once

#include <boost/log/core/record_view.hpp>

#include <functional>
#include <memory>

namespace conformance {

/// Calls a function with each log record of the program, as long as it exists.
///
/// The function runs on the thread that writes the record, with no lock held: it may wait, throw, and write
/// records of its own.
class LogSink {
public:
    using Function = std::function<void(const boost::log::record_view&)>;

    explicit LogSink(Function function);
    LogSink(const LogSink&) = delete;
    LogSink& operator=(const LogSink&) = delete;
    ~LogSink();

private:
    class Frontend;
    const std::unique_ptr<Frontend> m_frontend;
};

} // namespace conformance
