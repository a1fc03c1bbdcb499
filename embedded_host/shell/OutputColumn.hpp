#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tovrinhost {

/// Follows output that a terminal is given: where its cursor stands in the row, and in what look.
class OutputColumn {
public:
    explicit OutputColumn(std::size_t width)
        : m_width(width)
    {
    }

    /// \returns how many bytes of the text are whole characters and sequences; it is these that have been followed
    std::size_t follow(std::string_view text);

    void setWidth(std::size_t width);

    /// Something has been written in this row since the last line break.
    bool isRowUsed() const { return m_isRowUsed; }

    /// What brings the cursor back to its place, and the look that it had there, from the beginning of the row.
    std::string wayBack() const;

    /// Colours, bold letters and the like.
    bool hasLook() const { return !m_look.empty(); }

private:
    std::size_t sequence(std::string_view text);
    void control(char byte);
    void put(std::string_view cell, std::size_t columns);
    void noteLook(std::string_view sequence);

    std::size_t m_width;
    std::size_t m_column = 0; // m_width: the row is full, and the next character will begin another
    bool m_isRowUsed = false;
    std::string m_lastCell;
    std::size_t m_columnsOfLastCell = 0;
    std::string m_look; // the sequences that have made it
};

} // namespace tovrinhost
