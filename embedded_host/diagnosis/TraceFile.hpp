#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace tovrinhost {

/// The file of a trace: an array of events, one a line, of which at any time the beginning can be read.
///
/// Threading: one thread at a time.
/// Errors: after the first one, which is told of on standard error, nothing more is written.
class TraceFile {
public:
    /// \throws std::system_error if the file cannot be opened
    explicit TraceFile(const std::string& path);
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    /// Keeps a line, or several with ",\n" in between.
    void add(const std::string& lines);

    /// Writes what is kept.
    void flush();

    /// Ends the array, and writes what is kept. To be called once, at last.
    /// \returns whether all has been written
    bool end();

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    void fail(int error);

    const std::string m_path;
    const std::unique_ptr<std::FILE, Close> m_file;
    std::string m_text;
    bool m_isEmpty = true;
    bool m_hasFailed = false;
};

} // namespace tovrinhost
