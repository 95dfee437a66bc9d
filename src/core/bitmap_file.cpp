// bitmap_file.cpp - pictures for people to look at, written as uncompressed BMP files with numbered names.
#include "core/bitmap_file.h"

#include "platform/platform.h"

#include <kxcoreemb/core.h>
#include <kxcoreemb/string_toolkit.h>

#include <cstdio>

static FILE* createNextFile(const char* nameFormat, INT32& counter)
{
    for (;;)
    {
        char name[24];
        KxcStringToolkit::format(name, sizeof name, nameFormat, ++counter);
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

void kxcSaveNumberedBitmap(const char* nameFormat, INT32& counter, INT32 width, INT32 height, KxcBitmapRow row,
                           const void* picture)
{
    constexpr UINT32 kHeaderBytes = 54;
    const INT64 rowBytes = (INT64(width) * 3 + 3) / 4 * 4, pixelBytes = rowBytes * height;
    if (width < 1 || height < 1 || pixelBytes > INT32_MAX - INT64(kHeaderBytes))
        return;
    // Not from the heap, which may be what has run out; zeroed, as the padding has to be.
    UINT8* bytes = static_cast<UINT8*>(KxcCore::allocateSystemMemory(static_cast<INT32>(rowBytes)));
    FILE* file = bytes ? createNextFile(nameFormat, counter) : nullptr;
    if (file)
    {
        UINT8 header[kHeaderBytes];
        UINT8* out = put16(header, 'B' | 'M' << 8);
        out = put32(out, kHeaderBytes + static_cast<UINT32>(pixelBytes));
        out = put32(out, 0);
        out = put32(out, kHeaderBytes); // where the pixels begin
        out = put32(out, 40);           // size of the rest of the header
        out = put32(out, static_cast<UINT32>(width));
        out = put32(out, static_cast<UINT32>(height)); // positive: bottom row first
        out = put16(out, 1);                           // planes
        out = put16(out, 24);                          // bits per pixel
        out = put32(out, 0);                           // not compressed
        out = put32(out, 0);                           // size, not needed without compression
        out = put32(out, 2834);                        // pixels per metre: 72 dpi
        out = put32(out, 2834);
        out = put32(out, 0); // no palette
        put32(out, 0);
        std::fwrite(header, 1, kHeaderBytes, file);
        for (INT32 y = height - 1; y >= 0; --y)
        {
            row(picture, y, bytes);
            std::fwrite(bytes, 1, static_cast<size_t>(rowBytes), file);
        }
        std::fclose(file);
    }
    KxcCore::freeSystemMemory(bytes);
}
