#pragma once

#include "tests/shell/linux/Folder.hpp"
#include "tests/shell/linux/ShellProgram.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace shell_tests {

/// A folder for the program to run in.
class ShellTest : public testing::Test {
protected:
    const std::string& folder() const { return m_folder.path(); }
    void write(const std::string& name, const std::string& text) const { m_folder.write(name, text); }
    std::string read(const std::string& name) const { return m_folder.read(name); }

    /// The rows below the greeting.
    static Rows below(const ShellProgram& shell)
    {
        Rows rows = shell.rows();
        if (!rows.empty()) {
            EXPECT_THAT(rows.front(), testing::StartsWith("tovrin"));
            rows.erase(rows.begin());
        }
        return rows;
    }

private:
    const Folder m_folder;
};

} // namespace shell_tests
