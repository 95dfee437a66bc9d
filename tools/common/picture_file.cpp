// picture_file.cpp - PNG through libpng, BMP by hand.
#include "picture_file.h"

#include <kxcoreemb/pixel_converter.h>
#include <kxcoreemb/string_toolkit.h>

#include <cstdio>
#include <cstring>
#include <png.h>
#include <vector>

namespace
{

typedef std::vector<unsigned char> Bytes;

bool hasExtension(const char* path, const char* extension)
{
    const char* dot = std::strrchr(path, '.');
    return dot && KxcStringToolkit::compareIgnoreCase(dot, extension) == 0;
}

bool fail(const char* path, const char* why)
{
    std::fprintf(stderr, "%s: cannot write: %s\n", path, why);
    return false;
}

bool writePng(const char* path, INT32 width, INT32 height, const UINT32* pixels, bool withAlpha)
{
    Bytes bytes;
    bytes.reserve(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    for (INT64 i = 0; i < static_cast<INT64>(width) * height; ++i)
    {
        for (int shift : {16, 8, 0})
            bytes.push_back(static_cast<unsigned char>(pixels[i] >> shift));
        if (withAlpha)
            bytes.push_back(static_cast<unsigned char>(pixels[i] >> 24));
    }
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = withAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
    return png_image_write_to_file(&image, path, 0, bytes.data(), 0, nullptr) || fail(path, image.message);
}

void append(Bytes& bytes, UINT32 value, int count)
{
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<unsigned char>(value >> 8 * i));
}

bool writeBmp(const char* path, INT32 width, INT32 height, const UINT32* pixels)
{
    const UINT32 pitch = (static_cast<UINT32>(width) * 3 + 3) & ~3u, size = pitch * static_cast<UINT32>(height);
    Bytes bytes = {'B', 'M'};
    append(bytes, 54 + size, 4);
    append(bytes, 0, 4);
    append(bytes, 54, 4);
    append(bytes, 40, 4);
    append(bytes, static_cast<UINT32>(width), 4);
    append(bytes, static_cast<UINT32>(height), 4);
    append(bytes, 1, 2);
    append(bytes, 24, 2);
    append(bytes, 0, 4);
    append(bytes, size, 4);
    append(bytes, 2834, 4);
    append(bytes, 2834, 4);
    append(bytes, 0, 4);
    append(bytes, 0, 4);
    for (INT32 y = height - 1; y >= 0; --y)
    {
        for (INT32 x = 0; x < width; ++x)
            append(bytes, pixels[static_cast<INT64>(y) * width + x], 3);
        append(bytes, 0, static_cast<int>(pitch - static_cast<UINT32>(width) * 3));
    }
    std::FILE* file = std::fopen(path, "wb");
    if (!file)
        return fail(path, "the file does not open");
    const bool written = std::fwrite(bytes.data(), bytes.size(), 1, file) == 1;
    return (std::fclose(file) == 0 && written) || fail(path, "the disk is full?");
}

} // namespace

bool kxcWritePicture(const char* path, INT32 width, INT32 height, const UINT32* pixels, bool withAlpha)
{
    if (hasExtension(path, ".bmp"))
        return writeBmp(path, width, height, pixels);
    return writePng(path, width, height, pixels, withAlpha);
}

bool kxcWriteFrame(const char* path, INT32 width, INT32 height, const short* frame)
{
    if (!frame)
        return fail(path, "there is no frame");
    std::vector<UINT32> pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
    KxcPixelConverter::convertBuffer(const_cast<short*>(frame), pixels.data(), width * height, KXCSURFACEFORMAT_565,
                                     KXCSURFACEFORMAT_8888);
    return kxcWritePicture(path, width, height, pixels.data(), false);
}
