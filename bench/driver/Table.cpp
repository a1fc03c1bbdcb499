#include "bench/driver/Report.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ostream>

namespace bench {

namespace {

/// Three digits that tell something.
std::string shown(double value)
{
    if (std::isnan(value)) {
        return "-";
    }
    const double size = std::abs(value);
    const int decimals = size >= 100 || value == 0 ? 0 : size >= 10 ? 1 : 2;
    std::array<char, 40> text {};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

std::string shown(const Limit& limit)
{
    return (limit.isAtLeast ? ">= " : "<= ") + shown(limit.bound) + (limit.peer.empty() ? "" : " x " + limit.peer);
}

using Row = std::vector<std::string>;

Row rowOf(const Result& result, std::size_t figure)
{
    const Figure& what = result.figures[figure];
    Row row { result.name, what.name + (what.unit.empty() ? "" : ", " + what.unit) };
    for (std::size_t side = 0; side < result.sides.size(); ++side) {
        row.push_back(shown(median(result.valuesOf(side, figure))));
    }
    for (std::size_t peer = 1; peer < result.sides.size(); ++peer) {
        row.push_back(shown(median(result.ratiosTo(peer, figure))));
    }
    std::string limits;
    for (const Limit& limit : what.limits) {
        limits += (limits.empty() ? "" : "; ") + shown(limit) + (result.isMet(figure, limit) ? " met" : " MISSED");
    }
    row.push_back(limits);
    return row;
}

Row headOf(const Result& result)
{
    Row head { "", "" };
    head.insert(head.end(), result.sides.begin(), result.sides.end());
    for (std::size_t peer = 1; peer < result.sides.size(); ++peer) {
        head.push_back("/ " + result.sides[peer]);
    }
    head.push_back("limit");
    return head;
}

void print(std::ostream& stream, const std::vector<Row>& rows)
{
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const std::string blanks(widths[column] - row[column].size(), ' ');
            const bool isText = column < 2 || column + 1 == row.size();
            line += (column == 0 ? "" : "  ") + (isText ? row[column] + blanks : blanks + row[column]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        stream << line << '\n';
    }
}

} // namespace

void printTable(std::ostream& stream, const ScenarioResult& scenario)
{
    stream << scenario.title << '\n';
    std::vector<Row> rows;
    for (const Result& result : scenario.results) {
        const Row head = headOf(result);
        if (rows.empty() || rows.front() != head) {
            // Other peers: a table of their own.
            if (!rows.empty()) {
                print(stream, rows);
            }
            rows = { head };
        }
        for (std::size_t figure = 0; figure < result.figures.size(); ++figure) {
            rows.push_back(rowOf(result, figure));
            if (figure > 0) {
                rows.back().front().clear();
            }
        }
    }
    if (!rows.empty()) {
        print(stream, rows);
    }
    stream << std::endl;
}

void printTotals(std::ostream& stream, const std::vector<ScenarioResult>& scenarios)
{
    int all = 0;
    int met = 0;
    for (const ScenarioResult& scenario : scenarios) {
        for (const Result& result : scenario.results) {
            for (std::size_t figure = 0; figure < result.figures.size(); ++figure) {
                for (const Limit& limit : result.figures[figure].limits) {
                    ++all;
                    met += result.isMet(figure, limit) ? 1 : 0;
                }
            }
        }
    }
    stream << met << " of " << all << " limits met\n";
}

} // namespace bench
