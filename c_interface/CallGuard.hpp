#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace tovrin_c {

/// While one lives on a thread, that thread is in a function of the embedder's that may be called anywhere, and so
/// must not come back: a submit function, a log function.
class EmbeddersTurn {
public:
    EmbeddersTurn() noexcept;
    EmbeddersTurn(const EmbeddersTurn&) = delete;
    EmbeddersTurn& operator=(const EmbeddersTurn&) = delete;
    ~EmbeddersTurn();
};

/// \throws Misuse if the calling thread is in one of these
void requireNoEmbeddersTurn();

/// The text of an exception of whatever kind.
std::string textOf(const std::exception_ptr& error);

/// To be called in a handler: makes the exception that is being handled the thread's last error.
/// \param function of the interface, that has met with it
/// \returns the code for it
std::int32_t codeOfCurrentException(const char* function) noexcept;

/// Does what a function of the interface does, and lets no exception out.
/// \returns TOVRIN_OK, or the code for what was thrown
template <typename Work> std::int32_t guarded(const char* function, const Work& work) noexcept
{
    try {
        work();
        return 0;
    } catch (...) {
        return codeOfCurrentException(function);
    }
}

} // namespace tovrin_c
