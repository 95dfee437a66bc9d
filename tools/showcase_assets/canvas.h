// canvas.h - a small float painter for pictures that are made while the project is built, and the files it writes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// A colour with straight alpha, every channel 0..1.
struct Color
{
    float r, g, b, a;
};

inline Color mix(Color x, Color y, float t)
{
    return {x.r + (y.r - x.r) * t, x.g + (y.g - x.g) * t, x.b + (y.b - x.b) * t, x.a + (y.a - x.a) * t};
}
inline float clamp01(float t) { return t < 0 ? 0 : t > 1 ? 1 : t; }

/// Smooth noise of two dimensions, 0..1; it repeats every period units.
float noise(float x, float y, int period, uint32_t seed);

/// A picture, painted by a function of the position and averaged over 16 samples a pixel.
class Canvas
{
public:
    Canvas(int width, int height) : m_width(width), m_height(height), m_pixels(size_t(width) * size_t(height)) {}

    /// Paints a cell; x and y run from -1 to 1 over it.
    void paint(int left, int top, int width, int height, const std::function<Color(float x, float y)>& shade);

    bool writeTga(const std::string& path, bool withAlpha) const; // run-length encoded, bottom row first
    /// 256 colours: pixels less than half opaque get the key colour, magenta.
    bool writePcx(const std::string& path) const;

private:
    uint32_t at(int x, int y) const; // 0xAARRGGBB

    int m_width, m_height;
    std::vector<Color> m_pixels;
};
