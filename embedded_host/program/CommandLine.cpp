#include "embedded_host/program/CommandLine.hpp"

#include "embedded_host/log/Escape.hpp"
#include "embedded_host/program/platform/Platform.hpp"
#include "embedded_host/reference/Reference.hpp"
#include "embedded_host/timers/NearestName.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace tovrinhost {

namespace {

constexpr int wrongUsage = 2;

using Words = std::vector<std::string>;

bool isCommand(const std::string& word)
{
    return std::ranges::any_of(commands(), [&](const Command* known) { return word == known->name; });
}

bool isOption(const std::string& word)
{
    return word.size() > 1 && word.starts_with('-');
}

/// The first word is neither an option nor a command: it has to be a script.
void failUnlessFile(const std::string& word)
{
    std::error_code ignored;
    if (word == "-" || std::filesystem::exists(word, ignored)) {
        return;
    }
    Words names;
    for (const Command* const command : commands()) {
        names.emplace_back(command->name);
    }
    const std::string nearest = nearestName(word, names);
    throw CLI::ParseError("there is no command \"" + escape(word) + "\", and no file of that name"
            + (nearest.empty() ? "" : "; did you mean tovrin " + nearest + "?"),
        CLI::ExitCodes::ExtrasError);
}

/// The words with the command in front, where it has been left out.
Words withCommand(Words words)
{
    if (words.empty()) {
        return platform::isInputATerminal() ? Words { "shell" } : Words { "run", "-" };
    }
    const std::string& first = words.front();
    if (first == "-h" || first == "--help" || first == "--version" || isCommand(first)) {
        return words;
    }
    if (!isOption(first)) {
        failUnlessFile(first);
    }
    words.insert(words.begin(), "run");
    return words;
}

/// Where the words begin that are the script's, behind its own: all of them are, whatever they look like.
Words::iterator beginOfArguments(const CLI::App& run, Words& words)
{
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
        const bool isLast = word + 1 == words.end();
        if (!isOption(*word) || (word->starts_with("-e") && word->size() > 2)) {
            return word + 1; // FILE, or -eCODE
        }
        if (*word == "--" || *word == "-e") {
            return isLast ? words.end() : word + 2;
        }
        const CLI::Option* const option = run.get_option_no_throw(*word);
        if (option != nullptr && option->get_items_expected_max() > 0 && !isLast) {
            ++word; // its value
        }
    }
    return words.end();
}

/// The commands among the words, with their options; all of them, where it is the program that is asked.
void addCommands(CLI::App& program, const Words& words, Request& request)
{
    const bool isProgramAsked = !isCommand(words.front());
    for (const Command* const command : commands()) {
        const bool isNamed = std::find(words.begin(), words.end(), command->name) != words.end();
        if (!isNamed && !isProgramAsked) {
            continue;
        }
        CLI::App* const added = program.add_subcommand(command->name, command->description);
        if (isNamed) {
            command->addOptions(*added, request);
        }
    }
}

void parse(CLI::App& program, Words words, Request& request)
{
    words = withCommand(std::move(words));
    addCommands(program, words, request);
    if (words.front() == runCommand.name) {
        const auto begin = beginOfArguments(*program.get_subcommand(words.front()), words);
        request.scriptArguments.assign(begin, words.end());
        words.erase(begin, words.end());
    }
    std::reverse(words.begin(), words.end()); // as it wants them
    program.parse(std::move(words));
}

} // namespace

std::string exitStatuses()
{
    for (const ReferenceEntry& entry : readReference(languageReference)) {
        if (entry.heading == "Exit status") {
            return std::string(entry.heading) + "\n\n" + std::string(entry.text);
        }
    }
    return "";
}

std::variant<Action, Leave> readCommandLine(int argc, const char* const* argv)
{
    Request request;
    CLI::App program("Runs scripts whose timers are driven by the timer engine.", "tovrin");
    program.require_subcommand(1);
    program.set_version_flag("--version", std::string("tovrin ") + programVersion(), "Print the version and exit");
    // Once somebody asks for help: to look the table up takes a while.
    program.footer([] {
        return "tovrin FILE [ARG...] is short for tovrin run FILE [ARG...], and so is tovrin -e CODE for tovrin "
               "run "
               "-e CODE. Without a word, tovrin is the shell on a terminal; else a script is read from standard "
               "input.\n\n"
            + exitStatuses();
    });
    try {
        parse(program, Words(argv + 1, argv + argc), request);
    } catch (const CLI::Success& help) {
        return Leave { program.exit(help) };
    } catch (const CLI::ParseError& error) {
        const auto parsed = program.get_subcommands();
        const std::string tried = parsed.empty() ? "" : " " + parsed.front()->get_name();
        std::cerr << "tovrin: " << error.what() << "\nTry 'tovrin" << tried << " --help'.\n";
        return Leave { wrongUsage };
    }
    return request.action;
}

} // namespace tovrinhost
