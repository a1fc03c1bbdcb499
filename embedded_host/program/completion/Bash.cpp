#include "embedded_host/program/completion/Completion.hpp"

#include "embedded_host/program/completion/OfferedWords.hpp"

namespace tovrinhost {

namespace {

std::string bashWords(const OfferedCommand& command)
{
    std::string options;
    std::string files;
    std::string valued;
    for (const OfferedOption& option : command.options) {
        for (const std::string& name : option.names) {
            options += name + ' ';
            if (!option.value.empty()) {
                (isFile(option.value) ? files : valued) += name + ' ';
            }
        }
    }
    return "options=" + shellWord(options) + " withFile=" + shellWord(files) + " withValue=" + shellWord(valued)
        + " operands=" + shellWord(choices(command.operand))
        + " takesFiles=" + (isFile(command.operand) ? "true" : "false");
}

} // namespace

std::string bashCompletion(const OfferedCommandLine& line)
{
    std::string names;
    std::string own;
    std::string cases;
    for (const OfferedCommand& command : line.commands) {
        names += command.name + ' ';
        cases += "  " + command.name + ") " + bashWords(command) + " ;;\n";
    }
    for (const OfferedOption& option : ownOptions(line)) {
        for (const std::string& name : option.names) {
            own += name + ' ';
        }
    }
    return origin(line, "bash") + R"(_tovrin() {
  local word=${2//\\/} before=$3 options withFile withValue operands takesFiles
  # Bash takes --trace=FILE for three words.
  [ "$before" != = ] || before=${COMP_WORDS[COMP_CWORD - 2]}
  case ${COMP_WORDS[1]} in
)" + cases
        + "  *) " + bashWords(line.commands.front()) + R"( ;;
  esac
  if [ "$COMP_CWORD" = 1 ]; then
    options+=)"
        + shellWord(own) + " operands=" + shellWord(names) + R"( takesFiles=true
  fi
  if [[ " $withFile" == *" $before "* ]]; then
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  elif [[ " $withValue" == *" $before "* ]]; then
    COMPREPLY=()
  elif [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
  else
    mapfile -t COMPREPLY < <(
      compgen -W "$operands" -- "$word"
      ! $takesFiles || compgen -f -- "$word"
    )
  fi
}
complete -o filenames -F _tovrin tovrin
)";
}

} // namespace tovrinhost
