#include "embedded_host/program/completion/OfferedWords.hpp"

#include <algorithm>

namespace tovrinhost {

std::string withBackslashes(std::string_view text, std::string_view special)
{
    std::string escaped;
    for (const char character : text) {
        if (special.find(character) != std::string_view::npos) {
            escaped += '\\';
        }
        escaped += character;
    }
    return escaped;
}

std::string shellWord(std::string_view text)
{
    std::string word = "'";
    for (const char character : text) {
        word += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return word + "'";
}

bool isFile(const std::string& value)
{
    return value.starts_with("FILE");
}

std::string choices(std::string value)
{
    if (value.find('|') == std::string::npos || value.find('=') != std::string::npos) {
        return "";
    }
    std::ranges::replace(value, '|', ' ');
    return value;
}

std::vector<OfferedOption> ownOptions(const OfferedCommandLine& line)
{
    std::vector<OfferedOption> own = line.program.options;
    std::erase_if(own, [&](const OfferedOption& option) {
        return std::ranges::any_of(line.commands.front().options,
            [&](const OfferedOption& other) { return other.names == option.names; });
    });
    return own;
}

std::string origin(const OfferedCommandLine& line, const std::string& shell)
{
    const std::string& name = line.program.name;
    return "# How " + shell + " completes the words of " + name + ". Made by: " + name + " completion " + shell
        + "\n";
}

} // namespace tovrinhost
