#include "tests/random_programs/run/Worker.hpp"

#include "tests/Sanitizers.hpp"
#include "tests/random_programs/model/Model.hpp"
#include "tests/random_programs/run/File.hpp"
#include "tests/random_programs/run/Runner.hpp"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <new>
#include <system_error>

#if defined(TESTS_WITH_ADDRESS_SANITIZER)
#include <sanitizer/lsan_interface.h>
#endif

namespace random_programs {

namespace {

/// A program lasts some tens of milliseconds; on however busy a machine, none is as long.
constexpr unsigned int timeLimit = 30;

bool hasLeaks()
{
#if defined(TESTS_WITH_ADDRESS_SANITIZER)
    return __lsan_do_recoverable_leak_check() != 0;
#else
    return false;
#endif
}

std::string describeEnd(int status)
{
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGALRM ? "it hangs"
                                           : std::string("it crashes: ") + strsignal(WTERMSIG(status));
    }
    return "the process ends with status " + std::to_string(WEXITSTATUS(status));
}

} // namespace

struct Worker::Progress {
    std::uint64_t number;
    int status; ///< of the program of this number
    bool failed;
    bool leaked; ///< it, or one before it
};

Worker::Worker(const Programs& programs, std::uint64_t first, std::uint64_t end, std::uint64_t step)
    : m_output(openMemory())
    , m_progress(static_cast<Progress*>(
          mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
{
    if (m_progress == MAP_FAILED) {
        throw std::bad_alloc();
    }
    std::cout.flush();
    m_child = fork();
    if (m_child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (m_child == 0) {
        work(programs, first, end, step);
    }
}

Worker::~Worker()
{
    close(m_output);
    munmap(m_progress, sizeof(Progress));
}

void Worker::work(const Programs& programs, std::uint64_t first, std::uint64_t end, std::uint64_t step) const
{
    Runner runner(m_output);
    for (std::uint64_t number = first; number < end && !m_progress->failed; number += step) {
        m_progress->number = number;
        alarm(timeLimit);
        m_progress->status = runner.run(programs(number));
        m_progress->failed = findBrokenRule(readFile(m_output), m_progress->status).has_value();
    }
    m_progress->leaked = !m_progress->failed && hasLeaks();
    _exit(0);
}

std::optional<Failure> Worker::await()
{
    int status = 0;
    while (waitpid(m_child, &status, 0) < 0 && errno == EINTR) { }
    Failure failure { m_progress->number, "", "", readFile(m_output) };
    if (status != 0) {
        failure.rule = describeEnd(status);
    } else if (m_progress->failed) {
        const auto broken = findBrokenRule(failure.output, m_progress->status);
        failure.rule = broken ? broken->rule : "";
        failure.how = broken ? broken->what() : "";
    } else if (m_progress->leaked) {
        failure.rule = "it leaks, or one before it";
    } else {
        return std::nullopt;
    }
    return failure;
}

} // namespace random_programs
