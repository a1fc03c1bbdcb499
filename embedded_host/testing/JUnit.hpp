#pragma once

#include "embedded_host/testing/TestRun.hpp"

#include <fstream>
#include <string>
#include <vector>

namespace tovrinhost {

/// What has become of tests, in the XML that build servers read: a suite for each file. One that could not be
/// loaded is a suite of one test, which has an error.
std::string junitText(const std::vector<FileResult>& files);

/// A file of it.
class JUnitFile {
public:
    /// \throws std::system_error, which names the file, if it cannot be opened
    explicit JUnitFile(const std::string& path);

    /// \throws std::system_error if it cannot be written
    void write(const std::vector<FileResult>& files);

private:
    void failUnlessGood() const;

    const std::string m_path;
    std::ofstream m_file;
};

} // namespace tovrinhost
