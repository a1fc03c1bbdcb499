#include "embedded_host/log/LineSink.hpp"

#include "embedded_host/log/LogLine.hpp"

#include <string>
#include <utility>

namespace tovrinhost {

LineSink::LineSink(std::shared_ptr<std::FILE> stream)
    : m_stream(std::move(stream))
{
}

void LineSink::consume(const boost::log::record_view& record)
{
    const std::string line = formatLogLine(record);
    // There is nowhere to report a failure to; the next line may fare better.
    static_cast<void>(std::fwrite(line.data(), 1, line.size(), m_stream.get()));
}

} // namespace tovrinhost
