// speed_code.h - what the codes of setConnectionSpeed() and setCommSpeed() stand for.
#pragma once

#include <kxcoreemb/base.h>

constexpr INT32 kxcDefaultSpeed = 2000;

/// @param current  the value that code 5 keeps
inline INT32 kxcSpeedOfCode(INT32 code, INT32 current)
{
    switch (code)
    {
    case 1:
    case 2:
        return 1000;
    case 3:
        return 240000;
    case 4:
        return 1370000;
    case 5:
        return current;
    default:
        return kxcDefaultSpeed;
    }
}
