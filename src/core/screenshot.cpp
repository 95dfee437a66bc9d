// screenshot.cpp - writes the game's screen as a BMP file.
#include "core/bitmap_file.h"
#include "core/desktop_picture.h"

namespace
{

struct Screen
{
    const UINT16* pixels; // R5 G6 B5
    INT32 width;
};

void screenRow(const void* picture, INT32 y, UINT8* out)
{
    const Screen& screen = *static_cast<const Screen*>(picture);
    const UINT16* pixel = screen.pixels + static_cast<size_t>(y) * static_cast<size_t>(screen.width);
    for (INT32 x = 0; x < screen.width; ++x, ++pixel)
    {
        *out++ = static_cast<UINT8>((*pixel & 0x001F) << 3);
        *out++ = static_cast<UINT8>((*pixel & 0x07E0) >> 3);
        *out++ = static_cast<UINT8>((*pixel & 0xF800) >> 8);
    }
}

} // namespace

void kxcDesktopSaveScreenshot(const UINT16* pixels, INT32 width, INT32 height)
{
    static INT32 counter; // never starts again
    const Screen screen = {pixels, width};
    kxcSaveNumberedBitmap("ss%04d.bmp", counter, width, height, screenRow, &screen);
}
