#pragma once

#include "embedded_host/testing/Findings.hpp"
#include "embedded_host/testing/TestList.hpp"
#include "embedded_host/testing/VirtualWorld.hpp"

#include <lua.h>

#include <string>
#include <string_view>

namespace tovrinhost {

/// What one test works with. It has to outlive the interpreter that it is opened in.
struct TestBench {
    TestClock& clock;
    TestList list;
    Findings findings;
};

/// Makes `test`, `expect`, `expectError` and `clock` known to a script, and has os.exit speak against the test.
void openTestLanguage(lua_State* state, TestBench& bench);

/// "FILE:LINE: " of the innermost call out of a file; empty where there is none.
std::string positionInFile(lua_State* state);

/// expect.lua
extern const std::string_view expectSource;

} // namespace tovrinhost
