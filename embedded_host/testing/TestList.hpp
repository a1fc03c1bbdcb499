#pragma once

#include <lua.h>

#include <string>
#include <vector>

namespace tovrinhost {

/// A test as its file declares it.
struct TestDeclaration {
    std::string name;
    int line = 0;
};

/// The tests of a file, and their functions in one interpreter.
///
/// Threading: the interpreter thread only.
class TestList {
public:
    /// Makes the script function `test` known. The list has to outlive the state.
    void open(lua_State* state);

    /// From now on `test` is an error.
    void close() { m_isOpen = false; }

    const std::vector<TestDeclaration>& tests() const { return m_tests; }

    /// Pushes the function of the test of this name; nil if there is none.
    void push(lua_State* state, const std::string& name) const;

private:
    static int test(lua_State* state);
    void declare(lua_State* state);

    bool m_isOpen = true;
    std::vector<TestDeclaration> m_tests;
    std::vector<int> m_functions; // of each: a reference in the registry
};

} // namespace tovrinhost
