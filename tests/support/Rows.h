#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

// The rows of a table in the folder of the tests, without its comments, which begin with #. Throws if it has none.
inline std::vector<std::string> rowsOf(const std::string& table)
{
    std::ifstream file(WAIL_TESTS "/" + table);
    std::vector<std::string> rows;
    for (std::string row; std::getline(file, row);)
        if (row.front() != '#')
            rows.push_back(row);
    if (rows.empty())
        throw std::runtime_error("no rows in " + table);
    return rows;
}
