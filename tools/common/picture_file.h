// picture_file.h - writes pictures that other programs can open.
#pragma once

#include <kxcoreemb/base.h>

/// Writes width x height pixels, 0xAARRGGBB, top row first: as BMP (24 bits) when the path ends in ".bmp", else as PNG
/// (with alpha when asked for). Tells on stderr what went wrong. @return whether the file was written
bool kxcWritePicture(const char* path, INT32 width, INT32 height, const UINT32* pixels, bool withAlpha);

/// The same for a frame as embeddedFrame() answers it: R5 G6 B5.
bool kxcWriteFrame(const char* path, INT32 width, INT32 height, const short* frame);
