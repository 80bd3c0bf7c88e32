#pragma once

#include <stdexcept>

// What went wrong, in one line that tells the user what to do; the program ends with exit status 1.
class Error : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
