#include "embedded_host/reference/Reference.hpp"

#include <algorithm>

namespace tovrinhost {

namespace {

/// The names in a heading: what stands before parentheses, values and the like, separated by commas. A section's
/// is all of it.
std::vector<std::string> namesOf(std::string_view heading)
{
    std::vector<std::string> names;
    std::string_view rest = heading.substr(0, heading.find_first_of("({["));
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(", "), rest.size());
        const std::string_view one = rest.substr(0, end);
        names.emplace_back(one.substr(0, one.find_first_of(" =")));
        rest.remove_prefix(std::min(end + 2, rest.size()));
    }
    return names;
}

std::string_view withoutBlankLines(std::string_view text)
{
    while (text.starts_with('\n')) {
        text.remove_prefix(1);
    }
    while (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace

std::vector<ReferenceEntry> readReference(std::string_view markdown)
{
    constexpr std::string_view ofSection = "## ";
    constexpr std::string_view ofEntry = "### ";
    std::vector<ReferenceEntry> entries;
    bool isCode = false;
    std::size_t begin = 0; // of the latest entry's text
    const auto endText = [&](std::size_t end) {
        if (!entries.empty()) {
            entries.back().text = withoutBlankLines(markdown.substr(begin, end - begin));
        }
    };
    for (std::size_t at = 0; at < markdown.size();) {
        const std::size_t end = std::min(markdown.find('\n', at), markdown.size());
        const std::string_view line = markdown.substr(at, end - at);
        isCode = isCode != line.starts_with("```");
        const bool isEntry = line.starts_with(ofEntry);
        if (!isCode && (isEntry || line.starts_with(ofSection))) {
            endText(at);
            const std::string_view heading = line.substr(isEntry ? ofEntry.size() : ofSection.size());
            if (isEntry && !entries.empty()) {
                entries.push_back({ entries.back().section, heading, namesOf(heading), {} });
            } else {
                entries.push_back({ heading, heading, { std::string(heading) }, {} });
            }
            begin = end;
        }
        at = end + 1;
    }
    endText(markdown.size());
    return entries;
}

} // namespace tovrinhost
