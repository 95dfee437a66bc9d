// image_loader.h - images from files: the TGA and PCX filters, the front end that picks one, and surfaces that load
// their pixels on demand.
#pragma once

#include <kxcoreemb/surface.h>

class KxcFile;
class KxcImageResource;

/// An image filter, and the static front end that asks all of them.
///
/// The front end opens a file by name (KxcFile::open, "rb"), asks the filters, newest first, which one reads it, and
/// closes it. It answers null, 0 or zero sizes when the file does not open, no filter accepts it or it is damaged.
/// Ownership  what is returned is the caller's: arrays are released with delete[], surfaces with delete.
/// Threads    the game's thread only.
class KXC_API KxcImageLoader
{
public:
    virtual ~KxcImageLoader();
    /// Not 0 when this filter reads the file.
    virtual KxcINT32 validateImage(char const* name, KxcFile* file) = 0;
    /// Size in pixels and kind; 0 where the image is not one that this filter reads. Every pointer may be null.
    virtual void getImageInfo(char const* name, KxcFile* file, KxcINT32* width, KxcINT32* height, KxcINT32* hasAlpha,
                              KxcINT32* isPaletted) = 0;
    /// The pixels in 8888, top row first. The base class makes them from getImagePaletted.
    virtual KxcUINT32* getImage8888(char const* name, KxcFile* file);
    /// 256 entries of red, green and blue bytes, and an index for each pixel; both null where there is no palette.
    virtual void getImagePaletted(char const* name, KxcFile* file, unsigned char** palette, unsigned char** indices);

    /// getImageInfo() of the filter that reads the file.
    static void loadImageInfo(char const* name, KxcINT32* width, KxcINT32* height, KxcINT32* hasAlpha,
                              KxcINT32* isPaletted);
    static KxcUINT32* loadImage8888(char const* name); ///< getImage8888() of that filter; the caller's, delete[]
    /// The same with getImagePaletted(); both arrays are the caller's, delete[].
    static void loadImagePaletted(char const* name, unsigned char** palette, unsigned char** indices);
    /// A new surface. @param format  0: KXCSURFACEFORMAT_5515 for images with alpha, else KXCSURFACEFORMAT_55X5
    static KxcGLSurface* load(char const* name, KxcINT32 format);
    /// Fills the caller's pixels. @param pitch  bytes from row to row @param format as for load @return 1 on success
    static KxcINT32 loadImageToBuffer(char const* name, void* buffer, KxcINT32 pitch, KxcINT32 format);

protected:                      // for derived classes
    KxcImageLoader() = default; ///< registers nothing
    /// Puts a filter before all others; the core owns it from then on.
    static void registerImageLoader(KxcImageLoader* loader);
    /// Decodes an image into pixels and closes the file, whatever happens. @return 1 on success
    static KxcINT32 doLoadImage(char const* name, KxcImageLoader* filter, KxcFile* file, KxcINT32 format,
                                KxcINT32 width, KxcINT32 height, KxcINT32 hasAlpha, KxcINT32 isPaletted, KxcINT32 pitch,
                                void* pixels);

private:
    friend void kxcImageLoadersFree();
    struct OpenImage;
    static KxcImageLoader* findPlugin(char const* name, KxcFile* file);

    KxcImageLoader* m_next = nullptr; // older
};

/// Truevision TGA: colour-mapped and true colour, plain and run-length encoded, 8 to 32 bits, either row order.
class KXC_API KxcImageLoadFilterTGA : public KxcImageLoader
{
public:
    KxcImageLoadFilterTGA();
    KxcINT32 validateImage(char const* name, KxcFile* file) override;
    void getImageInfo(char const* name, KxcFile* file, KxcINT32* width, KxcINT32* height, KxcINT32* hasAlpha,
                      KxcINT32* isPaletted) override;
    KxcUINT32* getImage8888(char const* name, KxcFile* file) override;
    void getImagePaletted(char const* name, KxcFile* file, unsigned char** palette, unsigned char** indices) override;
};

/// PCX version 5: 256 colours in one plane.
class KXC_API KxcImageLoadFilterPCX : public KxcImageLoader
{
public:
    KxcImageLoadFilterPCX();
    KxcINT32 validateImage(char const* name, KxcFile* file) override;
    void getImageInfo(char const* name, KxcFile* file, KxcINT32* width, KxcINT32* height, KxcINT32* hasAlpha,
                      KxcINT32* isPaletted) override;
    void getImagePaletted(char const* name, KxcFile* file, unsigned char** palette, unsigned char** indices) override;
};

/// Makes the front end read TGA files. Called from a game's init function; calling it again is harmless.
KXC_API void kxcUseImageFilterTGA();
/// Makes the front end read PCX files; likewise.
KXC_API void kxcUseImageFilterPCX();

/// A surface whose pixels come from an image file when it is locked, under the resource manager's budget.
/// While it is unlocked its pixels may be evicted, so what was drawn on it can be lost.
///
/// Ownership  the caller deletes what create() returned; the pixels are the resource manager's.
/// Failure    a lock() answers 0 where the image cannot be loaded or does not fit the budget.
/// Threads    the frame thread only.
class KXC_API KxcGLResourceSurface : public KxcGLSurface
{
public:
    /// A surface of the size of the image, which is not loaded yet.
    /// @param format         as for KxcGLSurface::create @param resourceFlags as for KxcResourceManager::createResource
    /// @return null without a name, an image of that name, or memory
    static KxcGLResourceSurface* create(char const* name, KxcINT32 format, KxcINT32 resourceFlags);
    ~KxcGLResourceSurface() override;
    KxcINT32 lock(void** pixels, KxcINT32 format, KxcINT32 flags) override;
    void unlock() override; ///< the pixels may be evicted from here on

protected:
    KxcGLResourceSurface();
    KxcINT32 init(char const* name, KxcINT32 format, KxcINT32 resourceFlags);

private:
    KxcImageResource* m_resource;
};
