#pragma once

#include "host/vorn/VORN.hpp"

#include <cstddef>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace recording {

/// What the engine answers to an evaluation request.
enum class Outcome {
    Ready, ///< success, at once
    Error, ///< a CallbackError out of the future
    NoState, ///< a future without a shared state
    Later, ///< whenever the test calls `finishNext`
    Throw, ///< a CallbackError out of `feval` itself
};

struct CallbackError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// An engine that evaluates nothing: it records what is asked of it, and answers as the test says.
///
/// Its events: "feval FUNCTION CALLBACKNAME", "evalAsync STATEMENT"; in detail, "createRequestID",
/// "getContextId" and "~Engine". Actions set for them run before the engine answers; they may change its mind, but
/// not to or from Later.
/// Threading: all operations, any thread.
class Engine : public vorn::VORN {
public:
    struct Evaluation {
        std::string function;
        std::vector<foundation::tovrindata::Array> arguments;
        std::size_t nargout;
        cmddistributor::RunOptions options;
        bool reserved;
        foundation::msg_svc::exchange::IDType requestId;
    };

    struct Statement {
        std::u16string text;
        cmddistributor::RunOptions options;
        foundation::msg_svc::exchange::IDType requestId;
    };

    explicit Engine(vorn::ContextId context = 1);
    ~Engine() override;

    foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(const std::string& function,
        const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
        cmddistributor::RunOptions options, bool reserved,
        foundation::msg_svc::exchange::IDType requestId) override;

    foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId) override;

    vorn::ContextId getContextId() const override;

    /// Of the requests from now on. Ready at first.
    void setOutcome(Outcome outcome);

    /// Answers the oldest request that waits, with success.
    /// \throws std::logic_error if none waits
    void finishNext();

    std::vector<Evaluation> evaluations() const;
    std::vector<Statement> statements() const;

    /// How many engines exist.
    static std::size_t alive();

    /// Whether one of this context exists.
    static bool isAlive(vorn::ContextId context);

private:
    using Outputs = std::vector<foundation::tovrindata::Array>;

    const vorn::ContextId m_context;

    mutable std::mutex m_mutex;
    Outcome m_outcome = Outcome::Ready; // guarded by m_mutex, like the rest
    std::vector<Evaluation> m_evaluations;
    std::vector<Statement> m_statements;
    std::deque<boost::promise<Outputs>> m_waiting;
};

} // namespace recording
