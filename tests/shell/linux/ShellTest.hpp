#pragma once

#include "tests/shell/linux/ShellProgram.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace shell_tests {

/// A folder for the program to run in.
class ShellTest : public testing::Test {
protected:
    ShellTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "tovrin-shell-XXXXXX").string();
        m_folder = mkdtemp(name.data());
    }
    ~ShellTest() override { std::filesystem::remove_all(m_folder); }

    const std::string& folder() const { return m_folder; }

    /// \returns its path
    std::string write(const std::string& name, const std::string& text) const
    {
        const std::filesystem::path path = std::filesystem::path(m_folder) / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
        return path.string();
    }

    std::string read(const std::string& name) const
    {
        std::ostringstream text;
        text << std::ifstream(m_folder + '/' + name).rdbuf();
        return text.str();
    }

    /// The rows below the greeting.
    static Rows below(const ShellProgram& shell)
    {
        Rows rows = shell.rows();
        if (!rows.empty()) {
            EXPECT_THAT(rows.front(), testing::StartsWith("tovrin: "));
            rows.erase(rows.begin());
        }
        return rows;
    }

private:
    std::string m_folder;
};

} // namespace shell_tests
