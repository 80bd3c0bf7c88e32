#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

// Calls use with every row of a table in the folder of the tests, except comments, which begin with #.
inline void forEachRow(const std::string& table, auto use)
{
    std::ifstream file(WAIL_TESTS "/" + table);
    ASSERT_TRUE(file) << table;
    int rows = 0;
    for (std::string row; std::getline(file, row);) {
        SCOPED_TRACE(row);
        std::istringstream fields(row);
        if (row.front() == '#')
            continue;
        use(fields);
        ++rows;
    }
    EXPECT_GT(rows, 0) << table;
}
