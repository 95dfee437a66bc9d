// version.h - which version this is. The build reads it from here: there is no other place.
#pragma once

#include <kxcoreemb/base.h>

#define KXC_VERSION_MAJOR 0 ///< 1 in version 1.2.3
#define KXC_VERSION_MINOR 1 ///< 2 in version 1.2.3
#define KXC_VERSION_PATCH 0 ///< 3 in version 1.2.3

/// The version of these headers as a number to compare, such as 10203 for 1.2.3.
#define KXC_VERSION (KXC_VERSION_MAJOR * 10000 + KXC_VERSION_MINOR * 100 + KXC_VERSION_PATCH)

extern "C"
{
    /// The version of the library that the program runs with, in the form of KXC_VERSION. Any time, any thread.
    KXC_API KxcINT32 kxcGetVersion();
}
