#pragma once

#include "embedded_host/shell/Screen.hpp"

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <csignal>
#include <termios.h>

namespace tovrinhost::platform {

/// The terminal of this process, with a prompt below what is written to standard output and standard error.
///
/// Whoever writes there, a program that a script runs too, writes into a pipe. A thread of its own reads it and
/// shows it above the prompt, at most some thirty times a second; so nobody who writes waits for the interpreter,
/// and nobody is waited for. The same thread tells of keys, and sees to the terminal as the process is suspended
/// and continued, and as its size changes.
///
///     print, os.execute, std::cerr --> pipe --> m_pending --> Screen --> terminal --> keys --> wake
///
/// Threading: `wake` and `giveBack`, any thread; everything else, the interpreter thread, but for making and
/// destroying it. Lock order: m_mutex, then what `wake` takes. It is held while the terminal is written to.
class Terminal {
public:
    /// Keeps the signals of job control away from this thread and those that it makes from now on.
    /// \throws std::system_error
    Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Shows what is left, and gives the terminal back.
    ~Terminal();

    /// What goes to the terminal itself.
    int descriptor() const { return m_terminal; }

    /// Reads keys. \returns whether there were any
    bool read(std::string& keys);

    /// Whether the terminal has gone away.
    bool hasEnded() const { return m_hasEnded; }

    /// Has a function called once, on another thread, as soon as there are keys to read, or `wake` asks for it.
    /// Null: the one before is not called any more.
    void whenThereAreKeys(std::function<void()> wake);

    /// Any thread.
    void wake();

    void show(Typed typed);
    void leave(const std::string& typed, std::string_view mark = "");
    void clear();

    /// Shows all that has been written until now.
    void showOutput();

    void giveBack() noexcept;

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds frame { 33 };
    static constexpr std::size_t mostPending = 1U << 18U;

    void serve();
    int timeout();
    void takeSignals();
    void takeOutput();
    void printPending();
    void suspend();
    void goOn();
    void resize();
    void poke() const;

    const int m_terminal; // the terminal itself, as long as standard output is the pipe
    const termios m_modesBefore;
    sigset_t m_signalsBefore {};
    int m_signals = -1;
    const int m_poke;
    int m_pipe = -1;
    int m_errorBefore = -1; // standard error, if it is none of ours

    std::mutex m_mutex;
    Screen m_screen; // guarded by m_mutex, like the next five
    std::string m_pending;
    Clock::time_point m_printed;
    termios m_modesOfPrompt;
    std::function<void()> m_wake; // null while nobody waits for keys
    bool m_isClosing = false;

    std::atomic<bool> m_hasEnded { false };
    std::thread m_thread;
};

} // namespace tovrinhost::platform
