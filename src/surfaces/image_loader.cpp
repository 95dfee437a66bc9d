// image_loader.cpp - finds the filter for an image file and brings its picture into the form that was asked for.
#include <kxcoreemb/image_loader.h>

#include "core/core_state.h"
#include "surfaces/image_loaders.h"

#include <kxcoreemb/string_toolkit.h>

#include <cstring>
#include <initializer_list>
#include <new>

namespace
{

constexpr INT32 kPaletteEntries = 256;

UINT32 paletteColor(const unsigned char* entry)
{
    return static_cast<UINT32>(entry[0]) << 16 | static_cast<UINT32>(entry[1]) << 8 | entry[2];
}

/// Looks every index of a picture up in a table of pixels.
template <class Pixel>
void storeIndexed(const unsigned char* indices, const unsigned char* palette, INT32 format, INT32 width, INT32 height,
                  INT32 pitch, char* row)
{
    Pixel pixels[kPaletteEntries];
    for (INT32 i = 0; i < kPaletteEntries; ++i)
        pixels[i] = static_cast<Pixel>(
            KxcPixelConverter::convert(paletteColor(palette + 3 * i), KXCSURFACEFORMAT_X888, format));
    for (INT32 y = 0; y < height; ++y, row += pitch)
        for (INT32 x = 0; x < width; ++x)
            reinterpret_cast<Pixel*>(row)[x] = pixels[*indices++];
}

bool isSurfaceFormat(INT32 format) { return format > KXCSURFACEFORMAT_DEFAULT && format < KXCSURFACEFORMAT_COUNT; }

INT32 chooseFormat(INT32 format, INT32 hasAlpha)
{
    if (format != KXCSURFACEFORMAT_DEFAULT)
        return format;
    return hasAlpha ? KXCSURFACEFORMAT_5515 : KXCSURFACEFORMAT_55X5;
}

} // namespace

// --- reading -------------------------------------------------------------------------------------------------------

KxcImageReader::KxcImageReader(KxcFile* file, INT32 begin, INT32 bytesAtEnd) : m_file(file)
{
    if (file->seek(0, 2) != 0)
        return;
    const INT32 size = file->tell();
    if (size < begin || file->seek(begin, 0) != 0)
        return;
    m_left = static_cast<INT64>(size) - begin - bytesAtEnd;
    if (m_left < 0)
        m_left = 0;
}

bool KxcImageReader::refill()
{
    const INT32 wanted = m_left < INT64(sizeof(m_buffer)) ? static_cast<INT32>(m_left) : INT32(sizeof(m_buffer));
    m_position = 0;
    m_end = wanted > 0 ? m_file->read(m_buffer, 1, wanted) : 0;
    if (m_end <= 0)
        m_end = 0, m_left = 0;
    m_left -= m_end;
    return m_end > 0;
}

bool KxcImageReader::skip(INT64 bytes)
{
    if (bytes < 0 || bytes > remaining())
        return false;
    while (bytes-- > 0)
        if (next() < 0)
            return false;
    return true;
}

bool KxcImageReader::read(UINT8* bytes, INT32 count)
{
    while (count > 0)
    {
        if (m_position == m_end && !refill())
            return false;
        const INT32 part = count < m_end - m_position ? count : m_end - m_position;
        std::memcpy(bytes, m_buffer + m_position, static_cast<size_t>(part));
        m_position += part;
        bytes += part;
        count -= part;
    }
    return true;
}

bool kxcImageHasExtension(const char* name, const char* extension)
{
    const char* dot = name ? std::strrchr(name, '.') : nullptr;
    return dot && KxcStringToolkit::compareIgnoreCase(dot + 1, extension) == 0;
}

// --- the registry ----------------------------------------------------------------------------------------------------

void KxcImageLoader::registerImageLoader(KxcImageLoader* loader)
{
    if (!kxcCore || !loader)
        return;
    loader->m_next = kxcCore->imageLoaders;
    kxcCore->imageLoaders = loader;
}

void kxcImageLoadersFree()
{
    while (KxcImageLoader* loader = kxcCore->imageLoaders)
    {
        kxcCore->imageLoaders = loader->m_next;
        delete loader;
    }
}

KxcImageLoader* KxcImageLoader::findPlugin(char const* name, KxcFile* file)
{
    for (KxcImageLoader* loader = kxcCore ? kxcCore->imageLoaders : nullptr; loader; loader = loader->m_next)
    {
        file->seek(0, 0);
        if (loader->validateImage(name, file))
        {
            file->seek(0, 0);
            return loader;
        }
    }
    return nullptr;
}

/// A file that a filter reads, open for as long as this lives or until release().
struct KxcImageLoader::OpenImage
{
    explicit OpenImage(char const* name) : file(KxcFile::open(name, "rb", KXCFILE_DEFAULT))
    {
        filter = file ? findPlugin(name, file) : nullptr;
    }
    ~OpenImage()
    {
        if (file)
            file->close();
    }
    OpenImage(const OpenImage&) = delete;
    OpenImage& operator=(const OpenImage&) = delete;

    KxcFile* release()
    {
        KxcFile* released = file;
        file = nullptr;
        return released;
    }

    KxcFile* file;
    KxcImageLoader* filter; // null when no filter reads it
};

// --- the base of filters ---------------------------------------------------------------------------------------------

KxcImageLoader::~KxcImageLoader() = default;

