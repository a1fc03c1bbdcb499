#include "embedded_host/program/completion/Completion.hpp"

#include "embedded_host/program/completion/OfferedWords.hpp"

namespace tovrinhost {

namespace {

/// What stands behind a colon: how the value is called, and what it can be.
std::string zshValue(const std::string& value)
{
    const std::string all = choices(value);
    const std::string allowed = all.empty() ? " " : "(" + all + ")";
    return ":" + withBackslashes(value, ":") + ":" + (isFile(value) ? "_files" : allowed);
}

/// An array, with a line for each option, and one for the operand.
std::string zshWords(const std::vector<OfferedOption>& options, const std::string& operand)
{
    std::string words = "(\n";
    for (const OfferedOption& option : options) {
        const std::string described = "[" + withBackslashes(option.description, "[]:\\") + "]"
            + (option.value.empty() ? "" : zshValue(option.value));
        for (const std::string& name : option.names) {
            std::string word = name;
            if (!option.value.empty() && name.starts_with("--")) {
                word += '='; // what may stand between it and its value
            }
            words += "      " + shellWord(word + described) + "\n";
        }
    }
    return words + (operand.empty() ? "" : "      " + shellWord("*" + zshValue(operand)) + "\n") + "    )\n";
}

} // namespace

std::string zshCompletion(const OfferedCommandLine& line)
{
    std::string names;
    std::string cases;
    for (const OfferedCommand& command : line.commands) {
        names += "    " + shellWord(command.name + ":" + withBackslashes(command.description, ":\\")) + "\n";
        cases += "  " + command.name + ")\n    shift words\n    ((CURRENT--))\n    offered="
            + zshWords(command.options, command.operand) + "    ;;\n";
    }
    const OfferedCommand& unnamed = line.commands.front();
    return "#compdef tovrin\n" + origin(line, "zsh") + R"(_tovrin() {
  local -a offered own commands=(
)" + names
        + R"(  )
  if ((CURRENT == 2)) && [[ $PREFIX != -* ]]; then
    _alternative 'commands:command:(($commands))' 'files:FILE:_files'
    return
  fi
  if ((CURRENT == 2)); then
    own=)"
        + zshWords(ownOptions(line), "") + R"(  fi
  case $words[2] in
)" + cases
        + "  *)\n    offered=" + zshWords(unnamed.options, unnamed.operand) + R"(    ;;
  esac
  _arguments $own $offered
}
# Read as a whole, or as the function of this name.
if [[ $funcstack[1] == _tovrin ]]; then
  _tovrin "$@"
else
  compdef _tovrin tovrin
fi
)";
}

} // namespace tovrinhost
