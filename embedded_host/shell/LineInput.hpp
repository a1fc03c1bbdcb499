#pragma once

#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/shell/Completion.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace tovrinhost {

/// Where the shell's input comes from, and its output goes to.
///
/// Threading: `cancel`, `giveBack`: any thread. Everything else, the interpreter thread, but for making and
/// destroying it: these come before all other threads are there, and after they have gone.
class LineInput {
public:
    enum class Came {
        Text,
        Cancelled, ///< Ctrl-C
        End, ///< Ctrl-D
        Gone, ///< the terminal has gone away
    };

    /// What the input asks while somebody types. Called on the interpreter thread.
    struct Assistance {
        std::function<bool(const std::string& text)> isUnfinished;
        std::function<Completion(const std::string& text, std::size_t cursor)> complete;
    };

    LineInput() = default;
    LineInput(const LineInput&) = delete;
    LineInput& operator=(const LineInput&) = delete;
    virtual ~LineInput() = default;

    /// Waits for what somebody types, and serves the event loop meanwhile.
    /// \param text on return, one or more lines, without a line break at the end
    virtual Came read(EventLoop& loop, const Assistance& assistance, std::string& text) = 0;

    /// Makes `read` return Cancelled, the next one if none is under way.
    /// \returns false if an earlier call has not taken effect yet
    virtual bool cancel() = 0;

    /// Returns once all output so far can be seen.
    virtual void showOutput() = 0;

    /// Keeps what was typed for later.
    virtual void remember(const std::string& text) = 0;

    /// Gives the terminal back as it was, for a program that ends without taking this down.
    virtual void giveBack() noexcept = 0;
};

namespace platform {

/// \throws std::runtime_error with a text for people if there is no terminal
std::unique_ptr<LineInput> openLineInput();

} // namespace platform

} // namespace tovrinhost
