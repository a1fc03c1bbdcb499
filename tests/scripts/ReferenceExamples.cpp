#include "tests/scripts/ReferenceExamples.hpp"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <ostream>

namespace tovrinhost {

void PrintTo(const ReferenceEntry& entry, std::ostream* stream)
{
    *stream << entry.heading;
}

} // namespace tovrinhost

namespace scripts {

using tovrinhost::ReferenceEntry;

namespace {

constexpr std::string_view fence = "```";

/// What stands between a fence and the next, and where that one ends.
struct Block {
    std::string text;
    std::size_t end;
};

Block blockBehind(std::string_view text, std::size_t begin)
{
    const std::size_t end = text.find(fence, begin);
    return { std::string(text.substr(begin, end - begin)), std::min(end + fence.size(), text.size()) };
}

std::string opening(std::string_view language)
{
    return "\n" + std::string(fence) + std::string(language) + "\n";
}

} // namespace

const std::vector<ReferenceEntry>& reference()
{
    static const auto entries = tovrinhost::readReference(tovrinhost::languageReference);
    return entries;
}

std::vector<ReferenceEntry> entriesWithExample(std::string_view language)
{
    std::vector<ReferenceEntry> found;
    const auto hasExample = [&](const ReferenceEntry& entry) {
        return !entry.isSection() && entry.text.find(opening(language)) < entry.text.size();
    };
    std::copy_if(reference().begin(), reference().end(), std::back_inserter(found), hasExample);
    return found;
}

Example exampleOf(const ReferenceEntry& entry, std::string_view language)
{
    const std::string begin = opening(language);
    const Block code = blockBehind(entry.text, entry.text.find(begin) + begin.size());
    const std::string behind = "\n" + opening("text");
    if (entry.text.substr(code.end, behind.size()) != behind) {
        return { code.text, "" };
    }
    return { code.text, blockBehind(entry.text, code.end + behind.size()).text };
}

bool matches(const std::string& text, const std::string& expected)
{
    constexpr std::string_view gap = "...";
    std::size_t at = 0;
    std::size_t from = 0;
    for (;;) {
        const std::size_t end = expected.find(gap, from);
        const std::string piece = expected.substr(from, end - from);
        const bool isLast = end == std::string::npos;
        // The last piece is the end of the text, the first its beginning.
        const std::size_t found = isLast && from > 0 && text.size() >= at + piece.size()
            ? text.size() - piece.size()
            : text.find(piece, at);
        if (found == std::string::npos || text.compare(found, piece.size(), piece) != 0
            || (from == 0 && found != 0)) {
            return false;
        }
        at = found + piece.size();
        if (isLast) {
            return at == text.size();
        }
        from = end + gap.size();
    }
}

std::string testName(const ReferenceEntry& entry)
{
    std::string name = std::string(entry.section) + "_" + entry.names.front();
    for (char& letter : name) {
        letter = std::isalnum(static_cast<unsigned char>(letter)) != 0 ? letter : '_';
    }
    return name;
}

} // namespace scripts
