#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace shell_tests {

/// A folder that goes with this object.
class Folder {
public:
    Folder()
    {
        m_path = (std::filesystem::temp_directory_path() / "tovrin-shell-XXXXXX").string();
        m_path = mkdtemp(m_path.data());
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(m_path); }

    const std::string& path() const { return m_path; }

    void write(const std::string& name, const std::string& text) const
    {
        const std::filesystem::path path = std::filesystem::path(m_path) / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }

    std::string read(const std::string& name) const
    {
        std::ostringstream text;
        text << std::ifstream(m_path + '/' + name).rdbuf();
        return text.str();
    }

private:
    std::string m_path;
};

} // namespace shell_tests
