#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace tovrinhost::platform {

// What differs between operating systems; one source file for each of them.

/// Makes standard output appear line by line, also where it is a pipe or a file. To be called before anything is
/// written.
void setUpStandardOutput();

/// From now on, what this program and those that it starts write to standard output goes to standard error, or
/// nowhere.
/// \returns what leads to where it went before
/// \throws std::system_error
std::FILE* divertStandardOutput(bool toStandardError);

/// Whether somebody types what comes from standard input.
bool isInputATerminal();

/// Writes what is still to be written.
/// \returns the errno of the first write that failed since the program began, 0 if none did
int flushStandardOutput();

/// Has another program of this installation go on in place of this one, with the words of its command line. Where
/// the system cannot put one program in the place of another, this one waits for it.
/// \param name what its file is called, beside this program's or in libexec/tovrin
/// \returns its exit status
/// \throws std::system_error if there is no such program, or it cannot be started
int continueAs(const char* name, const std::vector<const char*>& words);

/// Keeps the signals that ask the program to end, or how it is doing, away from this thread, and from those that
/// it makes meanwhile: only the watcher's gets them. Pending calls of the others are not disturbed.
class SignalsLeftToWatcher {
public:
    SignalsLeftToWatcher();
    SignalsLeftToWatcher(const SignalsLeftToWatcher&) = delete;
    SignalsLeftToWatcher& operator=(const SignalsLeftToWatcher&) = delete;
    ~SignalsLeftToWatcher();
};

/// Calls a function for each signal that asks the program to end, and another for one that asks how it is doing,
/// on a thread of its own, for as long as it lives.
///
/// The first is given the status that tells of the signal: 130 for Ctrl-C, and where there are such, 143 for
/// SIGTERM and 129 for SIGHUP. A SIGHUP that is ignored as the program starts stays so. The second is for SIGUSR1,
/// or for Ctrl-Break where there is no such.
class SignalWatcher {
public:
    /// One at a time in the process, while its signals are left to it.
    SignalWatcher(std::function<void(int status)> onSignal, std::function<void()> onQuestion);
    SignalWatcher(const SignalWatcher&) = delete;
    SignalWatcher& operator=(const SignalWatcher&) = delete;
    ~SignalWatcher();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace tovrinhost::platform
