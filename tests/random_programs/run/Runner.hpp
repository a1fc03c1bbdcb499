#pragma once

#include <string>

namespace random_programs {

/// Runs programs one after the other in this process, whose standard output and error it takes for good: both go
/// to one file, so that reports stand between the lines of the trace where they came.
class Runner {
public:
    /// \param output an open file
    explicit Runner(int output);
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;
    ~Runner();

    /// \param program in the words of Trace.lua
    /// \returns the exit status that the program tovrin would have; what was printed is in the file
    int run(const std::string& program);

private:
    const int m_output;
    const int m_script; // an open file without a name of its own
    const std::string m_trace; // what stands in front of each program
};

} // namespace random_programs
