#pragma once

#include <string>
#include <vector>

namespace tovrinhost {

/// The name that somebody who wrote `word` most likely meant: the one that takes the fewest changes (a letter
/// more, less, or another; two neighbours swapped), whatever is upper and lower case. \returns an empty text if
/// none is near: at most one change for every three letters
std::string nearestName(const std::string& word, const std::vector<std::string>& names);

} // namespace tovrinhost
