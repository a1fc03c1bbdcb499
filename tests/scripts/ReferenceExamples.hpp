#pragma once

#include "embedded_host/reference/Reference.hpp"

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace tovrinhost {

/// How GoogleTest shows an entry.
void PrintTo(const ReferenceEntry& entry, std::ostream* stream);

} // namespace tovrinhost

namespace scripts {

/// An example of the reference: code, and what it prints.
struct Example {
    std::string code;
    std::string output; ///< "..." stands for any text
};

/// How an example is marked that is a file of tests.
constexpr const char* testFile = "lua test";

/// All that stands in the reference.
const std::vector<tovrinhost::ReferenceEntry>& reference();

/// The entries, without the sections, that have an example in this language.
std::vector<tovrinhost::ReferenceEntry> entriesWithExample(std::string_view language);

/// The first example of the entry in this language, which is there, and what a block of text behind it shows.
Example exampleOf(const tovrinhost::ReferenceEntry& entry, std::string_view language);

/// Whether a text is the one that is expected.
bool matches(const std::string& text, const std::string& expected);

/// The name of a test of this entry.
std::string testName(const tovrinhost::ReferenceEntry& entry);

} // namespace scripts
