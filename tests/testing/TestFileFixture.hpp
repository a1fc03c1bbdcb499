#pragma once

#include "embedded_host/testing/TestFile.hpp"
#include "tests/testing/MadeUpWorld.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <system_error>

namespace testing_tests {

/// A file of tests, which is called "t.lua" in what is said of it.
class TestFileFixture : public testing::Test {
protected:
    ~TestFileFixture() override
    {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    void writeFile(const std::string& text) { std::ofstream(m_path, std::ios::binary) << text; }
    const std::string& path() const { return m_path; }

    /// A text with the file's short name.
    std::string shortened(std::string text) const
    {
        for (std::size_t at = text.find(path()); at != std::string::npos; at = text.find(path(), at)) {
            text.replace(at, path().size(), "t.lua");
        }
        return text;
    }

    tovrinhost::TestListing list(const std::string& text)
    {
        writeFile(text);
        auto listing = tovrinhost::listTests(path(), m_world.world());
        listing.error = shortened(listing.error);
        return listing;
    }

    /// What speaks against the test "t" of a file.
    std::string run(const std::string& text, std::uint64_t seed = 0)
    {
        writeFile(text);
        return shortened(tovrinhost::runTest(path(), "t", seed, m_world.world()));
    }

    /// What speaks against a test that does this, all of it in line 1.
    std::string check(const std::string& statements)
    {
        return run("test('t', function() " + statements + " end)");
    }

    MadeUpWorld m_world;

private:
    // Short: positions in it end with the path's beginning otherwise.
    const std::string m_path
        = (std::filesystem::temp_directory_path() / ("t" + std::to_string(std::random_device()()) + ".lua"))
              .string();
};

} // namespace testing_tests
