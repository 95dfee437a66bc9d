// pixel_scene.h - what the pixel benches draw: 300 sprites of 64 x 64, 100 rectangles and a whole picture on 640 x 480.
//
// Everything comes from one generator with a fixed seed, so that runs on different days and machines draw the same.
#pragma once

#include <kxcoreemb/surface.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

struct PixelScene
{
    static constexpr INT32 kWidth = 640, kHeight = 480, kSprite = 64, kKinds = 16, kDraws = 300, kFills = 100;
    static constexpr INT32 kKey = 0xFF00FF, kAlpha = 100; // the alpha of translucent draws and fills, of 255

    struct Draw
    {
        INT32 x, y, kind;
    };

    std::vector<UINT32> sprites[kKinds]; // 8888: a soft-edged disc, transparent around
    std::vector<UINT32> picture;         // 8888, of the whole size
    std::vector<Draw> draws;             // some reach over the edge
    std::vector<KxcRectangle> fills;
    INT64 drawnPixels = 0, filledPixels = 0;

    PixelScene()
    {
        for (INT32 kind = 0; kind < kKinds; ++kind)
            for (INT32 y = 0; y < kSprite; ++y)
                for (INT32 x = 0; x < kSprite; ++x)
                {
                    const double inside = 22 + kind * 0.6 - std::hypot(x - 31.5, y - 31.5);
                    const UINT32 alpha = inside <= 0 ? 0 : inside >= 5 ? 255 : static_cast<UINT32>(inside * 51);
                    const UINT32 red = (static_cast<UINT32>(x * 4 + kind * 9) + below(16)) & 255;
                    const UINT32 green = (static_cast<UINT32>(y * 4) + below(16)) & 255;
                    const UINT32 blue = static_cast<UINT32>((x + y) * 2 + kind * 13) & 255;
                    sprites[kind].push_back(alpha << 24 | red << 16 | green << 8 | blue);
                }
        for (INT32 y = 0; y < kHeight; ++y)
            for (INT32 x = 0; x < kWidth; ++x)
                picture.push_back(static_cast<UINT32>((x ^ y) & 255) << 24 |
                                  static_cast<UINT32>(x * 255 / kWidth) << 16 |
                                  static_cast<UINT32>(y * 255 / kHeight) << 8 | below(256));
        for (INT32 i = 0; i < kDraws; ++i)
        {
            const INT32 x = static_cast<INT32>(below(kWidth + kSprite / 2)) - kSprite / 2;
            const INT32 y = static_cast<INT32>(below(kHeight + kSprite / 2)) - kSprite / 2;
            draws.push_back({x, y, static_cast<INT32>(below(kKinds))});
            drawnPixels += INT64{std::min(x + kSprite, kWidth) - std::max(x, 0)} *
                           (std::min(y + kSprite, kHeight) - std::max(y, 0));
        }
        for (INT32 i = 0; i < kFills; ++i)
        {
            const INT32 width = 16 + static_cast<INT32>(below(200)), height = 16 + static_cast<INT32>(below(150));
            const INT32 x = static_cast<INT32>(below(static_cast<UINT32>(kWidth - width)));
            fills.push_back({x, static_cast<INT32>(below(static_cast<UINT32>(kHeight - height))), width, height});
            filledPixels += INT64{width} * height;
        }
    }

    static const PixelScene& get()
    {
        static const PixelScene scene;
        return scene;
    }

    /// A surface that shows 8888 pixels. Where `keyed`, pixels less than half opaque get the key colour.
    static std::unique_ptr<KxcGLSurface> surface(const std::vector<UINT32>& pixels, INT32 width, INT32 format,
                                                 bool keyed = false)
    {
        const INT32 height = static_cast<INT32>(pixels.size()) / width;
        std::unique_ptr<KxcGLSurface> surface(KxcGLSurface::create(width, height, format));
        std::vector<UINT32> copy = pixels;
        for (UINT32& pixel : copy)
            if (keyed)
                pixel = pixel >> 31 ? pixel | 0xFF000000 : 0xFF000000 | kKey;
        void* store = nullptr;
        surface->lock(&store, 0, 0);
        if (format == KXCSURFACEFORMAT_PALETTE8)
        {
            UINT16* palette = static_cast<UINT16*>(store); // three bits of red and green, two of blue
            UINT8* indices = reinterpret_cast<UINT8*>(palette + 256);
            for (UINT32 i = 0; i < 256; ++i)
                palette[i] = static_cast<UINT16>((i & 0xE0) << 8 | (i & 0x1C) << 6 | (i & 3) << 3);
            for (size_t i = 0; i < copy.size(); ++i)
                indices[i] = static_cast<UINT8>((copy[i] >> 16 & 0xE0) | (copy[i] >> 11 & 0x1C) | (copy[i] >> 6 & 3));
        }
        else
            KxcPixelConverter::convertBuffer(copy.data(), store, width * height, KXCSURFACEFORMAT_8888, format);
        surface->unlock();
        surface->setColorKey(kKey);
        surface->enableColorKey(keyed);
        return surface;
    }

private:
    UINT32 below(UINT32 limit)
    {
        m_seed = m_seed * 1664525u + 1013904223u;
        return static_cast<UINT32>((static_cast<UINT64>(m_seed >> 8) * limit) >> 24);
    }
    UINT32 m_seed = 20240611;
};
