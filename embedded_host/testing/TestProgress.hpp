#pragma once

#include "embedded_host/testing/TestRun.hpp"

#include <cstddef>
#include <iosfwd>
#include <string>

namespace tovrinhost {

/// A text of several lines, indented, with a line break behind the last.
std::string asBlock(const std::string& text);

/// Tells people of a run of tests as it goes: a row for each, and their sum.
class TestProgress {
public:
    explicit TestProgress(std::ostream& output)
        : m_output(output)
    {
    }

    /// A file that has no tests has failed.
    void fileBegins(const FileResult& file);

    void testHasEnded(const TestResult& result);

    /// All of it has ended.
    void end();

    bool hasFailures() const { return m_failedTests + m_failedFiles > 0; }

private:
    std::ostream& m_output;
    std::size_t m_tests = 0;
    std::size_t m_failedTests = 0;
    std::size_t m_failedFiles = 0;
    RealTime m_time { 0 };
};

} // namespace tovrinhost
