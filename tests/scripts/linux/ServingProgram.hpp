#pragma once

#include <string>

#include <sys/types.h>

namespace scripts {

/// A program `tovrin run --status` in the background, whose standard output goes to a file.
class ServingProgram {
public:
    /// Returns once it serves its status, or has ended.
    /// \param folder where it runs; \param runtime its XDG_RUNTIME_DIR
    ServingProgram(const std::string& folder, const std::string& runtime, const std::string& script);
    ServingProgram(const ServingProgram&) = delete;
    ServingProgram& operator=(const ServingProgram&) = delete;

    /// Kills it, if it has not ended.
    ~ServingProgram();

    pid_t process() const { return m_process; }
    std::string name() const { return std::to_string(m_process); }

    /// \returns its exit status once it has ended of itself, or 128 and the signal that ended it
    int wait();
    void signal(int signal) const;

    const std::string& socketPath() const { return m_socketPath; }

private:
    pid_t m_process = 0;
    std::string m_socketPath;
    bool m_hasEnded = false;
};

} // namespace scripts
