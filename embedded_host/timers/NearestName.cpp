#include "embedded_host/timers/NearestName.hpp"

#include <algorithm>
#include <cstddef>

namespace tovrinhost {

namespace {

char lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// How many changes lead from one to the other.
std::size_t changes(const std::string& from, const std::string& to)
{
    const auto same = [&](std::size_t i, std::size_t j) { return lower(from[i - 1]) == lower(to[j - 1]); };
    // Row i, column j: from the first i letters of the one to the first j of the other.
    std::vector<std::vector<std::size_t>> fewest(from.size() + 1, std::vector<std::size_t>(to.size() + 1));
    for (std::size_t i = 0; i <= from.size(); ++i) {
        for (std::size_t j = 0; j <= to.size(); ++j) {
            if (i == 0 || j == 0) {
                fewest[i][j] = i + j;
                continue;
            }
            fewest[i][j] = std::min(
                { fewest[i - 1][j] + 1, fewest[i][j - 1] + 1, fewest[i - 1][j - 1] + (same(i, j) ? 0 : 1) });
            if (i > 1 && j > 1 && same(i, j - 1) && same(i - 1, j)) {
                fewest[i][j] = std::min(fewest[i][j], fewest[i - 2][j - 2] + 1);
            }
        }
    }
    return fewest.back().back();
}

} // namespace

std::string nearestName(const std::string& word, const std::vector<std::string>& names)
{
    std::string nearest;
    std::size_t fewest = word.size() / 3 + 1;
    for (const std::string& name : names) {
        // A word that is much longer is not near, and might be very long.
        if (word.size() >= 2 * name.size()) {
            continue;
        }
        const std::size_t needed = changes(word, name);
        if (needed < fewest) {
            fewest = needed;
            nearest = name;
        }
    }
    return nearest;
}

} // namespace tovrinhost
