#include "embedded_host/plan/PlanOutput.hpp"

#include <cerrno>

namespace tovrinhost {

void PlanOutput::write(std::string_view text)
{
    if (m_error == 0 && std::fwrite(text.data(), 1, text.size(), m_stream.get()) != text.size()) {
        m_error = errno;
    }
}

void PlanOutput::flush()
{
    if (m_error == 0 && std::fflush(m_stream.get()) != 0) {
        m_error = errno;
    }
}

} // namespace tovrinhost
