#include "tests/random_programs/run/Runner.hpp"

#include "embedded_host/timers/ScriptRunner.hpp"
#include "tests/random_programs/run/File.hpp"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>

namespace random_programs {

namespace {

constexpr std::size_t maxBacklog = 10000; // as by default

std::string textOf(const char* path)
{
    std::ifstream file(path);
    return { std::istreambuf_iterator<char>(file), {} };
}

} // namespace

Runner::Runner(int output)
    : m_output(output)
    , m_script(openMemory())
    , m_trace(textOf(RANDOM_PROGRAMS_TRACE))
{
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
}

Runner::~Runner()
{
    close(m_script);
}

int Runner::run(const std::string& program)
{
    writeFile(m_output, "");
    writeFile(m_script, m_trace + program + "over()\n");
    tovrinhost::ScriptRunner runner(maxBacklog);
    const int status = runner.run({ "/proc/self/fd/" + std::to_string(m_script), {}, {} });
    std::fflush(stdout);
    return status;
}

} // namespace random_programs
