#pragma once

#include <cstddef>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tovrinhost {

/// A trace as it is read: its lines, one after the other, without the comma that separates them.
///
/// Errors: std::runtime_error that names the file, and the line.
class TraceInput {
public:
    /// Reads what stands in front of the events.
    explicit TraceInput(const std::string& path);

    /// \returns whether there is one more line
    bool next();

    bool is(std::string_view kind) const { return m_line.starts_with(kind); }
    std::string_view line() const { return m_line; }

    /// What the line says.
    /// \returns nothing for the last one, which may have been cut short
    template <typename Event> std::optional<Event> read(std::optional<Event> (*reader)(std::string_view line))
    {
        auto event = reader(m_line);
        if (!event && m_file.peek() != std::ifstream::traits_type::eof()) {
            fail("line " + std::to_string(m_number) + " is damaged");
        }
        return event;
    }

private:
    [[noreturn]] void fail(const std::string& why) const;

    const std::string m_path;
    std::ifstream m_file;
    std::vector<char> m_buffer;
    std::string_view m_line;
    std::size_t m_number = 0;
};

} // namespace tovrinhost
