#include "embedded_host/diagnosis/TraceInput.hpp"

#include "embedded_host/diagnosis/TraceEvents.hpp"

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace tovrinhost {

namespace {

constexpr std::size_t longestLine = 65'536;

} // namespace

TraceInput::TraceInput(const std::string& path)
    : m_path(path)
    , m_file(path, std::ios::binary)
    , m_buffer(longestLine)
{
    if (!m_file) {
        throw std::runtime_error(
            "cannot open the trace \"" + path + "\": " + std::generic_category().message(errno));
    }
    if (!next() || m_line != trace::firstLine || !next() || !is(trace::header)) {
        throw std::runtime_error("\"" + path
            + "\" is no trace of tovrin: it does not begin like one that tovrin run --trace has written");
    }
}

bool TraceInput::next()
{
    ++m_number;
    m_file.getline(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
    m_line = m_buffer.data();
    if (m_file.bad()) {
        fail("it cannot be read: " + std::generic_category().message(errno));
    }
    if (m_file.fail() && !m_file.eof()) {
        fail("line " + std::to_string(m_number) + " is longer than any that tovrin writes");
    }
    if (m_line.ends_with('\r')) {
        m_line.remove_suffix(1); // it has been through an editor's hands
    }
    if (m_line.ends_with(',')) {
        m_line.remove_suffix(1);
    }
    return !m_file.fail();
}

void TraceInput::fail(const std::string& why) const
{
    throw std::runtime_error("the trace \"" + m_path + "\": " + why);
}

} // namespace tovrinhost
