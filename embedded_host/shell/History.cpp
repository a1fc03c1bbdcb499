#include "embedded_host/shell/History.hpp"

#include "embedded_host/shell/platform/PrivateFile.hpp"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tovrinhost {

namespace {

std::string toLine(const std::string& entry)
{
    std::string line;
    for (const char byte : entry) {
        line += byte == '\n' ? "\\n" : byte == '\\' ? "\\\\" : std::string(1, byte);
    }
    return line + '\n';
}

std::string toEntry(const std::string& line)
{
    std::string entry;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const bool isWritten = line[at] == '\\' && at + 1 < line.size();
        at += isWritten ? 1 : 0;
        entry += isWritten && line[at] == 'n' ? '\n' : line[at];
    }
    return entry;
}

} // namespace

History::History(std::string folder)
    : m_folder(std::move(folder))
    , m_file(m_folder + "/history")
{
}

std::vector<std::string> History::load()
{
    std::vector<std::string> entries;
    std::ifstream file(m_file);
    for (std::string line; std::getline(file, line);) {
        entries.push_back(toEntry(line));
    }
    const bool isFarTooLong = entries.size() > 2 * mostEntries;
    if (entries.size() > mostEntries) {
        entries.erase(entries.begin(), entries.end() - mostEntries);
    }
    if (isFarTooLong) {
        shorten(entries);
    }
    return entries;
}

void History::shorten(const std::vector<std::string>& entries) const
{
    std::string text;
    for (const std::string& entry : entries) {
        text += toLine(entry);
    }
    try {
        platform::replacePrivately(m_file, text);
    } catch (const std::system_error&) {
        // It stays as it is, and whoever appends to it will be told.
    }
}

void History::append(const std::string& entry)
{
    if (entry.size() > longestEntry) {
        return;
    }
    try {
        platform::makePrivateFolder(m_folder);
        platform::appendPrivately(m_file, toLine(entry));
    } catch (const std::system_error& error) {
        throw std::runtime_error("the history cannot be written: " + std::string(error.what()));
    }
}

std::string historyFolder()
{
    // Nothing changes the environment. NOLINTBEGIN(concurrency-mt-unsafe)
    if (const char* const state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state == '/') {
        return std::string(state) + "/tovrin";
    }
    const char* const home = std::getenv("HOME");
    // NOLINTEND(concurrency-mt-unsafe)
    return home != nullptr && *home == '/' ? std::string(home) + "/.local/state/tovrin" : "";
}

} // namespace tovrinhost
