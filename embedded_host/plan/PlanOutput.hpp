#pragma once

#include <cstdio>
#include <memory>
#include <string_view>

namespace tovrinhost {

/// Where a plan goes: standard output, as it was before the script got another.
///
/// Errors: after the first one nothing more is written.
class PlanOutput {
public:
    /// \param stream is closed at last
    explicit PlanOutput(std::FILE* stream)
        : m_stream(stream)
    {
    }

    void write(std::string_view text);
    void flush();

    /// \returns the errno of the first write that failed, 0 if none did
    int error() const { return m_error; }

private:
    struct Close {
        void operator()(std::FILE* stream) const { std::fclose(stream); }
    };

    const std::unique_ptr<std::FILE, Close> m_stream;
    int m_error = 0;
};

} // namespace tovrinhost
