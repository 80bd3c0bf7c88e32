#pragma once

#include "host/AEffect.h"

// Copies at most maxLength characters of from and a terminator to a buffer of at least maxLength + 1 bytes;
// bytes after the terminator keep their values. Returns false and writes nothing if a pointer is null or
// maxLength is negative.
inline bool copyText(char* to, const char* from, VstInt32 maxLength) noexcept
{
    if (to == nullptr || from == nullptr || maxLength < 0)
        return false;
    VstInt32 length = 0;
    for (; length < maxLength && from[length] != '\0'; ++length)
        to[length] = from[length];
    to[length] = '\0';
    return true;
}
