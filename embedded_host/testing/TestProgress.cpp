#include "embedded_host/testing/TestProgress.hpp"

#include "embedded_host/log/Escape.hpp"

#include <array>
#include <cstdio>
#include <ostream>

namespace tovrinhost {

namespace {

/// "1.3 ms"
std::string inMilliseconds(RealTime time)
{
    std::array<char, 32> text {};
    const double count = std::chrono::duration<double, std::milli>(time).count();
    std::snprintf(text.data(), text.size(), "%.1f ms", count);
    return text.data();
}

} // namespace

std::string asBlock(const std::string& text)
{
    constexpr const char* margin = "      ";
    std::string block = margin;
    for (const char letter : text) {
        block += letter;
        block += letter == '\n' ? margin : "";
    }
    return block + '\n';
}

void TestProgress::fileBegins(const FileResult& file)
{
    m_output << escape(file.file) << '\n';
    if (!file.error.empty()) {
        ++m_failedFiles;
        m_output << "  FAILED  to load\n" << asBlock(file.error);
    }
    m_output << std::flush;
}

void TestProgress::testHasEnded(const TestResult& result)
{
    ++m_tests;
    m_time += result.time;
    const std::string name = escape(result.test.name) + " (" + inMilliseconds(result.time) + ')';
    if (result.failure.empty()) {
        m_output << "  ok      " << name << '\n';
    } else {
        ++m_failedTests;
        m_output << "  FAILED  " << name << ", seed " << result.seed << '\n' << asBlock(result.failure);
    }
    m_output << std::flush;
}

void TestProgress::end()
{
    m_output << m_tests << (m_tests == 1 ? " test, " : " tests, ") << m_failedTests << " failed";
    if (m_failedFiles > 0) {
        m_output << ", " << m_failedFiles << (m_failedFiles == 1 ? " file" : " files") << " without tests";
    }
    m_output << " (" << inMilliseconds(m_time) << ")\n" << std::flush;
}

} // namespace tovrinhost
