#pragma once

#include "host/AEffect.h"

// Copies at most maxLength characters of the text and a terminator; to holds maxLength + 1 bytes. Bytes
// behind the terminator stay as they are. Answers whether there was anything to copy from and to: a null
// pointer or a negative length is ignored.
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
