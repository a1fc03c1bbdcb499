#include "embedded_host/program/completion/Completion.hpp"

#include "embedded_host/program/completion/OfferedWords.hpp"

namespace tovrinhost {

namespace {

std::string fishWord(std::string_view text)
{
    return "'" + withBackslashes(text, "\\'") + "'";
}

/// \param where the condition under which the options are offered
std::string fishOptions(const std::string& where, const std::vector<OfferedOption>& options)
{
    std::string lines;
    for (const OfferedOption& option : options) {
        std::string names;
        for (const std::string& name : option.names) {
            names += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
        }
        const std::string value = option.value.empty() ? "" : isFile(option.value) ? " -r -F" : " -x";
        lines.append(where)
            .append(names)
            .append(value)
            .append(" -d ")
            .append(fishWord(option.description))
            .append("\n");
    }
    return lines;
}

std::string fishOperand(const std::string& where, const std::string& operand)
{
    const std::string all = choices(operand);
    return isFile(operand) ? "" : where + " -f" + (all.empty() ? "" : " -a " + fishWord(all)) + "\n";
}

} // namespace

std::string fishCompletion(const OfferedCommandLine& line)
{
    const std::string first = "complete -c tovrin -n __tovrin_at";
    std::string names;
    std::string commands;
    std::string words;
    for (const OfferedCommand& command : line.commands) {
        names += " " + command.name;
        commands += first + " -a " + command.name + " -d " + fishWord(command.description) + "\n";
        const std::string where = "complete -c tovrin -n '__tovrin_at " + command.name + "'";
        words += fishOperand(where, command.operand) + fishOptions(where, command.options);
    }
    return origin(line, "fish")
        + R"(# Whether this command's words are typed; without a name, whether the first word is.
function __tovrin_at
    set -l words (commandline -opc)
    if test (count $argv) = 0
        test (count $words) = 1
        return
    end
    contains -- "$words[2]")"
        + names + R"(; or set words[2] )" + line.commands.front().name + R"(
    test $words[2] = $argv[1]
end
)" + commands
        + fishOptions(first, ownOptions(line)) + words;
}

} // namespace tovrinhost
