// fuzz_image.cpp - decodes a picture that is anything at all. Built once for each image filter, which KXC_FUZZ_NAME
// picks.
#include "fuzz.h"

#include <cstring>
#include <memory>

namespace
{

long useFilters()
{
    kxcUseImageFilterTGA();
    kxcUseImageFilterPCX();
    return 0;
}

/// The front end, which opens files by their names.
struct FrontEnd : KxcImageLoader
{
    static void fill(KxcImageLoader* filter, KxcFile* file, INT32 format)
    {
        INT32 width = 0, height = 0, hasAlpha = 0, isPaletted = 0;
        filter->getImageInfo(KXC_FUZZ_NAME, file, &width, &height, &hasAlpha, &isPaletted);
        const std::unique_ptr<KxcGLSurface> surface(KxcGLSurface::create(width, height, format));
        void* pixels = nullptr;
        const INT32 pitch = surface ? surface->lock(&pixels, 0, KXCLOCK_DISCARD) : 0;
        if (!pitch)
        {
            file->close();
            return;
        }
        doLoadImage(KXC_FUZZ_NAME, filter, file, format, width, height, hasAlpha, isPaletted, pitch, pixels);
        surface->unlock();
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) { return startCore(useFilters); }

extern "C" int LLVMFuzzerTestOneInput(const UINT8* bytes, size_t size)
{
    static KXC_FUZZ_FILTER* const filter = new KXC_FUZZ_FILTER; // the core's
    KxcFile* file = openInput(KXC_FUZZ_NAME, bytes, size);
    INT32 width = -1, height = -1, hasAlpha, isPaletted;
    filter->validateImage(KXC_FUZZ_NAME, file);
    filter->getImageInfo(KXC_FUZZ_NAME, file, &width, &height, &hasAlpha, &isPaletted);
    check(width >= 0 && height >= 0 && (width == 0) == (height == 0));
    const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);

    const std::unique_ptr<UINT32[]> colors(filter->getImage8888(KXC_FUZZ_NAME, file));
    touch(colors.get(), count);
    unsigned char *palette, *indices;
    filter->getImagePaletted(KXC_FUZZ_NAME, file, &palette, &indices);
    check(!palette == !indices && (!palette || isPaletted));
    touch(palette, 768);
    touch(indices, count);
    delete[] palette;
    delete[] indices;
    file->close();
    if (colors)
        FrontEnd::fill(filter, openInput(KXC_FUZZ_NAME, bytes, size), 1 + static_cast<INT32>(size % 10));
    return 0;
}
