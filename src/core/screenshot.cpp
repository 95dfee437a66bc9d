// screenshot.cpp - writes the game's screen as a BMP file.

#include "core/desktop_picture.h"
#include "platform/platform.h"

#include <kxcoreemb/string_toolkit.h>

#include <cstdio>
#include <new>

static INT32 screenshotCounter; // the number of the latest; never starts again

// Finds the next number whose name is free.
static FILE* createNextFile()
{
    for (;;)
    {
        char name[20];
        KxcStringToolkit::format(name, sizeof name, "ss%04d.bmp", ++screenshotCounter);
        FILE* taken = kxcPlatformFileOpen(name, "rb");
        if (!taken)
            return kxcPlatformFileOpen(name, "wb");
        std::fclose(taken);
    }
}

static UINT8* put16(UINT8* out, UINT32 value)
{
    out[0] = static_cast<UINT8>(value);
    out[1] = static_cast<UINT8>(value >> 8);
    return out + 2;
}

static UINT8* put32(UINT8* out, UINT32 value) { return put16(put16(out, value), value >> 16); }

void kxcDesktopSaveScreenshot(const UINT16* pixels, INT32 width, INT32 height)
{
    const UINT32 headerBytes = 54;
    const size_t rowBytes = (static_cast<size_t>(width) * 3 + 3) & ~size_t(3);
    const UINT32 pixelBytes = static_cast<UINT32>(rowBytes * static_cast<size_t>(height));
    UINT8* row = new (std::nothrow) UINT8[rowBytes > headerBytes ? rowBytes : headerBytes]();
    FILE* file = row ? createNextFile() : nullptr;
    if (file)
    {
        UINT8* out = put16(row, 'B' | 'M' << 8);
        out = put32(out, headerBytes + pixelBytes);
        out = put32(out, 0);
        out = put32(out, headerBytes); // where the pixels begin
        out = put32(out, 40);          // size of the rest of the header
        out = put32(out, static_cast<UINT32>(width));
        out = put32(out, static_cast<UINT32>(height)); // positive: bottom row first
        out = put16(out, 1);                           // planes
        out = put16(out, 24);                          // bits per pixel
        out = put32(out, 0);                           // not compressed
        out = put32(out, 0);                           // size, not needed without compression
        out = put32(out, 2834);                        // pixels per metre: 72 dpi
        out = put32(out, 2834);
        out = put32(out, 0); // no palette
        out = put32(out, 0);
        std::fwrite(row, 1, headerBytes, file);

        for (size_t padding = static_cast<size_t>(width) * 3; padding < rowBytes; ++padding)
            row[padding] = 0; // where the header was
        for (INT32 y = height - 1; y >= 0; --y)
        {
            const UINT16* pixel = pixels + static_cast<size_t>(y) * static_cast<size_t>(width);
            out = row;
            for (INT32 x = 0; x < width; ++x, ++pixel)
            {
                *out++ = static_cast<UINT8>((*pixel & 0x001F) << 3);
                *out++ = static_cast<UINT8>((*pixel & 0x07E0) >> 3);
                *out++ = static_cast<UINT8>((*pixel & 0xF800) >> 8);
            }
            std::fwrite(row, 1, rowBytes, file);
        }
        std::fclose(file);
    }
    delete[] row;
}
