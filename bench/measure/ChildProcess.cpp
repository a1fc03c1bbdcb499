#include "bench/measure/ChildProcess.hpp"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

[[noreturn]] void fail(const std::string& program, int error)
{
    throw std::runtime_error(program + " cannot be run: " + std::generic_category().message(error));
}

struct Pipe {
    explicit Pipe(const std::string& program)
    {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            fail(program, errno);
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe()
    {
        close(ends[0]);
        closeEntrance();
    }
    void closeEntrance()
    {
        if (ends[1] >= 0) {
            close(ends[1]);
            ends[1] = -1;
        }
    }

    std::array<int, 2> ends { -1, -1 };
};

std::string readAll(int file)
{
    std::string text;
    std::array<char, 4096> piece {};
    for (ssize_t count = 0; (count = read(file, piece.data(), piece.size())) != 0;) {
        if (count > 0) {
            text.append(piece.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            break;
        }
    }
    return text;
}

} // namespace

std::string outputOf(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);

    Pipe output(command.front());
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output.ends[1], STDOUT_FILENO);
    pid_t child = 0;
    const int error = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        fail(command.front(), error);
    }
    output.closeEntrance();
    std::string text = readAll(output.ends[0]);

    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            fail(command.front(), errno);
        }
    }
    if (status != 0) {
        throw std::runtime_error(command.front() + " has failed, wait status " + std::to_string(status));
    }
    return text;
}

} // namespace bench
