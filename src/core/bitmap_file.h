// bitmap_file.h - pictures for people to look at, written as uncompressed BMP files with numbered names.
#pragma once

#include <kxcoreemb/base.h>

/// Puts the pixels of row y, 0 the top one, into out: blue, green, red, a byte each.
typedef void (*KxcBitmapRow)(const void* picture, INT32 y, UINT8* out);

/// Writes a picture under the first name that is free, from the counter's next number on. What cannot be written is
/// left out.
/// @param nameFormat  with one "%04d"; of less than 24 characters @param counter  the latest number; counts on
void kxcSaveNumberedBitmap(const char* nameFormat, INT32& counter, INT32 width, INT32 height, KxcBitmapRow row,
                           const void* picture);
