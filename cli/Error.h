#pragma once

#include <fmt/format.h>

#include <stdexcept>

// A failure, described in one line that says what to do; the program ends with exit status 1.
class Error : public std::runtime_error
{
public:
    template <typename... Arguments>
    explicit Error(fmt::format_string<Arguments...> message, Arguments&&... arguments)
        : std::runtime_error(fmt::format(message, std::forward<Arguments>(arguments)...))
    {
    }
};

// A command line that is wrong whatever the files hold; exit status 2.
class UsageError : public Error
{
public:
    using Error::Error;
};
