#include "embedded_host/diagnosis/TraceFile.hpp"

#include "embedded_host/log/Escape.hpp"

#include <cerrno>
#include <iostream>
#include <system_error>

namespace tovrinhost {

namespace {

std::FILE* open(const std::string& path)
{
    std::FILE* const opened = std::fopen(path.c_str(), "wb");
    if (opened == nullptr) {
        throw std::system_error(errno, std::generic_category(), "cannot open the trace \"" + path + "\"");
    }
    std::setvbuf(opened, nullptr, _IONBF, 0);
    return opened;
}

} // namespace

TraceFile::TraceFile(const std::string& path)
    : m_path(path)
    , m_file(open(path))
{
}

bool TraceFile::end()
{
    m_text += m_isEmpty ? "[\n]\n" : "\n]\n";
    flush();
    return !m_hasFailed;
}

void TraceFile::add(const std::string& lines)
{
    if (m_hasFailed) {
        return;
    }
    m_text += m_isEmpty ? "[\n" : ",\n";
    m_text += lines;
    m_isEmpty = false;
    constexpr std::size_t enough = 1'000'000;
    if (m_text.size() > enough) {
        flush();
    }
}

void TraceFile::flush()
{
    if (!m_hasFailed && std::fwrite(m_text.data(), 1, m_text.size(), m_file.get()) != m_text.size()) {
        fail(errno);
    }
    m_text.clear();
}

void TraceFile::fail(int error)
{
    m_hasFailed = true;
    std::cerr << "tovrin: cannot write the trace \"" + escape(m_path)
            + "\": " + std::generic_category().message(error) + "; the rest of it is lost\n";
}

} // namespace tovrinhost
