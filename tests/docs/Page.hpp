#pragma once

#include <string>
#include <vector>

namespace docs {

std::string readFile(const std::string& path);

/// Of the folder docs/.
std::string readPage(const std::string& name);

/// A row of a table in Markdown, but for its heading.
struct Row {
    std::string section; ///< the heading above the table
    std::vector<std::string> cells;
};

std::vector<Row> rowsOf(const std::string& markdown);

} // namespace docs
