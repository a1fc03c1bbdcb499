#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tovrinhost {

/// docs/language.md.
extern const std::string_view languageReference;

/// What the reference says of one thing: a heading of the third level, and what stands below it. A section, which
/// is a heading of the second level with what stands before its first entry, is one, too.
struct ReferenceEntry {
    std::string_view section;
    std::string_view heading;
    std::vector<std::string>
        names; ///< "t:wait" of `t:wait([seconds])`; "-o" and "--output" of `-o, --output FILE`
    std::string_view text; ///< Markdown

    bool isSection() const { return section == heading; }
};

/// In the order in which they stand there. They refer to `markdown`.
std::vector<ReferenceEntry> readReference(std::string_view markdown);

} // namespace tovrinhost
