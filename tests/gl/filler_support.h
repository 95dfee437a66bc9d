// filler_support.h - textures without files, and access to single fillers.
#pragma once

#include "filler_reference.h"
#include "gl/device.h"
#include "support/engine.h"

#include <cstring>
#include <memory>
#include <random>

/// A texture of random texels; every level has its own, so that the wrong level shows.
struct NoiseBuilder : KxcGLTextureBuilder
{
    NoiseBuilder(INT32 w, INT32 h, INT32 count, INT32 f)
        : KxcGLTextureBuilder(77, KXCTEXTURE_UNSHARED),
          width(w),
          height(h),
          levels(count),
          format(f)
    {
    }
    INT32 getSurfaceCount() override { return levels; }
    void getSurfaceParams(INT32 level, INT32& w, INT32& h, INT32& f) override
    {
        w = width >> level, h = height >> level, f = format;
    }
    INT32 fillSurface(INT32 level, void* texels, KxcGLComplexSurfaceResource*) override
    {
        const std::vector<UINT8> bytes = content(level);
        std::memcpy(texels, bytes.data(), bytes.size());
        return works;
    }
    INT32 sameClassEquals(KxcGLTextureBuilder*) override { return 0; }

    std::vector<UINT8> content(INT32 level) const
    {
        const size_t pixels = static_cast<size_t>((width >> level) * (height >> level));
        std::vector<UINT8> bytes(format == KXCSURFACEFORMAT_PALETTE8 ? 512 + pixels : 2 * pixels);
        std::minstd_rand random(static_cast<unsigned>(level + 5));
        for (UINT8& byte : bytes)
            byte = static_cast<UINT8>(random() >> 8);
        return bytes;
    }
    std::vector<reference::Picture> pictures() const
    {
        std::vector<reference::Picture> result;
        for (INT32 level = 0; level < levels; ++level)
        {
            const std::vector<UINT8> bytes = content(level);
            const auto word = [&](size_t i) { return static_cast<UINT16>(bytes[2 * i] | bytes[2 * i + 1] << 8); };
            reference::Picture picture{width >> level, height >> level, {}};
            for (size_t i = 0; i < static_cast<size_t>(picture.width * picture.height); ++i)
                picture.texels.push_back(format == KXCSURFACEFORMAT_PALETTE8 ? word(bytes[512 + i]) : word(i));
            result.push_back(picture);
        }
        return result;
    }

    INT32 width, height, levels, format, works = 1;
};

struct FillerKind : reference::Kind
{
    void (*use)();

    int column() const { return texel == "None" ? 0 : texel == "55X5" ? 1 : texel == "5515" ? 2 : 3; }
    int row() const { return blend == "None" ? 0 : blend == "Alpha" ? 1 : blend == "Add" ? 2 : 3; }
    int slot() const
    {
        const int shade = shading == "None" ? 0 : shading == "Flat" ? 1 : shading == "Gouraud" ? 2 : 3;
        return shade + 4 * perspective;
    }
    KxcGLFiller registered() const { return kxcCore->fillers[row()][column()][slot()]; }
};

inline const std::vector<FillerKind>& fillerKinds()
{
#define KXC_KIND(name, shading, texel, blend, perspective) \
    FillerKind{{#name, #shading, #texel, #blend, perspective}, kxcGLUseFiller##name},
    static const std::vector<FillerKind> kinds = {KXC_GL_FILLERS(KXC_KIND)};
#undef KXC_KIND
    return kinds;
}
