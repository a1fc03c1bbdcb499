#include "embedded_host/timers/HelpFunction.hpp"

#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/log/Escape.hpp"
#include "embedded_host/reference/Reference.hpp"
#include "embedded_host/timers/NearestName.hpp"
#include "embedded_host/timers/TimerProperties.hpp"

#include <lauxlib.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tovrinhost {

namespace {

const std::vector<ReferenceEntry>& reference()
{
    static const auto entries = readReference(languageReference);
    return entries;
}

/// What stands behind the dot, the colon or the dashes: "Time" of "event.Time".
std::string_view bare(std::string_view name)
{
    const std::size_t dashes = name.find_first_not_of('-');
    const std::size_t mark = name.find_last_of(".:");
    return name.substr(mark == std::string_view::npos ? dashes : mark + 1);
}

/// All that bear this name; else all that bear it behind a dot, a colon or dashes.
std::vector<const ReferenceEntry*> entriesOf(const std::string& name)
{
    std::vector<const ReferenceEntry*> whole;
    std::vector<const ReferenceEntry*> inPart;
    for (const ReferenceEntry& entry : reference()) {
        const auto isIt = [&](const std::string& other) { return other == name; };
        const auto isInPart = [&](const std::string& other) { return bare(other) == name; };
        if (std::any_of(entry.names.begin(), entry.names.end(), isIt)) {
            whole.push_back(&entry);
        } else if (std::any_of(entry.names.begin(), entry.names.end(), isInPart)) {
            inPart.push_back(&entry);
        }
    }
    return whole.empty() ? inPart : whole;
}

std::string nearestTo(const std::string& name)
{
    std::vector<std::string> names;
    for (const ReferenceEntry& entry : reference()) {
        for (const std::string& known : entry.names) {
            names.push_back(known);
            names.emplace_back(bare(known));
        }
    }
    return nearestName(name, names);
}

/// The names of a section's entries, in lines.
std::string listOf(std::string_view section)
{
    constexpr std::size_t width = 100;
    std::string lines;
    std::string line;
    for (const ReferenceEntry& entry : reference()) {
        if (entry.section != section || entry.isSection()) {
            continue;
        }
        if (line.size() + entry.heading.size() > width) {
            lines += line + '\n';
            line.clear();
        }
        line += (line.empty() ? "    " : "   ") + std::string(entry.heading);
    }
    return line.empty() ? lines : lines + line + '\n';
}

std::string listWithTitle(std::string_view section)
{
    return std::string(section) + '\n' + listOf(section);
}

std::string overview()
{
    std::string text;
    for (const ReferenceEntry& entry : reference()) {
        if (entry.isSection()) {
            text += listWithTitle(entry.section) + '\n';
        }
    }
    return text + "help(\"Period\") tells more of one of these names, or titles.\n";
}

/// An entry without the marks of Markdown: code is indented.
std::string textOf(const ReferenceEntry& entry)
{
    std::string text = std::string(entry.heading) + "\n\n";
    bool isCode = false;
    for (std::size_t at = 0; at < entry.text.size();) {
        const std::size_t end = std::min(entry.text.find('\n', at), entry.text.size());
        const std::string_view line = entry.text.substr(at, end - at);
        at = end + 1;
        if (line.starts_with("```")) {
            isCode = !isCode;
            text += line == "```text" ? "prints\n\n" : "";
        } else {
            text += (isCode ? "    " : "") + std::string(line) + '\n';
        }
    }
    return text + (entry.isSection() ? '\n' + listOf(entry.section) : "") + '\n';
}

std::string helpFor(const std::string& name)
{
    std::string text;
    for (const ReferenceEntry* entry : entriesOf(name)) {
        text += textOf(*entry);
    }
    if (!text.empty()) {
        return text;
    }
    const std::string nearest = nearestTo(name);
    return "There is no help for \"" + escape(name) + "\"; "
        + (nearest.empty() ? "" : "did you mean \"" + nearest + "\"? ") + "help() tells what there is.\n";
}

bool isTimer(lua_State* state, int index)
{
    if (luaL_getmetafield(state, index, "__name") == LUA_TNIL) {
        return false;
    }
    const bool is = textAt(state, -1) == "tovrin.timer";
    lua_pop(state, 1);
    return is;
}

/// The name under which a script finds this function; empty where it is none of the reference's.
std::string nameOfFunction(lua_State* state, int index)
{
    for (const ReferenceEntry& entry : reference()) {
        const std::string& name = entry.names.front();
        const std::size_t dot = name.find('.');
        lua_pushglobaltable(state);
        if (dot != std::string::npos) {
            lua_getfield(state, -1, name.substr(0, dot).c_str());
        }
        const bool isIt = lua_istable(state, -1)
            && lua_getfield(state, -1, dot == std::string::npos ? name.c_str() : name.substr(dot + 1).c_str())
                != LUA_TNIL
            && lua_rawequal(state, index, -1) != 0;
        lua_settop(state, index);
        if (isIt) {
            return name;
        }
    }
    return "";
}

/// help([what])
int help(lua_State* state)
{
    lua_settop(state, 1);
    std::string text;
    if (lua_isnil(state, 1)) {
        text = overview();
    } else if (lua_type(state, 1) == LUA_TSTRING) {
        text = helpFor(textAt(state, 1));
    } else if (lua_isfunction(state, 1)) {
        const std::string name = nameOfFunction(state, 1);
        text = name.empty() ? "There is no help for this function; help() tells what there is.\n" : helpFor(name);
    } else if (isTimer(state, 1)) {
        text = listWithTitle("Properties") + listWithTitle("Callbacks") + listWithTitle("Read-only properties")
            + listWithTitle("Methods");
    } else {
        throw std::invalid_argument("help: what is asked for is " + describeValue(state, 1)
            + ", but must be a name, a function or a timer");
    }
    std::fputs(text.c_str(), stdout);
    return 0;
}

} // namespace

void openHelp(lua_State* state)
{
    lua_register(state, "help", luaFunction<help>);
}

} // namespace tovrinhost
