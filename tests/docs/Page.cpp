#include "tests/docs/Page.hpp"

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace docs {

std::string readFile(const std::string& path)
{
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error(path + " cannot be read");
    }
    return { std::istreambuf_iterator<char>(file), {} };
}

std::string readPage(const std::string& name)
{
    return readFile(std::string(TOVRINTIMER_SOURCES) + "/docs/" + name);
}

std::vector<Row> rowsOf(const std::string& markdown)
{
    std::vector<Row> rows;
    std::string section;
    bool isBelowHeading = false;
    std::istringstream lines(markdown);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("## ")) {
            section = line.substr(3);
        } else if (line.starts_with("|--")) {
            isBelowHeading = true;
        } else if (!line.starts_with("| ")) {
            isBelowHeading = false;
        } else if (isBelowHeading) {
            Row row { section, {} };
            for (std::size_t at = 0; at + 1 < line.size();) {
                const std::size_t end = line.find(" |", at + 1);
                row.cells.push_back(line.substr(at + 2, end - at - 2));
                at = end + 1;
            }
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

} // namespace docs
