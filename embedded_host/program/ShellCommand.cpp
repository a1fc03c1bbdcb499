#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/Shell.hpp"

#include <CLI/CLI.hpp>

#include <memory>

namespace tovrinhost {

namespace {

void addShellOptions(CLI::App& shell, Request& request)
{
    const auto options = std::make_shared<ShellOptions>();
    const auto withoutStartFile = std::make_shared<bool>(false);
    shell.add_option("FILE", options->files, "Scripts that are run first, in this order");
    shell.add_flag("--no-init", *withoutStartFile,
        "Do not run the start file: $XDG_CONFIG_HOME/tovrin/init.lua, or ~/.config/tovrin/init.lua");
    shell.footer(
        "Ctrl-C gives up the input or the code that runs; Ctrl-D ends, and asks once while timers run. Each input "
        "is a "
        "chunk of its own, as in Lua's own shell: its locals end with it. The latest value is _.\n\n"
        "On Windows the console edits the lines: there is no completion, no history of earlier shells, and what "
        "callbacks write stands in the midst of what is typed.");
    shell.callback([options, withoutStartFile, &request] {
        options->readsStartFile = !*withoutStartFile;
        request.action = [options] { return runShell(*options); };
    });
}

} // namespace

constinit const Command shellCommand { "shell",
    "Run what is typed, line by line, while timers fire; so does tovrin alone, on a terminal", addShellOptions };

} // namespace tovrinhost
