#include "embedded_host/shell/OutputColumn.hpp"

#include "embedded_host/shell/platform/Characters.hpp"
#include "embedded_host/values/Utf8.hpp"

#include <algorithm>

namespace tovrinhost {

namespace {

constexpr char escapeCharacter = '\x1b';
constexpr std::size_t longestSequence = 256; // what is longer is none

/// The length of the terminal's sequence that the text begins with; npos if it is cut short.
std::size_t lengthOfSequence(std::string_view text)
{
    const auto endAt
        = [](std::size_t end, std::size_t length) { return end == std::string_view::npos ? end : end + length; };
    const auto isBetween = [](char byte, char first, char last) { return byte >= first && byte <= last; };
    if (text.size() < 2) {
        return std::string_view::npos;
    }
    std::size_t at = 1;
    if (text[1] == ']' || text[1] == 'P') { // a title and the like, up to a bell or ESC backslash
        return std::min(endAt(text.find('\a'), 1), endAt(text.find("\x1b\\"), 2));
    }
    if (text[1] == '[') {
        at = std::min(text.find_first_not_of("0123456789:;<=>?", 2), text.size());
    }
    for (; at < text.size(); ++at) {
        if (!isBetween(text[at], ' ', '/')) {
            return at + 1;
        }
    }
    return std::string_view::npos;
}

} // namespace

std::size_t OutputColumn::follow(std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size()) {
        const std::string_view rest = text.substr(at);
        std::size_t length = 1;
        if (rest.front() == escapeCharacter) {
            length = sequence(rest);
        } else {
            const Utf8Character character = firstCharacter(rest);
            const int columns = character.length == 0 ? 1 : platform::columnsOf(character.character);
            length = character.isCutShort ? 0 : std::max<std::size_t>(character.length, 1);
            if (columns < 0) {
                control(rest.front());
            } else if (length > 0) {
                put(rest.substr(0, length), static_cast<std::size_t>(columns));
            }
        }
        if (length == 0) {
            break;
        }
        at += length;
    }
    return at;
}

/// \returns its length; 0 if it is cut short
std::size_t OutputColumn::sequence(std::string_view text)
{
    const std::size_t length = lengthOfSequence(text.substr(0, longestSequence));
    if (length == std::string_view::npos) {
        return text.size() < longestSequence ? 0 : 1;
    }
    if (text[1] == '[' && text[length - 1] == 'm') {
        noteLook(text.substr(0, length));
    }
    return length;
}

void OutputColumn::control(char byte)
{
    if (byte == '\n') {
        m_column = 0;
        m_isRowUsed = false;
    } else if (byte == '\r') {
        m_column = 0;
    } else if (byte == '\b') {
        // On a full row, too, the cursor stands on the last column still.
        m_column = std::max<std::size_t>(std::min(m_column, m_width - 1), 1) - 1;
    } else if (byte == '\t' && m_column < m_width) {
        m_isRowUsed = true;
        m_column = std::min((m_column / platform::tabStop + 1) * platform::tabStop, m_width - 1);
    }
}

void OutputColumn::put(std::string_view cell, std::size_t columns)
{
    m_isRowUsed = true;
    if (columns == 0) {
        m_lastCell += cell;
        return;
    }
    if (m_column + columns > m_width) {
        m_column = 0;
    }
    m_column += columns;
    m_lastCell = cell;
    m_columnsOfLastCell = columns;
}

void OutputColumn::noteLook(std::string_view sequence)
{
    const bool isReset
        = sequence == "\x1b[m" || sequence.starts_with("\x1b[0m") || sequence.starts_with("\x1b[0;");
    if (isReset || m_look.size() > longestSequence) {
        m_look.clear();
    }
    if (sequence != "\x1b[m" && sequence != "\x1b[0m") {
        m_look += sequence;
    }
}

void OutputColumn::setWidth(std::size_t width)
{
    m_width = width;
    m_column = std::min(m_column, width - 1);
}

std::string OutputColumn::wayBack() const
{
    // A full row is made full once more by its last character: only that brings the terminal into the state in
    // which the next one begins another row.
    const bool isFull = m_column == m_width;
    const std::size_t column = isFull ? m_width - m_columnsOfLastCell : m_column;
    return (column > 0 ? "\x1b[" + std::to_string(column) + 'C' : "") + m_look + (isFull ? m_lastCell : "");
}

} // namespace tovrinhost
