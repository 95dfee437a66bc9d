// paint_test.cpp - gradients, images and patterns, pixel by pixel.
#include "vector_support.h"

#include "support/pixel_reference.h"

#include <gtest/gtest.h>

namespace
{

struct Paint : testing::Test
{
    Engine engine;
    Canvas canvas{100, 60, KXCSURFACEFORMAT_PREMUL8888};
    KxcPrimitiveTranslator* t = canvas.t;

    /// Fills the surface through a path transformation.
    void fillThrough(const KxcMatrix3& m, const Contour& contour)
    {
        canvas.surface->clear(0);
        t->setTransformation(m);
        t->beginPath();
        canvas.add(contour);
        t->endPath();
    }
    const KxcMatrix3 m_identity = matrix(1, 0, 0, 1, 0, 0);
};

/// Black to white, so that a pixel's blue is its position, 0..255.
template <class Gradient>
std::unique_ptr<Gradient> greys(Gradient* gradient)
{
    gradient->addGradientStop(1, 0xFFFFFFFF);
    gradient->addGradientStop(0, 0xFF000000);
    return std::unique_ptr<Gradient>(gradient);
}

double spread(double t, INT32 method)
{
    if (method == KXCSPREAD_REPEAT)
        return t - std::floor(t);
    if (method == KXCSPREAD_REFLECT)
        return std::abs(t - 2 * std::floor(t / 2 + 0.5));
    return std::clamp(t, 0.0, 1.0);
}

TEST_F(Paint, LinearGradientsFollowTheirLineThroughAllTransformations)
{
    const auto gradient = greys(KxcPrimitiveDrawLinearGradientFiller::create(vec(1, 2), vec(4, 3)));
    gradient->setGradientTransformation(matrix(8, 1, -2, 9, 3, 5));
    t->setFillGradient(gradient.get());
    for (const INT32 method : {KXCSPREAD_PAD, KXCSPREAD_REFLECT, KXCSPREAD_REPEAT})
    {
        gradient->setSpreadMethod(method);
        fillThrough(matrix(1.5, 0.25, -0.5, 1, 20, -4), {{-50, -100}, {200, -100}, {200, 200}, {-50, 200}});
        const std::vector<UINT32> pixels = canvas.pixels();
        for (int y = 0; y < 60; ++y)
            for (int x = 1; x < 100; ++x) // column 0 has the edges of what lies outside
            {
                // From the pixel's centre back through the path's transformation, then the gradient's.
                const auto back = [](Point p, double xx, double xy, double yx, double yy, double ox, double oy)
                {
                    const double det = xx * yy - xy * yx, px = p.x - ox, py = p.y - oy;
                    return Point{(px * yy - py * yx) / det, (py * xx - px * xy) / det};
                };
                const Point p = back(back({x + 0.5, y + 0.5}, 1.5, 0.25, -0.5, 1, 20, -4), 8, 1, -2, 9, 3, 5);
                const double position = ((p.x - 1) * 3 + (p.y - 2) * 1) / 10, t1 = spread(position, method);
                if (method == KXCSPREAD_REPEAT && (t1 < 0.01 || t1 > 0.99))
                    continue; // the step itself
                ASSERT_NEAR(pixels[static_cast<size_t>(y * 100 + x)] & 0xFF, t1 * 255, 3)
                    << method << ": " << x << ", " << y;
            }
    }
}

TEST_F(Paint, RadialGradientsRunFromTheFocusToTheCircle)
{
    for (const Point focus : {Point{50, 30}, Point{60, 24}, Point{200, 30}, Point{20000, 30}})
        for (const INT32 method : {KXCSPREAD_PAD, KXCSPREAD_REFLECT, KXCSPREAD_REPEAT})
        {
            const auto gradient =
                greys(KxcPrimitiveDrawRadialGradientFiller::create(vec(50, 30), vec(focus.x, focus.y), fixed(20)));
            gradient->setSpreadMethod(method);
            t->setFillGradient(gradient.get());
            fillThrough(m_identity, {{0, 0}, {100, 0}, {100, 60}, {0, 60}});
            const std::vector<UINT32> pixels = canvas.pixels();
            const bool outside = focus.x >= 200; // moved onto the circle, a hair within it
            const double fx = outside ? 65200 / 65536.0 : (focus.x - 50) / 20, fy = outside ? 0 : (focus.y - 30) / 20;
            for (int y = 1; y < 59; ++y)
                for (int x = 1; x < 99; ++x)
                {
                    const double dx = (x + 0.5 - 50) / 20 - fx, dy = (y + 0.5 - 30) / 20 - fy;
                    const double a = dx * dx + dy * dy, b = fx * dx + fy * dy, c = 1 - fx * fx - fy * fy;
                    const double position = (b + std::sqrt(b * b + a * c)) / c, t1 = spread(position, method);
                    if (position > 10 || (method == KXCSPREAD_REPEAT && (t1 < 0.02 || t1 > 0.98)))
                        continue;
                    ASSERT_NEAR(pixels[static_cast<size_t>(y * 100 + x)] & 0xFF, t1 * 255, outside ? 9 : 3)
                        << method << ": " << x << ", " << y << ", focus " << focus.x;
                }
        }
}

TEST_F(Paint, StopsAreSortedClampedAndStepWhereTheyMeet)
{
    const std::unique_ptr<KxcPrimitiveDrawLinearGradientFiller> gradient(
        KxcPrimitiveDrawLinearGradientFiller::create(vec(0, 0), vec(100, 0)));
    t->setFillGradient(gradient.get());
    const Contour all = {{0, 0}, {100, 0}, {100, 60}, {0, 60}};
    fillThrough(m_identity, all);
    EXPECT_EQ(canvas.pixel(50, 30), 0u) << "without stops nothing is painted";

    gradient->addGradientStop(fixed(1.5), 0xFF0000FF);
    gradient->addGradientStop(fixed(0.5), 0xFF00FF00);
    gradient->addGradientStop(fixed(-1), 0xFFFF0000);
    gradient->addGradientStop(fixed(0.5), 0xFFFFFFFF); // behind the one that was there
    fillThrough(m_identity, all);
    const struct
    {
        int x;
        UINT32 color;
    } cases[] = {{0, 0xFFFF0000},  {24, 0xFF807F00}, {48, 0xFF07FA00},
                 {52, 0xFFF5F5FF}, {75, 0xFF8080FF}, {99, 0xFF0000FF}};
    for (const auto& c : cases)
        for (int shift = 0; shift < 32; shift += 8)
            EXPECT_NEAR(canvas.pixel(c.x, 30) >> shift & 0xFF, c.color >> shift & 0xFF, 6) << c.x;

    gradient->resetGradient();
    for (int i = 0; i <= 64; ++i) // more than a block of stops
        gradient->addGradientStop(fixed(i / 64.0), i % 2 ? 0x80FFFFFFu : 0x00FFFFFFu);
    fillThrough(m_identity, all);
    EXPECT_NEAR(canvas.pixel(50, 30) >> 24, 0x40, 0x40) << "premultiplied, so all channels alike";
    EXPECT_EQ(canvas.pixel(50, 30) >> 24, canvas.pixel(50, 30) & 0xFF);
}

TEST_F(Paint, GradientsWithoutALengthAreTheirLastColour)
{
    const auto gradient = greys(KxcPrimitiveDrawLinearGradientFiller::create(vec(30, 30), vec(30, 30)));
    t->setFillGradient(gradient.get());
    for (const INT32 method : {KXCSPREAD_PAD, KXCSPREAD_REFLECT, KXCSPREAD_REPEAT})
    {
        gradient->setSpreadMethod(method);
        fillThrough(m_identity, {{0, 0}, {100, 0}, {100, 60}, {0, 60}});
        EXPECT_EQ(canvas.pixel(20, 20), 0xFFFFFFFFu) << method;
    }
    const auto flat = greys(KxcPrimitiveDrawRadialGradientFiller::create(vec(30, 30), vec(30, 30), fixed(20)));
    flat->setGradientTransformation(matrix(1, 1, 1, 1, 0, 0)); // which nothing can be led back through
    t->setFillGradient(flat.get());
    fillThrough(m_identity, {{0, 0}, {100, 0}, {100, 60}, {0, 60}});
    EXPECT_EQ(canvas.pixel(30, 30), 0xFFFFFFFFu);
}

/// Pixels that tell where they come from.
std::unique_ptr<KxcGLSurface> places(int width, int height, INT32 format)
{
    std::unique_ptr<KxcGLSurface> surface(KxcGLSurface::create(width, height, format));
    void* pixels;
    surface->lock(&pixels, KXCSURFACEFORMAT_8888, 0);
    for (int i = 0; i < width * height; ++i)
        static_cast<UINT32*>(pixels)[i] =
            0xFF000000u | static_cast<UINT32>(i % width * 8 << 16 | i / width * 8 << 8 | 8);
    surface->unlock();
    return surface;
}

TEST_F(Paint, ImagesLieWhereTheyArePut)
{
    const std::unique_ptr<KxcGLSurface> image = places(30, 20, KXCSURFACEFORMAT_55X5);
    const std::unique_ptr<KxcPrimitiveDrawImageFiller> filler(KxcPrimitiveDrawImageFiller::create(image.get(), 10, 5));
    t->setFillImage(filler.get());
    for (const Point offset : {Point{10, 5}, Point{-7, -9}, Point{90, 50}, Point{300, 0}})
    {
        filler->setFillOffset(int(offset.x), int(offset.y));
        fillThrough(matrix(1, 0, 0, 1, 1, 0), {{-1, 0}, {99, 0}, {99, 60}, {-1, 60}}); // it does not move with paths
        const std::vector<UINT32> pixels = canvas.pixels();
        for (int y = 0; y < 60; ++y)
            for (int x = 1; x < 100; ++x)
            {
                const int u = x - int(offset.x), v = y - int(offset.y);
                const bool inside = u >= 0 && u < 30 && v >= 0 && v < 20;
                const UINT32 p = pixels[static_cast<size_t>(y * 100 + x)];
                ASSERT_EQ(p >> 24, inside ? 0xFFu : 0u) << x << ", " << y;
                ASSERT_NEAR(p >> 16 & 0xFF, inside ? u * 8 : 0, 7);
            }
    }
    filler->setImage(nullptr);
    fillThrough(m_identity, {{0, 0}, {100, 0}, {100, 60}, {0, 60}});
    EXPECT_EQ(canvas.pixel(20, 10), 0u);
}

TEST_F(Paint, PatternsRepeatTheirTileExactlyAndBetweenPixelsEvenly)
{
    const std::unique_ptr<KxcGLSurface> source = places(12, 9, KXCSURFACEFORMAT_8888);
    const KxcRectangle tile = {2, 3, 5, 4};
    const std::unique_ptr<KxcPrimitiveDrawPatternFiller> filler(
        KxcPrimitiveDrawPatternFiller::create(source.get(), tile));
    t->setFillPattern(filler.get());
    const Contour all = {{0, 0}, {100, 0}, {100, 60}, {0, 60}};
    fillThrough(m_identity, all);
    const std::vector<UINT32> pixels = canvas.pixels();
    for (int y = 0; y < 60; ++y)
        for (int x = 1; x < 100; ++x)
            ASSERT_EQ(pixels[static_cast<size_t>(y * 100 + x)],
                      0xFF000008u | UINT32((2 + x % 5) * 8) << 16 | UINT32((3 + y % 4) * 8) << 8);

    filler->setPatternTransformation(matrix(2, 0, 0, 1, -15, -7)); // twice as wide, and off to the upper left
    fillThrough(m_identity, all);
    for (int x = 1; x < 100; ++x)
    {
        const int twice = (x + 15) % 10, left = twice / 2, right = (left + 1) % 5;
        const int expected = twice % 2 ? ((2 + left) * 8 + (2 + right) * 8) / 2 : (2 + left) * 8;
        ASSERT_NEAR(canvas.pixel(x, 20) >> 16 & 0xFF, expected, 1) << x;
        ASSERT_EQ(canvas.pixel(x, 20) >> 8 & 0xFF, UINT32((3 + (20 + 7) % 4) * 8));
    }

    const KxcRectangle beyond = {10, 0, 4, 4}; // half of it outside of the source
    filler->setPattern(source.get(), beyond);
    filler->setPatternTransformation(m_identity);
    fillThrough(m_identity, all);
    for (int x = 4; x < 20; ++x)
        EXPECT_EQ(canvas.pixel(x, 20) >> 24, x % 4 < 2 ? 0xFFu : 0u) << x;
}

TEST_F(Paint, PatternsThatShrinkAreAveraged)
{
    std::unique_ptr<KxcGLSurface> source(KxcGLSurface::create(32, 32, KXCSURFACEFORMAT_8888));
    void* pixels;
    source->lock(&pixels, 0, 0);
    for (int i = 0; i < 32 * 32; ++i) // a fine chequer, half white
        static_cast<UINT32*>(pixels)[i] = (i + i / 32) % 2 ? 0xFFFFFFFF : 0xFF000000;
    source->unlock();
    const KxcRectangle tile = {0, 0, 32, 32};
    const std::unique_ptr<KxcPrimitiveDrawPatternFiller> filler(
        KxcPrimitiveDrawPatternFiller::create(source.get(), tile));
    t->setFillPattern(filler.get());
    for (const double scale : {0.4, 0.25, 0.1, 0.01, 0.0})
    {
        filler->setPatternTransformation(matrix(scale, 0, 0, scale, 0, 0));
        fillThrough(m_identity, {{0, 0}, {100, 0}, {100, 60}, {0, 60}});
        if (scale == 0)
            EXPECT_EQ(canvas.pixel(50, 30), 0u) << "no place has a colour";
        else
            for (int x = 1; x < 99; ++x)
                ASSERT_NEAR(canvas.pixel(x, 30) & 0xFF, 128, 40) << scale << ", " << x;
    }
}

TEST_F(Paint, BlendsColoursOfFillersByTheirAlphaOnEveryFormat)
{
    for (const INT32 format : reference::kFormats)
        for (UINT32 alpha = 0; alpha < 256; alpha += 5)
        {
            const std::unique_ptr<KxcPrimitiveDrawLinearGradientFiller> gradient(
                KxcPrimitiveDrawLinearGradientFiller::create(vec(0, 0), vec(9, 0)));
            gradient->addGradientStop(0, alpha << 24 | 0xFF8000);
            Canvas target(24, 8, format);
            target.surface->clear(0xFFFFFFFF);
            const UINT32 before = target.pixel(3, 3);
            target.t->setFillGradient(gradient.get());
            target.t->setFillOpacity(200);
            target.t->beginPath();
            target.add({{-1, 1}, {25, 1}, {25, 7}, {-1, 7}});
            target.t->endPath();
            const auto channels = [format](UINT32 p)
            { return reference::unpack(reference::convert(p, format, KXCSURFACEFORMAT_8888), KXCSURFACEFORMAT_8888); };
            const reference::Channels c = channels(target.pixel(10, 3)), edge = channels(target.pixel(10, 0)),
                                      old = channels(before);
            const double a = alpha / 255.0 * 200 / 255, step = reference::is16Bit(format) ? 26 : 13;
            EXPECT_NEAR(c.red, 255, step) << format << ", alpha " << alpha;
            EXPECT_NEAR(c.green, 255 + a * (128 - 255), step) << format << ", alpha " << alpha;
            EXPECT_NEAR(c.blue, 255 - a * 255, step) << format << ", alpha " << alpha;
            EXPECT_EQ(edge.green, old.green);
        }
}

} // namespace
