#pragma once

#include "embedded_host/engine/Interpreter.hpp"
#include "embedded_host/timers/ScriptRunner.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace shell_tests {

/// A script's surroundings, without a script.
class LuaFixture : public testing::Test {
protected:
    /// Runs statements, then looks at what has come of them.
    void after(const std::string& statements, const std::function<void(tovrinhost::Interpreter&)>& look)
    {
        bool hasLooked = false;
        m_runner.serve([&](tovrinhost::Interpreter& interpreter) {
            interpreter.execute(statements, "=test");
            look(interpreter);
            hasLooked = true;
        });
        EXPECT_TRUE(hasLooked) << statements;
    }

private:
    tovrinhost::ScriptRunner m_runner { 10 };
};

} // namespace shell_tests