UINT32* KxcImageLoader::getImage8888(char const* name, KxcFile* file)
{
    INT32 width = 0, height = 0;
    getImageInfo(name, file, &width, &height, nullptr, nullptr);
    if (width <= 0 || height <= 0)
        return nullptr;
    file->seek(0, 0);
    unsigned char *palette = nullptr, *indices = nullptr;
    getImagePaletted(name, file, &palette, &indices);
    UINT32* pixels = nullptr;
    const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
    if (palette && indices && count <= PTRDIFF_MAX / sizeof(UINT32))
        pixels = new (std::nothrow) UINT32[count];
    if (pixels)
    {
        UINT32 colors[kPaletteEntries];
        for (INT32 i = 0; i < kPaletteEntries; ++i)
            colors[i] = 0xFF000000 | paletteColor(palette + 3 * i);
        for (size_t i = 0; i < count; ++i)
            pixels[i] = colors[indices[i]];
    }
    delete[] palette;
    delete[] indices;
    return pixels;
}

void KxcImageLoader::getImagePaletted(char const*, KxcFile*, unsigned char** palette, unsigned char** indices)
{
    *palette = nullptr;
    *indices = nullptr;
}

// --- the front end ---------------------------------------------------------------------------------------------------

void KxcImageLoader::loadImageInfo(char const* name, INT32* width, INT32* height, INT32* hasAlpha, INT32* isPaletted)
{
    for (INT32* output : {width, height, hasAlpha, isPaletted})
        if (output)
            *output = 0;
    OpenImage image(name);
    if (image.filter)
        image.filter->getImageInfo(name, image.file, width, height, hasAlpha, isPaletted);
}

UINT32* KxcImageLoader::loadImage8888(char const* name)
{
    OpenImage image(name);
    return image.filter ? image.filter->getImage8888(name, image.file) : nullptr;
}

void KxcImageLoader::loadImagePaletted(char const* name, unsigned char** palette, unsigned char** indices)
{
    if (!palette || !indices)
        return;
    *palette = *indices = nullptr;
    OpenImage image(name);
    if (image.filter)
        image.filter->getImagePaletted(name, image.file, palette, indices);
}

KxcGLSurface* KxcImageLoader::load(char const* name, INT32 format)
{
    OpenImage image(name);
    if (!image.filter)
        return nullptr;
    INT32 width = 0, height = 0, hasAlpha = 0, isPaletted = 0;
    image.filter->getImageInfo(name, image.file, &width, &height, &hasAlpha, &isPaletted);
    image.file->seek(0, 0);

    KxcGLSurface* surface = KxcGLSurface::create(width, height, chooseFormat(format, hasAlpha));
    if (!surface)
        return nullptr;
    void* pixels;
    const INT32 pitch = surface->lock(&pixels, 0, KXCLOCK_DISCARD);
    const INT32 loaded = pitch && doLoadImage(name, image.filter, image.release(), surface->getFormat(), width, height,
                                              hasAlpha, isPaletted, pitch, pixels);
    surface->unlock();
    if (loaded)
        return surface;
    delete surface;
    return nullptr;
}

INT32 KxcImageLoader::loadImageToBuffer(char const* name, void* buffer, INT32 pitch, INT32 format)
{
    if (!buffer)
        return 0;
    OpenImage image(name);
    if (!image.filter)
        return 0;
    INT32 width = 0, height = 0, hasAlpha = 0, isPaletted = 0;
    image.filter->getImageInfo(name, image.file, &width, &height, &hasAlpha, &isPaletted);
    image.file->seek(0, 0);
    return doLoadImage(name, image.filter, image.release(), format, width, height, hasAlpha, isPaletted, pitch, buffer);
}

INT32 KxcImageLoader::doLoadImage(char const* name, KxcImageLoader* filter, KxcFile* file, INT32 format, INT32 width,
                                  INT32 height, INT32 hasAlpha, INT32 isPaletted, INT32 pitch, void* pixels)
{
    format = chooseFormat(format, hasAlpha);
    UINT32* image = nullptr;
    unsigned char *palette = nullptr, *indices = nullptr;
    const bool wanted = width > 0 && height > 0 && isSurfaceFormat(format) &&
                        (isPaletted || format != KXCSURFACEFORMAT_PALETTE8) &&
                        pitch % static_cast<INT32>(kxcSurfaceFormats[format].bytesPerPixel) == 0;
    if (wanted && isPaletted)
        filter->getImagePaletted(name, file, &palette, &indices);
    else if (wanted)
        image = filter->getImage8888(name, file);
    file->close();

    const bool loaded = image || (palette && indices);
    char* row = static_cast<char*>(pixels);
    if (image)
    {
        for (INT32 y = 0; y < height; ++y, row += pitch)
            KxcPixelConverter::convertBuffer(image + static_cast<size_t>(y) * static_cast<size_t>(width), row, width,
                                             KXCSURFACEFORMAT_8888, format);
    }
    else if (loaded && format == KXCSURFACEFORMAT_PALETTE8)
    {
        UINT16* colors = static_cast<UINT16*>(pixels);
        for (INT32 i = 0; i < kPaletteEntries; ++i)
            colors[i] = static_cast<UINT16>(KxcPixelConverter::convert(paletteColor(palette + 3 * i),
                                                                       KXCSURFACEFORMAT_X888, KXCSURFACEFORMAT_55X5));
        std::memcpy(colors + kPaletteEntries, indices, static_cast<size_t>(width) * static_cast<size_t>(height));
    }
    else if (loaded && kxcSurfaceFormats[format].bytesPerPixel == 2)
        storeIndexed<UINT16>(indices, palette, format, width, height, pitch, row);
    else if (loaded)
        storeIndexed<UINT32>(indices, palette, format, width, height, pitch, row);
    delete[] image;
    delete[] palette;
    delete[] indices;
    return loaded;
}
