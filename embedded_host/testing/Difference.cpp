#include "embedded_host/testing/Difference.hpp"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace tovrinhost {

namespace {

constexpr std::size_t around = 2; // lines that are in both
constexpr std::size_t mostRows = 100;
constexpr std::size_t mostPairs = 4'000'000; // of lines that are looked at

using Lines = std::vector<std::string_view>;

struct MarkedLine {
    char mark; // ' ', '-' or '+'
    std::string_view line;
};

Lines linesOf(std::string_view text)
{
    Lines lines;
    for (;;) {
        const std::size_t end = text.find('\n');
        lines.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return lines;
        }
        text.remove_prefix(end + 1);
    }
}

/// The lengths of the longest common subsequences of what is left of both, from each line of them on.
class CommonLengths {
public:
    CommonLengths(const Lines& expected, const Lines& actual)
        : m_width(actual.size() + 1)
        , m_lengths((expected.size() + 1) * m_width, 0)
    {
        for (std::size_t e = expected.size(); e-- > 0;) {
            for (std::size_t a = actual.size(); a-- > 0;) {
                m_lengths[e * m_width + a]
                    = expected[e] == actual[a] ? at(e + 1, a + 1) + 1 : std::max(at(e + 1, a), at(e, a + 1));
            }
        }
    }

    std::uint32_t at(std::size_t e, std::size_t a) const { return m_lengths[e * m_width + a]; }

private:
    const std::size_t m_width;
    std::vector<std::uint32_t> m_lengths;
};

void append(std::vector<MarkedLine>& rows, char mark, const Lines& lines, std::size_t from, std::size_t to)
{
    for (; from < to; ++from) {
        rows.push_back({ mark, lines[from] });
    }
}

/// All lines of both that are neither at the beginning nor at the end the same.
void appendMiddle(std::vector<MarkedLine>& rows, const Lines& expected, const Lines& actual)
{
    std::size_t e = 0;
    std::size_t a = 0;
    if ((expected.size() + 1) * (actual.size() + 1) <= mostPairs) {
        const CommonLengths common(expected, actual);
        while (e < expected.size() && a < actual.size()) {
            if (expected[e] == actual[a]) {
                rows.push_back({ ' ', expected[e] });
                ++e;
                ++a;
            } else if (common.at(e + 1, a) >= common.at(e, a + 1)) {
                rows.push_back({ '-', expected[e++] });
            } else {
                rows.push_back({ '+', actual[a++] });
            }
        }
    }
    append(rows, '-', expected, e, expected.size());
    append(rows, '+', actual, a, actual.size());
}

std::vector<MarkedLine> rowsOf(const Lines& expected, const Lines& actual)
{
    const auto [e, a] = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
    const auto [fromEnd, ignored] = std::mismatch(
        expected.rbegin(), std::make_reverse_iterator(e), actual.rbegin(), std::make_reverse_iterator(a));
    const auto last = fromEnd - expected.rbegin();
    std::vector<MarkedLine> rows;
    append(rows, ' ', expected, 0, static_cast<std::size_t>(e - expected.begin()));
    appendMiddle(rows, Lines(e, expected.end() - last), Lines(a, actual.end() - last));
    append(rows, ' ', expected, expected.size() - static_cast<std::size_t>(last), expected.size());
    return rows;
}

/// Which rows differ, or stand near one that does.
std::vector<bool> shownOf(const std::vector<MarkedLine>& rows)
{
    std::vector<bool> shown(rows.size(), false);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].mark != ' ') {
            const std::size_t to = std::min(i + around + 1, rows.size());
            std::fill(shown.begin() + static_cast<std::ptrdiff_t>(i - std::min(i, around)),
                shown.begin() + static_cast<std::ptrdiff_t>(to), true);
        }
    }
    return shown;
}

} // namespace

std::string difference(std::string_view expected, std::string_view actual)
{
    if (expected == actual) {
        return "";
    }
    const auto rows = rowsOf(linesOf(expected), linesOf(actual));
    const auto shown = shownOf(rows);
    std::string text;
    std::size_t count = 0;
    const auto add = [&](const std::string& row) { text += (count++ == 0 ? "" : "\n") + row; };
    for (std::size_t i = 0; i < rows.size() && count <= mostRows; ++i) {
        if (shown[i] && count < mostRows) {
            add(std::string { rows[i].mark, ' ' } + std::string(rows[i].line));
        } else if (i == 0 || shown[i - 1]) {
            add("  ...");
        }
    }
    return text;
}

} // namespace tovrinhost
