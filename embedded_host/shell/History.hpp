#pragma once

#include <string>
#include <vector>

namespace tovrinhost {

/// What was typed at the shell, in a file that later shells read: an entry a line, with its line breaks written as
/// "\n" and its backslashes doubled.
///
/// Entries are appended one by one, so that they are there after whatever end, and those of two shells at the same
/// time do not disturb each other. Once it has far too many, the next shell shortens it.
///
/// Threading: one thread at a time.
class History {
public:
    /// \param folder made if it is not there, for the user alone
    explicit History(std::string folder);

    /// The latest entries, the oldest first. A file that cannot be read has none.
    std::vector<std::string> load();

    /// Keeps the entry, unless it is longer than any is to be.
    /// \throws std::runtime_error with a text for people if it cannot be written
    void append(const std::string& entry);

    static constexpr std::size_t mostEntries = 1000;
    static constexpr std::size_t longestEntry = 65536; // bytes

private:
    void shorten(const std::vector<std::string>& entries) const;

    const std::string m_folder;
    const std::string m_file;
};

/// Where a user's programs keep what they remember, for this one; empty if that is not known.
std::string historyFolder();

} // namespace tovrinhost
