#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/OptionValues.hpp"
#include "embedded_host/program/completion/Completion.hpp"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace tovrinhost {

namespace {

OfferedOption describe(const CLI::Option& option)
{
    OfferedOption offered { {}, option.get_items_expected_max() > 0 ? option.get_type_name() : "",
        option.get_description() };
    for (const std::string& name : option.get_snames()) {
        offered.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        offered.names.push_back("--" + name);
    }
    return offered;
}

OfferedCommand describe(const CLI::App& app)
{
    OfferedCommand command { app.get_name(), app.get_description(), {}, "" };
    for (const CLI::Option* const option : app.get_options()) {
        if (option->nonpositional()) {
            command.options.push_back(describe(*option));
        } else if (command.operand.empty()) {
            // How it is called says more than its type, unless that lists what there is.
            const std::string type = option->get_type_name();
            command.operand = type.find('|') == std::string::npos ? option->get_name(true) : type;
        }
    }
    return command;
}

OfferedCommandLine describeAll(const CLI::App& program)
{
    OfferedCommandLine line { describe(program), {} };
    for (const Command* const command : commands()) {
        Request unused;
        CLI::App app(command->description, command->name);
        command->addOptions(app, unused);
        line.commands.push_back(describe(app));
    }
    return line;
}

std::string completionFor(const std::string& shell, const OfferedCommandLine& line)
{
    if (shell == "bash") {
        return bashCompletion(line);
    }
    if (shell == "zsh") {
        return zshCompletion(line);
    }
    if (shell == "fish") {
        return fishCompletion(line);
    }
    failOption("SHELL", shell, "it must be bash, zsh or fish");
}

void addCompletionOptions(CLI::App& completion, Request& request)
{
    const auto shell = std::make_shared<std::string>();
    completion.add_option("SHELL", *shell, "The shell")->required()->type_name("bash|zsh|fish");
    completion.callback([&completion, shell, &request] {
        request.action = [text = completionFor(*shell, describeAll(*completion.get_parent()))] {
            std::fputs(text.c_str(), stdout);
            return EXIT_SUCCESS;
        };
    });
}

} // namespace

constinit const Command completionCommand { "completion",
    "Print what makes a shell complete commands, options and names of files", addCompletionOptions };

} // namespace tovrinhost
