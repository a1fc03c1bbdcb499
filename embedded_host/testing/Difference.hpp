#pragma once

#include <string>
#include <string_view>

namespace tovrinhost {

/// Two texts line by line: what is in the first alone behind "- ", what is in the second alone behind "+ ", and
/// two lines around each of them that are in both. Longer stretches that are in both are "  ...", and so is what
/// lies behind the first hundred rows. \returns rows without a line break behind the last; empty if the texts are
/// the same
std::string difference(std::string_view expected, std::string_view actual);

} // namespace tovrinhost
