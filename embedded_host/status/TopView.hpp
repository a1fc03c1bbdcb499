#pragma once

#include "embedded_host/status/ProgramStatus.hpp"
#include "embedded_host/status/TimersTable.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tovrinhost {

/// A key as the view knows it.
struct KeyPress {
    enum Key : std::uint8_t {
        Character,
        Up,
        Down,
        Left,
        Right,
        PageUp,
        PageDown,
        Home,
        End,
        Enter,
        Escape,
        Backspace,
    };
    Key key = Character;
    std::string text; ///< of a character, in UTF-8
};

/// What `tovrin top` shows, and what keys do to it: a core without terminal, clock or socket.
///
///     table  --enter-->  one timer with its explanation  --enter, escape, q-->  table
///            --?, h--->  help                            --any key--------->  table
///            --/------>  the filter is typed             --enter, escape--->  table
///            --q------>  the end
class TopView {
public:
    /// A piece of a line, without control characters.
    struct Piece {
        std::size_t column;
        std::string text;
    };
    struct Line {
        enum Style : std::uint8_t { Plain, Head, Selected };
        Style style = Plain;
        std::vector<Piece> pieces;
    };

    /// News; not while it is paused.
    void show(ProgramStatus status);

    /// Of the timer that is open. \param text its explanation, or why there is none
    void explain(std::string text) { m_explanation = std::move(text); }

    /// \returns whether to go on
    bool press(const KeyPress& key);

    bool isPaused() const { return m_isPaused; }

    /// The timer whose explanation is wanted.
    std::optional<std::uint64_t> open() const { return m_open; }

    /// The screen, from above; as many lines as are high, or fewer.
    std::vector<Line> draw(std::size_t width, std::size_t height);

private:
    enum class Mode : std::uint8_t { Table, Filter, Help };

    void pressInTable(const KeyPress& key);
    void pressInFilter(const KeyPress& key);
    void move(std::ptrdiff_t by);
    void arrange();
    std::ptrdiff_t placeOfSelected() const;
    std::string headLine() const;
    std::string lastLine() const;
    void drawTable(std::vector<Line>& lines, std::size_t width, std::size_t height);
    void drawOpen(std::vector<Line>& lines, std::size_t width, std::size_t height) const;

    ProgramStatus m_status;
    std::vector<TimerStatus> m_shown; // those that the filter lets through, in order
    Mode m_mode = Mode::Table;
    Column m_sortedBy = Column::Timer;
    bool m_isReversed = false;
    bool m_isPaused = false;
    std::string m_filter;
    std::uint64_t m_selected = 0; // a timer's number
    std::ptrdiff_t m_selectedPlace = 0; // where it was last
    std::size_t m_firstRow = 0;
    std::size_t m_rows = 1; // of the table, at the last drawing
    std::optional<std::uint64_t> m_open;
    std::string m_explanation;
    bool m_ends = false;
};

} // namespace tovrinhost
