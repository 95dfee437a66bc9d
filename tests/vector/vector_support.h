// vector_support.h - a canvas to draw vectors on, and a slow model of what they must look like.
#pragma once

#include "support/engine.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

struct Point
{
    double x, y;
};
typedef std::vector<Point> Contour;

inline KxcFixed fixed(double value) { return KxcFixed::fromRaw(static_cast<INT32>(std::lround(value * 65536))); }
inline KxcVector2 vec(double x, double y) { return {fixed(x), fixed(y)}; }
inline KxcMatrix3 matrix(double xx, double xy, double yx, double yy, double x, double y)
{
    return {{{fixed(xx), fixed(xy), 0}, {fixed(yx), fixed(yy), 0}, {fixed(x), fixed(y), 1}}};
}

/// How the 8 x 8 samples of a pixel count, by the squared distance of their centres from its middle: 9 to 0.
constexpr int kSampleWeights[8][8] = {{0, 0, 1, 3, 3, 1, 0, 0}, {0, 3, 4, 6, 6, 4, 3, 0}, {1, 4, 7, 8, 8, 7, 4, 1},
                                      {3, 6, 8, 9, 9, 8, 6, 3}, {3, 6, 8, 9, 9, 8, 6, 3}, {1, 4, 7, 8, 8, 7, 4, 1},
                                      {0, 3, 4, 6, 6, 4, 3, 0}, {0, 0, 1, 3, 3, 1, 0, 0}};

/// Coverage, sample by sample: contours in grid units, filled by a rule.
class Model
{
public:
    Model(int width, int height, int samples) : m_width(width), m_height(height), m_samples(samples) {}
    void add(const Contour& contour)
    {
        for (size_t i = 0; i < contour.size(); ++i)
            m_edges.push_back({contour[i], contour[(i + 1) % contour.size()]});
    }
    /// @param clip  in pixels
    std::vector<int> coverage(bool nonZero, KxcRectangle clip) const
    {
        const int n = m_samples, columns = m_width * n;
        std::vector<int> result(static_cast<size_t>(m_width * m_height));
        for (int row = clip.y * n; row < (clip.y + clip.height) * n; ++row)
        {
            std::vector<int> winding(static_cast<size_t>(columns) + 1);
            std::vector<int> crossings(winding.size());
            for (const Edge& edge : m_edges)
            {
                const bool down = edge.from.y < edge.to.y;
                const Point &top = down ? edge.from : edge.to, &bottom = down ? edge.to : edge.from;
                // Row centres from the top's to before the bottom's, as the grid rounds them.
                if (row < std::floor(top.y + 0.5) || row >= std::floor(bottom.y + 0.5))
                    continue;
                const double x = top.x + (bottom.x - top.x) * (row + 0.5 - top.y) / (bottom.y - top.y);
                const int column = static_cast<int>(
                    std::clamp(std::floor(x + 1e-9), double(clip.x * n), double((clip.x + clip.width) * n)));
                winding[static_cast<size_t>(column)] += down ? -1 : 1;
                ++crossings[static_cast<size_t>(column)];
            }
            for (int column = 0, sum = 0, count = 0; column < columns; ++column)
            {
                sum += winding[static_cast<size_t>(column)];
                count += crossings[static_cast<size_t>(column)];
                if (nonZero ? sum != 0 : count % 2 != 0)
                    result[static_cast<size_t>(row / n * m_width + column / n)] +=
                        n == 8 ? kSampleWeights[row % 8][column % 8] : 255;
            }
        }
        return result;
    }

private:
    struct Edge
    {
        Point from, to;
    };
    int m_width, m_height, m_samples;
    std::vector<Edge> m_edges;
};

/// A surface with a translator: white shapes on black, so that X888 pixels are coverage.
struct Canvas
{
    Canvas(int width_, int height_, INT32 format = KXCSURFACEFORMAT_X888) : width(width_), height(height_)
    {
        kxcUse2DVectorGraphics();
        t = KxcCore::getPrimitiveTranslator();
        draw = KxcCore::getPrimitiveDraw();
        surface.reset(KxcGLSurface::create(width, height, format));
        surface->clear(0xFF000000);
        t->setRenderTarget(surface.get());
        t->setStrokeOff();
    }
    void add(const Contour& contour, bool close = true)
    {
        for (size_t i = 0; i < contour.size(); ++i)
            if (i == 0)
                t->moveToAbsolute(vec(contour[i].x, contour[i].y));
            else
                t->lineToAbsolute(vec(contour[i].x, contour[i].y));
        if (close)
            t->closePath();
    }
    /// A stroke alone, white.
    void strokeOnly(double strokeWidth, INT32 cap, INT32 join)
    {
        t->setFillOff();
        t->setStrokeColor(0xFFFFFF);
        t->setStrokeWidth(fixed(strokeWidth));
        t->setLineCap(cap);
        t->setLineJoin(join);
    }
    std::vector<UINT32> pixels(INT32 format = KXCSURFACEFORMAT_DEFAULT)
    {
        std::vector<UINT32> result;
        void* locked;
        const INT32 pitch = surface->lock(&locked, format, KXCLOCK_READONLY);
        const bool wide = pitch / width == 4;
        for (int i = 0; i < width * height; ++i)
            result.push_back(wide ? static_cast<UINT32*>(locked)[i] : static_cast<UINT16*>(locked)[i]);
        surface->unlock();
        return result;
    }
    UINT32 pixel(int x, int y) { return pixels()[static_cast<size_t>(y * width + x)]; }
    int coverage(int x, int y) { return static_cast<int>(pixel(x, y) & 0xFF); }
    /// Covered pixels, a full one counting 1.
    double area()
    {
        double sum = 0;
        for (const UINT32 p : pixels())
            sum += (p & 0xFF) >= 252 ? 1 : (p & 0xFF) / 252.0;
        return sum;
    }

    int width, height;
    KxcPrimitiveTranslator* t;
    KxcPrimitiveDraw* draw;
    std::unique_ptr<KxcGLSurface> surface;
};
