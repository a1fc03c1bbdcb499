#include "tests/scripts/linux/ServingProgram.hpp"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace scripts {

namespace {

[[noreturn]] void becomeProgram(const std::string& folder, const std::string& runtime, const std::string& script)
{
    const std::string output = folder + '/' + script + ".out";
    const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(file, STDOUT_FILENO);
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    if (chdir(folder.c_str()) == 0) {
        execl(TOVRIN_PROGRAM, TOVRIN_PROGRAM, "run", "--status", script.c_str(), nullptr);
    }
    _exit(127);
}

} // namespace

ServingProgram::ServingProgram(const std::string& folder, const std::string& runtime, const std::string& script)
    : m_process(fork())
{
    if (m_process == 0) {
        becomeProgram(folder, runtime, script);
    }
    m_socketPath = runtime + "/tovrin/" + name() + ".sock";
    // The folder of the socket may not be there yet, so that it cannot be watched.
    siginfo_t ended {};
    while (!std::filesystem::exists(m_socketPath)
        && (waitid(P_PID, static_cast<id_t>(m_process), &ended, WEXITED | WNOHANG | WNOWAIT) == 0
            && ended.si_pid == 0)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

ServingProgram::~ServingProgram()
{
    if (!m_hasEnded) {
        signal(SIGKILL);
        wait();
    }
}

int ServingProgram::wait()
{
    int status = 0;
    waitpid(m_process, &status, 0);
    m_hasEnded = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void ServingProgram::signal(int signal) const
{
    kill(m_process, signal);
}

} // namespace scripts
