#include "embedded_host/timers/ValueText.hpp"

#include "embedded_host/log/Escape.hpp"
#include "embedded_host/log/ValidText.hpp"
#include "embedded_host/timers/TimerObject.hpp"
#include "embedded_host/timers/TimerProperties.hpp"

#include <lauxlib.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace tovrinhost {

namespace {

std::string toText(lua_State* state, int index)
{
    std::size_t length = 0;
    const char* const text = luaL_tolstring(state, index, &length);
    std::string result(text, length);
    lua_pop(state, 1);
    return result;
}

std::string inQuotes(std::string_view text, std::size_t longest)
{
    std::string doubled;
    for (const char byte : text.substr(0, longest)) {
        doubled += byte == '"' || byte == '\\' ? std::string { '\\', byte } : std::string(1, byte);
    }
    const std::string shown = '"' + validText(escape(doubled)) + '"';
    return text.size() <= longest ? shown : shown + "... (" + std::to_string(text.size()) + " bytes)";
}

bool isName(std::string_view text)
{
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    return !text.empty() && isLetter(text.front())
        && std::all_of(text.begin(), text.end(), [&](char c) { return isLetter(c) || (c >= '0' && c <= '9'); });
}

class Writer {
public:
    Writer(lua_State* state, const ValueLimits& limits)
        : m_state(state)
        , m_limits(limits)
    {
    }

    std::string value(int index, std::size_t indent = 0)
    {
        switch (lua_type(m_state, index)) {
        case LUA_TSTRING:
            return inQuotes(toText(m_state, index), m_limits.longestText);
        case LUA_TFUNCTION:
            return function(index);
        case LUA_TTABLE:
            if (luaL_getmetafield(m_state, index, "__tostring") == LUA_TNIL) {
                return table(lua_absindex(m_state, index), indent);
            }
            lua_pop(m_state, 1);
            break;
        case LUA_TUSERDATA:
            if (isLiveTimer(m_state, index)) {
                return timer(lua_absindex(m_state, index), indent);
            }
            break;
        default:
            break;
        }
        return validText(escape(toText(m_state, index)));
    }

private:
    struct Entry {
        bool isNumber = false;
        lua_Number number = 0;
        std::string key; // as it is sorted, where it is no number
        std::string shown;
    };

    std::string function(int index)
    {
        lua_Debug info {};
        lua_pushvalue(m_state, index);
        lua_getinfo(m_state, ">S", &info);
        return std::string(info.what) == "C"
            ? "function of the host's"
            : "function of " + std::string(info.short_src) + ":" + std::to_string(info.linedefined);
    }

    std::string timer(int index, std::size_t indent)
    {
        std::vector<std::string> entries;
        for (const std::string& name : propertyNames()) {
            if (lua_getfield(m_state, index, name.c_str()) != LUA_TNIL) {
                entries.push_back(name + " = " + value(-1, indent + 2));
            }
            lua_pop(m_state, 1);
        }
        return validText(escape(toText(m_state, index))) + ' ' + braced(entries, indent);
    }

    std::string table(int index, std::size_t indent)
    {
        const void* const identity = lua_topointer(m_state, index);
        if (std::find(m_path.begin(), m_path.end(), identity) != m_path.end()) {
            return "<cycle>";
        }
        if (lua_checkstack(m_state, 20) == 0) {
            return "{...}";
        }
        lua_pushnil(m_state);
        if (lua_next(m_state, index) == 0) {
            return "{}";
        }
        lua_pop(m_state, 2);
        if (m_path.size() == m_limits.deepest) {
            return "{...}";
        }
        m_path.push_back(identity);
        const auto entries = entriesOf(index, indent + 2);
        m_path.pop_back();
        return braced(entries, indent);
    }

    std::vector<std::string> entriesOf(int index, std::size_t indent)
    {
        std::vector<std::string> shown;
        std::size_t leftOut = 0;
        const auto sequence = static_cast<lua_Integer>(lua_rawlen(m_state, index));
        for (lua_Integer place = 1; place <= sequence; ++place) {
            if (shown.size() == m_limits.mostOfTable || m_shown == m_limits.mostOfAll) {
                leftOut += static_cast<std::size_t>(sequence - place + 1);
                break;
            }
            lua_rawgeti(m_state, index, place);
            ++m_shown;
            shown.push_back(value(-1, indent));
            lua_pop(m_state, 1);
        }
        std::vector<Entry> others;
        for (lua_pushnil(m_state); lua_next(m_state, index) != 0; lua_pop(m_state, 1)) {
            if (lua_isinteger(m_state, -2) != 0) {
                const lua_Integer place = lua_tointeger(m_state, -2);
                if (place >= 1 && place <= sequence) {
                    continue;
                }
            }
            if (shown.size() + others.size() >= m_limits.mostOfTable || m_shown == m_limits.mostOfAll) {
                ++leftOut;
                continue;
            }
            ++m_shown;
            others.push_back(entry(indent));
        }
        std::sort(others.begin(), others.end(), [](const Entry& a, const Entry& b) {
            return a.isNumber != b.isNumber ? a.isNumber : a.isNumber ? a.number < b.number : a.key < b.key;
        });
        for (Entry& other : others) {
            shown.push_back(std::move(other.shown));
        }
        if (leftOut > 0) {
            shown.push_back("... " + std::to_string(leftOut) + " more");
        }
        return shown;
    }

    /// Of the key and the value on top of the stack.
    Entry entry(std::size_t indent)
    {
        Entry entry;
        std::string key;
        if (lua_type(m_state, -2) == LUA_TSTRING) {
            entry.key = toText(m_state, -2);
            key = isName(entry.key) ? entry.key : '[' + inQuotes(entry.key, m_limits.longestText) + ']';
        } else {
            entry.isNumber = lua_type(m_state, -2) == LUA_TNUMBER;
            entry.number = lua_tonumber(m_state, -2);
            entry.key = entry.isNumber ? toText(m_state, -2) : value(-2, indent);
            key = '[' + entry.key + ']';
        }
        entry.shown = key + " = " + value(-1, indent);
        return entry;
    }

    std::string braced(const std::vector<std::string>& entries, std::size_t indent) const
    {
        std::string row = "{ ";
        for (const std::string& entry : entries) {
            row += entry + (&entry == &entries.back() ? " }" : ", ");
        }
        if (indent + row.size() <= m_limits.rowWidth && row.find('\n') == std::string::npos) {
            return row;
        }
        std::string rows = "{\n";
        for (const std::string& entry : entries) {
            rows += std::string(indent + 2, ' ') + entry + ",\n";
        }
        return rows + std::string(indent, ' ') + '}';
    }

    lua_State* const m_state;
    const ValueLimits& m_limits;
    std::vector<const void*> m_path; // the tables that the present one is within
    std::size_t m_shown = 0; // entries of all tables
};

} // namespace

std::string valueText(lua_State* state, int index, const ValueLimits& limits)
{
    return Writer(state, limits).value(index);
}

} // namespace tovrinhost
