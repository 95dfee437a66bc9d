// base.h - what every other header leans on: scalar types, the export mark, the rectangle.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

/// Marks what a game may call; everything else stays inside the library.
#define KXC_API __attribute__((visibility("default")))

/// @{
/// A number of the width in its name: signed, unsigned, floating point.
typedef int8_t KxcINT8;
typedef uint8_t KxcUINT8;
typedef int16_t KxcINT16;
typedef uint16_t KxcUINT16;
typedef int32_t KxcINT32;
typedef uint32_t KxcUINT32;
typedef int64_t KxcINT64;
typedef uint64_t KxcUINT64;
typedef float KxcFLOAT32;
typedef double KxcFLOAT64;
/// @}
typedef char KxcCHAR8;     ///< an 8-bit character
typedef int16_t KxcCHAR16; ///< a 16-bit character

// Short names for the same types. jpeglib.h, Xlib's Xmd.h and others define some of them too, as other types: a program
// that includes such a header defines KXC_NO_SCALAR_NAMES before ours, and writes the prefixed names.
#ifndef KXC_NO_SCALAR_NAMES
typedef KxcINT8 INT8;
typedef KxcUINT8 UINT8;
typedef KxcINT16 INT16;
typedef KxcUINT16 UINT16;
typedef KxcINT32 INT32;
typedef KxcUINT32 UINT32;
typedef KxcINT64 INT64;
typedef KxcUINT64 UINT64;
typedef KxcFLOAT32 FLOAT32;
typedef KxcFLOAT64 FLOAT64;
typedef KxcCHAR8 CHAR8;
typedef KxcCHAR16 CHAR16;
#endif

/// A rectangle in pixels: its left and top edge and its size.
struct KxcRectangle
{
    KxcINT32 x;      ///< its left edge
    KxcINT32 y;      ///< its top edge
    KxcINT32 width;  ///< how many columns it has
    KxcINT32 height; ///< how many rows it has
};
