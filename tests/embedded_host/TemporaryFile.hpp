#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace tovrinhost {

/// The path of a file that does not exist yet, and is removed at the end.
class TemporaryFile {
public:
    TemporaryFile()
    {
        std::random_device entropy;
        m_path = std::filesystem::temp_directory_path()
            / ("tovrinhost-" + std::to_string(entropy()) + "-" + std::to_string(entropy()) + ".log");
    }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    ~TemporaryFile()
    {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    std::string path() const { return m_path.string(); }

    std::string content() const
    {
        std::ostringstream text;
        text << std::ifstream(m_path, std::ios::binary).rdbuf();
        return text.str();
    }

private:
    std::filesystem::path m_path;
};

} // namespace tovrinhost
