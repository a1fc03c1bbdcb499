#include "embedded_host/shell/PromptRows.hpp"

#include "embedded_host/shell/platform/Characters.hpp"
#include "embedded_host/values/Utf8.hpp"

#include <algorithm>
#include <string_view>

namespace tovrinhost {

namespace {

constexpr std::string_view prompt = "> ";
constexpr std::string_view furtherPrompt = ">> ";

/// Writes cells, row after row.
class Cells {
public:
    Cells(std::vector<PromptRows::Row>& rows, std::size_t width)
        : m_rows(rows)
        , m_width(width)
    {
        m_rows.emplace_back();
    }

    std::size_t column() const { return m_column; }

    /// Goes to the next row where this one has no room for so many columns.
    void makeRoom(std::size_t columns)
    {
        if (m_column + columns > m_width && m_column > 0) {
            m_rows.back().goesOn = true;
            m_rows.emplace_back();
            m_column = 0;
        }
    }

    void put(std::string_view cell, std::size_t columns)
    {
        makeRoom(columns);
        m_rows.back().text += cell;
        m_column += columns;
    }

    void putAscii(std::string_view text)
    {
        for (; !text.empty(); text.remove_prefix(1)) {
            put(text.substr(0, 1), 1);
        }
    }

    void breakLine()
    {
        m_rows.emplace_back();
        m_column = 0;
    }

private:
    std::vector<PromptRows::Row>& m_rows;
    const std::size_t m_width;
    std::size_t m_column = 0;
};

std::string controlCharacter(char byte)
{
    constexpr unsigned char toLetter = 0x40;
    return { '^', static_cast<char>(static_cast<unsigned char>(byte) ^ toLetter) };
}

std::string hex(char byte)
{
    constexpr std::string_view digits = "0123456789abcdef";
    const auto bits = static_cast<unsigned char>(byte);
    return { '\\', 'x', digits[bits >> 4U], digits[bits & 0xFU] };
}

/// Writes the first character of the text. \returns how many bytes it has
std::size_t putFirst(Cells& cells, std::string_view text)
{
    const char first = text.front();
    if (first == '\n') {
        cells.breakLine();
        cells.putAscii(furtherPrompt);
        return 1;
    }
    if (first == '\t') {
        cells.putAscii(std::string(platform::tabStop - cells.column() % platform::tabStop, ' '));
        return 1;
    }
    const Utf8Character character = firstCharacter(text);
    const int columns = character.length == 0 ? -1 : platform::columnsOf(character.character);
    if (columns >= 0) {
        cells.put(text.substr(0, character.length), static_cast<std::size_t>(columns));
        return character.length;
    }
    const bool isControl = character.length == 1;
    cells.putAscii(isControl ? controlCharacter(first) : hex(first));
    return 1;
}

/// How many columns the first character takes at least in one row.
std::size_t leastColumns(std::string_view text)
{
    const Utf8Character character = firstCharacter(text);
    const int columns = character.length == 0 ? 1 : platform::columnsOf(character.character);
    return columns == 2 ? 2 : 1;
}

} // namespace

PromptRows::PromptRows(const Typed& typed, std::size_t width)
{
    Cells cells(rows, width);
    cells.putAscii(prompt);
    const std::string_view text = typed.text;
    for (std::size_t at = 0;;) {
        if (at == typed.cursor) {
            const bool isAtLineEnd = at < text.size() && text[at] == '\n';
            if (!isAtLineEnd) {
                cells.makeRoom(at < text.size() ? leastColumns(text.substr(at)) : 1);
            }
            cursorRow = rows.size() - 1;
            cursorColumn = std::min(cells.column(), width - 1);
        }
        if (at >= text.size()) {
            break;
        }
        at += putFirst(cells, text.substr(at));
    }
    // Where the cursor stands behind a full row, nothing that is written makes the terminal begin the next one.
    if (rows.back().text.empty() && rows.size() > 1) {
        rows[rows.size() - 2].goesOn = false;
    }
}

} // namespace tovrinhost
