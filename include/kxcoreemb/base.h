// base.h - what every other header leans on: scalar types, the export mark, the version, the rectangle.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#define KXC_VERSION_MAJOR 0
#define KXC_VERSION_MINOR 1
#define KXC_VERSION_PATCH 0

/// Marks what a game may call; everything else stays inside the library.
#define KXC_API __attribute__((visibility("default")))

typedef int8_t INT8;
typedef uint8_t UINT8;
typedef int16_t INT16;
typedef uint16_t UINT16;
typedef int32_t INT32;
typedef uint32_t UINT32;
typedef int64_t INT64;
typedef uint64_t UINT64;
typedef float FLOAT32;
typedef double FLOAT64;
typedef char CHAR8;     ///< an 8-bit character
typedef int16_t CHAR16; ///< a 16-bit character

/// A rectangle in pixels: its left and top edge and its size.
struct KxcRectangle
{
    INT32 x, y, width, height;
};
