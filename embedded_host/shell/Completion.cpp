#include "embedded_host/shell/Completion.hpp"

#include "embedded_host/timers/TimerMethods.hpp"
#include "embedded_host/timers/TimerObject.hpp"
#include "embedded_host/timers/TimerProperties.hpp"

#include <lauxlib.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <set>

namespace tovrinhost {

namespace {

using WordSet = std::set<std::string>;

bool isOfName(char byte)
{
    return std::isalnum(static_cast<unsigned char>(byte)) != 0 || byte == '_';
}

/// The text without the name at its end.
std::string_view beforeName(std::string_view text)
{
    while (!text.empty() && isOfName(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t end = text.find_last_not_of(" \t\n");
    return text.substr(0, end == std::string_view::npos ? 0 : end + 1);
}

/// Where the quote is that is open at the text's end; npos if none is.
std::size_t openQuote(std::string_view text)
{
    char quote = 0;
    std::size_t begin = std::string_view::npos;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char byte = text[at];
        if (quote != 0 && byte == '\\') {
            ++at;
        } else if (quote != 0 && (byte == quote || byte == '\n')) {
            quote = 0;
        } else if (quote == 0 && (byte == '"' || byte == '\'')) {
            quote = byte;
            begin = at;
        } else if (quote == 0 && text.substr(at, 2) == "--") {
            at = std::min(text.find('\n', at), text.size());
        }
    }
    return quote == 0 ? std::string_view::npos : begin;
}

/// What may stand between quotes, by what is in front of them.
WordSet quotedWords(lua_State* state, std::string_view before)
{
    WordSet words;
    before = trimmed(before);
    const auto beforeSign = [&](std::string_view sign) {
        return before.ends_with(sign) ? trimmed(before.substr(0, before.size() - sign.size()))
                                      : std::string_view();
    };
    const std::string_view called = before.ends_with("(") ? beforeSign("(") : before;
    const std::string_view assigned = before.ends_with("==") ? beforeSign("==") : beforeSign("=");
    if (called.ends_with("find") || assigned.ends_with("Name")) {
        for (const auto& [number, timer] : timersOf(state).all()) {
            words.insert(timer->settings().name);
        }
    }
    if (assigned.ends_with("ExecutionMode")) {
        words.insert(executionModeNames.begin(), executionModeNames.end());
    }
    if (assigned.ends_with("BusyMode")) {
        words.insert(busyModeNames.begin(), busyModeNames.end());
    }
    return words;
}

/// Replaces the value on top of the stack by one of its fields, without running code of scripts.
void goToField(lua_State* state, const std::string& name)
{
    if (lua_istable(state, -1)) {
        lua_pushlstring(state, name.data(), name.size());
        lua_rawget(state, -2);
    } else if (isLiveTimer(state, -1)) {
        const auto names = propertyNames();
        const bool isProperty = std::find(names.begin(), names.end(), name) != names.end();
        isProperty ? static_cast<void>(lua_getfield(state, -1, name.c_str())) : lua_pushnil(state);
    } else {
        lua_pushnil(state);
    }
    lua_remove(state, -2);
}

/// The names in the table on top of the stack.
void addNames(lua_State* state, bool functionsOnly, WordSet& words)
{
    for (lua_pushnil(state); lua_next(state, -2) != 0; lua_pop(state, 1)) {
        if (lua_type(state, -2) == LUA_TSTRING && (!functionsOnly || lua_isfunction(state, -1))) {
            words.insert(lua_tostring(state, -2));
        }
    }
}

/// The fields, or the methods, of the value on top of the stack.
void addFields(lua_State* state, bool methods, WordSet& words)
{
    if (isLiveTimer(state, -1)) {
        const auto names = methods ? methodNames() : propertyNames();
        words.insert(names.begin(), names.end());
        return;
    }
    constexpr int longestChain = 10;
    lua_pushvalue(state, -1);
    for (int depth = 0; depth < longestChain; ++depth) {
        if (lua_istable(state, -1)) {
            addNames(state, methods, words);
        }
        if (luaL_getmetafield(state, -1, "__index") == LUA_TNIL) {
            break;
        }
        lua_remove(state, -2);
    }
    lua_pop(state, 1);
}

/// The names that the text's end goes through, "a.b:" for example: pushes the value of the last.
/// \returns whether there is such a value
bool pushPath(lua_State* state, std::string_view path)
{
    std::vector<std::string> names;
    for (;;) {
        const std::string_view before = beforeName(path);
        names.insert(names.begin(), std::string(path.substr(before.size())));
        if (names.front().empty()) {
            return false;
        }
        if (!before.ends_with('.')) {
            break;
        }
        path = before.substr(0, before.size() - 1);
    }
    lua_pushglobaltable(state);
    for (const std::string& name : names) {
        goToField(state, name);
    }
    return true;
}

constexpr std::array keywords { "and", "break", "do", "else", "elseif", "end", "false", "for", "function", "goto",
    "if", "in", "local", "nil", "not", "or", "repeat", "return", "then", "true", "until", "while" };

WordSet nameWords(lua_State* state, std::string_view before)
{
    WordSet words;
    if (!before.ends_with('.') && !before.ends_with(':')) {
        lua_pushglobaltable(state);
        addNames(state, false, words);
        lua_pop(state, 1);
        words.insert(keywords.begin(), keywords.end());
    } else if (!before.ends_with("..") && pushPath(state, before.substr(0, before.size() - 1))) {
        addFields(state, before.ends_with(':'), words);
        lua_pop(state, 1);
    }
    std::erase_if(words, [](const std::string& word) {
        return word.empty() || std::isdigit(static_cast<unsigned char>(word.front())) != 0
            || !std::all_of(word.begin(), word.end(), isOfName);
    });
    return words;
}

} // namespace

Completion complete(lua_State* state, std::string_view text, std::size_t cursor)
{
    text = text.substr(0, cursor);
    Completion completion;
    WordSet words;
    const std::size_t quote = openQuote(text);
    if (quote == std::string_view::npos) {
        const std::string_view before = beforeName(text);
        completion.begin = before.size();
        words = nameWords(state, before);
    } else {
        completion.begin = quote + 1;
        for (const std::string& word : quotedWords(state, text.substr(0, quote))) {
            words.insert(word + text[quote]);
        }
    }
    const std::string_view begun = text.substr(completion.begin);
    for (const std::string& word : words) {
        if (word.starts_with(begun)) {
            completion.words.push_back(word);
        }
    }
    return completion;
}

} // namespace tovrinhost
