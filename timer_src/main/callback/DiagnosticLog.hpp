#pragma once

#include "host/foundation/log/basic_diagnostic_logger.hpp"

#include <cstdint>
#include <ostream>
#include <tuple>

namespace tovrintimer {

using DiagnosticLogger = foundation::log::basic_diagnostic_logger<char>;

/// One bit each; a logger's mask says which are wanted.
enum class Severity : std::uint32_t {
    Trace = 4,
    Detail = 16,
    ScopeEntry = 32,
    ScopeExit = 64,
};

inline bool isEnabled(const DiagnosticLogger& logger, Severity severity) noexcept
{
    return logger.is_enabled(static_cast<std::uint32_t>(severity));
}

/// What a traced scope is called in the records.
struct SourceLocation {
    const char* function;
    const char* file;
    int line;
};

/// Writes the text of a record that is wanted.
class RecordText {
public:
    virtual void writeTo(std::ostream& stream) const = 0;

protected:
    ~RecordText() = default;
};

/// The part of `writeRecord` that is not passed over.
/// \param location goes into the attributes "File" and "Line"; may be null
void writeEnabledRecord(
    DiagnosticLogger& logger, Severity severity, const RecordText& text, const SourceLocation* location) noexcept;

template <typename... Pieces> class PiecesText final : public RecordText {
public:
    explicit PiecesText(const Pieces&... pieces)
        : m_pieces(pieces...)
    {
    }

    void writeTo(std::ostream& stream) const override
    {
        std::apply([&](const auto&... piece) { static_cast<void>((stream << ... << piece)); }, m_pieces);
    }

private:
    const std::tuple<const Pieces&...> m_pieces;
};

/// The other part of it, out of the way of the code that logs.
template <typename... Pieces>
[[gnu::noinline, gnu::cold]] void writeWantedRecord(
    DiagnosticLogger& logger, Severity severity, const Pieces&... pieces) noexcept
{
    writeEnabledRecord(logger, severity, PiecesText<Pieces...>(pieces...), nullptr);
}

/// Writes one record, the pieces streamed one after the other, flags as 0 and 1.
///
/// A record that is not wanted costs one bit test, and formats nothing. A record whose formatting or sink throws
/// is dropped, and nothing of it leaves this call: logging never changes the flow of the code that logs.
/// Threading: any thread. Sinks are host code: what is logged under a lock must not make them need that lock.
template <typename... Pieces>
void writeRecord(DiagnosticLogger& logger, Severity severity, Pieces... pieces) noexcept
{
    if (isEnabled(logger, severity)) [[unlikely]] {
        writeWantedRecord(logger, severity, pieces...);
    }
}

} // namespace tovrintimer
