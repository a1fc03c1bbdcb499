#include "tests/simulation/run/Apart.hpp"

#include "tests/Sanitizers.hpp"
#include "tests/simulation/run/Shrink.hpp"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#if defined(TESTS_WITH_ADDRESS_SANITIZER)
#include <sanitizer/lsan_interface.h>
#endif

namespace simulation {

namespace {

/// As text between processes: the failure's length, the failure, and the trace.
std::string pack(const Verdict& verdict)
{
    return std::to_string(verdict.steps) + ' ' + std::to_string(verdict.end) + ' '
        + std::to_string(verdict.failure.size()) + ' ' + verdict.failure + verdict.trace;
}

Verdict unpack(const std::string& text)
{
    Verdict verdict;
    std::size_t at = 0;
    const auto number = [&] {
        const std::size_t blank = text.find(' ', at);
        const auto value = std::stoull(text.substr(at, blank - at));
        at = blank + 1;
        return value;
    };
    verdict.steps = number();
    verdict.end = static_cast<Moment>(number());
    const std::size_t length = number();
    verdict.failure = text.substr(at, length);
    verdict.trace = text.substr(at + length);
    return verdict;
}

void writeAll(int file, const std::string& text)
{
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t written = write(file, text.data() + at, text.size() - at);
        if (written <= 0) {
            return;
        }
        at += static_cast<std::size_t>(written);
    }
}

std::string readAll(int file)
{
    std::string text;
    std::array<char, 65536> part {};
    for (;;) {
        const ssize_t length = ::read(file, part.data(), part.size());
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length <= 0) {
            return text;
        }
        text.append(part.data(), static_cast<std::size_t>(length));
    }
}

[[noreturn]] void throwSystemError(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

std::string describeEnd(int status)
{
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGALRM ? "it hangs"
                                           : std::string("it crashes: ") + strsignal(WTERMSIG(status));
    }
    return "the process ends with status " + std::to_string(WEXITSTATUS(status));
}

pid_t forkChild()
{
    std::cout.flush();
    std::cerr.flush();
    const pid_t child = fork();
    if (child < 0) {
        throwSystemError("fork");
    }
    return child;
}

int waitFor(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return status;
}

} // namespace

std::optional<std::string> runApart(
    const std::function<std::string()>& function, unsigned int seconds, std::string* how)
{
    std::array<int, 2> ends {};
    if (pipe(ends.data()) != 0) {
        throwSystemError("pipe");
    }
    const pid_t child = forkChild();
    if (child == 0) {
        close(ends[0]);
        alarm(seconds);
        writeAll(ends[1], function());
        _exit(0); // without destructors: threads of the simulation may stand in the midst of something
    }
    close(ends[1]);
    std::string text = readAll(ends[0]);
    close(ends[0]);
    const int status = waitFor(child);
    if (status != 0) {
        if (how != nullptr) {
            *how = describeEnd(status);
        }
        return std::nullopt;
    }
    return text;
}

Verdict simulateApart(const Program& program, const RunOptions& options)
{
    std::string how;
    const auto text = runApart([&] { return pack(simulate(program, options)); }, 120, &how);
    if (text) {
        return unpack(*text);
    }
    Verdict verdict;
    verdict.failure = how;
    return verdict;
}

std::optional<std::uint64_t> findSchedule(const Program& program, const std::string& gistOfFailure)
{
    constexpr std::uint64_t most = 400;
    const auto attempt = [&program](std::uint64_t number) {
        Program candidate = program;
        candidate.schedule = number == 0 ? program.schedule : number;
        return candidate;
    };
    for (std::uint64_t number = 0; number < most; ++number) {
        // As many as pass in one process: that is quicker than one for each.
        const auto passed = runApart(
            [&] {
                while (number < most && !simulate(attempt(number)).failed()) {
                    ++number;
                }
                return std::to_string(number);
            },
            120);
        // A child that crashed does not tell where.
        for (number = passed ? std::stoull(*passed) : number; number < most; ++number) {
            const Verdict verdict = simulateApart(attempt(number));
            if (verdict.failed() && gist(verdict.failure) == gistOfFailure) {
                return attempt(number).schedule;
            }
            if (passed) {
                break;
            }
        }
    }
    return std::nullopt;
}

namespace {

/// What a child tells its parent while it runs.
struct Progress {
    std::uint64_t seed;
    std::uint64_t seeds;
    std::uint64_t steps;
    bool failed;
};

void runSeeds(Progress& progress, std::uint64_t from, std::uint64_t to, unsigned int step)
{
    for (std::uint64_t seed = from; seed < to; seed += step) {
        progress.seed = seed;
        alarm(120);
        const Verdict verdict = simulate(programOf(seed));
        ++progress.seeds;
        progress.steps += verdict.steps;
        if (verdict.failed()) {
            progress.failed = true;
            return;
        }
    }
#if defined(TESTS_WITH_ADDRESS_SANITIZER)
    if (__lsan_do_recoverable_leak_check() != 0) {
        progress.failed = true; // of the last seed, or of one before it
    }
#endif
}

} // namespace

Batch simulateSeeds(std::uint64_t from, std::uint64_t to, unsigned int processes)
{
    void* const memory
        = mmap(nullptr, processes * sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    auto* const progress = static_cast<Progress*>(memory);
    std::vector<pid_t> children;
    for (unsigned int i = 0; i < processes; ++i) {
        children.push_back(forkChild());
        if (children.back() == 0) {
            runSeeds(progress[i], from + i, to, processes);
            _exit(0);
        }
    }
    Batch batch;
    for (unsigned int i = 0; i < processes; ++i) {
        if (waitFor(children[i]) != 0) {
            progress[i].failed = true; // it crashed or hung
        }
        batch.seeds += progress[i].seeds;
        batch.steps += progress[i].steps;
        if (progress[i].failed && (!batch.failedSeed || progress[i].seed < *batch.failedSeed)) {
            batch.failedSeed = progress[i].seed;
        }
    }
    munmap(memory, processes * sizeof(Progress));
    return batch;
}

} // namespace simulation
