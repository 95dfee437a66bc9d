// raster_test.cpp - what the rasteriser covers, and how it blends, against slow models.
#include "vector/span_kernels.h"
#include "vector_support.h"

#include "support/pixel_reference.h"

#include <gtest/gtest.h>

namespace
{

struct Rasteriser : testing::Test
{
    Engine engine;
};

/// Random contours, some of their corners far outside or on whole pixels.
std::vector<Contour> randomShape(reference::Noise& noise, int size)
{
    std::vector<Contour> shape(static_cast<size_t>(noise.between(1, 3)));
    const int style = noise.between(0, 3);
    for (Contour& contour : shape)
        for (int corners = noise.between(3, style == 1 ? 60 : 9); corners > 0; --corners)
        {
            const int reach = style == 2 ? 100 * size : size / 4;
            const int low = -reach * 256, high = (size + reach) * 256;
            const int whole = style == 3 ? ~255 : ~0;
            contour.push_back({(noise.between(low, high) & whole) / 256.0, (noise.between(low, high) & whole) / 256.0});
        }
    return shape;
}

/// Draws random shapes and compares them with the model.
void compareWithModel(bool smooth)
{
    constexpr int kSize = 48;
    reference::Noise noise;
    int inexact = 0;
    for (int round = 0; round < 200; ++round)
    {
        Canvas canvas(kSize, kSize);
        const std::vector<Contour> shape = randomShape(noise, kSize);
        const bool nonZero = noise.next() & 1;
        const int x = noise.between(-9, 40), y = noise.between(-9, 40);
        KxcRectangle clip = {x, y, noise.between(0, 60), noise.between(0, 60)};
        if (round % 2)
            canvas.t->setClipRect(&clip);
        else
            clip = {0, 0, kSize, kSize};
        canvas.t->setAntialiasing(smooth);
        canvas.t->setFillRule(nonZero);
        canvas.t->beginPath();
        for (const Contour& contour : shape)
            canvas.add(contour);
        canvas.t->endPath();

        const int samples = smooth ? 8 : 1;
        Model model(kSize, kSize, samples);
        for (Contour contour : shape)
        {
            for (Point& p : contour)
                p = {p.x * samples, p.y * samples};
            model.add(contour);
        }
        const int right = std::min(clip.x + clip.width, kSize), bottom = std::min(clip.y + clip.height, kSize);
        clip.x = std::clamp(clip.x, 0, kSize);
        clip.y = std::clamp(clip.y, 0, kSize);
        clip.width = std::max(0, right - clip.x);
        clip.height = clip.width ? std::max(0, bottom - clip.y) : 0;
        const std::vector<int> expected = model.coverage(nonZero, clip);
        const std::vector<UINT32> drawn = canvas.pixels();
        for (int i = 0; i < kSize * kSize; ++i)
        {
            const int is = static_cast<int>(drawn[static_cast<size_t>(i)] & 0xFF),
                      ought = expected[static_cast<size_t>(i)];
            if (is == ought || (is == 255 && ought == 252))
                continue;
            // A crossing within 2^-16 of the next sample column may go either way.
            ++inexact;
            ASSERT_LE(std::abs(is - ought), smooth ? 9 : 0)
                << "round " << round << ", " << i % kSize << ", " << i / kSize;
        }
    }
    EXPECT_LE(inexact, 20);
}

TEST_F(Rasteriser, CoversWhatEightByEightSamplesSay) { compareWithModel(true); }
TEST_F(Rasteriser, TakesOneSampleInTheMiddleOfEachRowWithoutSmoothing) { compareWithModel(false); }

TEST_F(Rasteriser, CountsAFullPixel252WhereAnEdgeTouchesItAnd255BetweenEdges)
{
    Canvas canvas(16, 8);
    canvas.t->beginPath();
    canvas.add({{2, 2}, {9, 2}, {9, 6}, {2, 6}});
    canvas.t->endPath();
    EXPECT_EQ(canvas.coverage(2, 3), 252);
    EXPECT_EQ(canvas.coverage(3, 3), 255);
    EXPECT_EQ(canvas.coverage(8, 5), 255);
    for (const Point& p : {Point{1, 3}, Point{9, 3}, Point{4, 1}, Point{4, 6}})
        EXPECT_EQ(canvas.coverage(int(p.x), int(p.y)), 0);
}

TEST_F(Rasteriser, CountsWindingsThatAByteDoesNotHold)
{
    for (const int times : {128, 256, 300}) // at 256 a byte is 0 again
    {
        Canvas canvas(16, 16);
        canvas.t->setFillRule(KXCFILLRULE_NONZERO);
        canvas.t->beginPath();
        for (int i = 0; i < times; ++i)
            canvas.add({{2, 2}, {12, 2}, {12, 12}, {2, 12}});
        canvas.t->endPath();
        EXPECT_EQ(canvas.coverage(6, 6), 255) << times;
        EXPECT_EQ(canvas.coverage(13, 6), 0) << times;
    }
}

TEST_F(Rasteriser, FillsTheUnionOfDiscsAndClipsTheirTables)
{
    Canvas canvas(40, 30);
    const std::unique_ptr<KxcPrimitiveDrawIndexedPrimitiveSet> set(KxcPrimitiveDrawIndexedPrimitiveSet::create(1));
    std::vector<std::unique_ptr<KxcPrimitiveDrawIndexedPrimitive>> halves;
    const auto addDisc = [&](INT32 x, INT32 y, INT32 radius)
    {
        for (const INT32 direction : {1, -1})
        {
            halves.emplace_back(
                KxcPrimitiveDrawIndexedPrimitive::createHalfCircle(x, y, radius, 0, 0, direction, -1000, 1000));
            ASSERT_TRUE(halves.back());
            ASSERT_TRUE(set->addPrimitive(halves.back().get()));
        }
    };
    addDisc(15, 2, 8); // reaches over the upper edge
    addDisc(20, 2, 8);
    void* pixels;
    const INT32 pitch = canvas.surface->lock(&pixels, 0, 0);
    canvas.draw->setColor(0xFFFFFF);
    canvas.draw->setClippingRect(0, 0, 39, 29);
    canvas.draw->addIndexedSet(set.get());
    canvas.draw->renderNonZero(static_cast<UINT8*>(pixels), 40, 30, pitch, KXCSURFACEFORMAT_X888);
    canvas.surface->unlock();
    const std::vector<UINT32> drawn = canvas.pixels();
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
        {
            const auto distance = [&](int middle) { return std::hypot(x - middle, y - 2); };
            const double nearest = std::min(distance(15), distance(20));
            if (nearest >= 7.5 && nearest <= 8.8)
                continue;
            EXPECT_EQ(drawn[static_cast<size_t>(y * 40 + x)] & 0xFF, nearest < 8 ? 255u : 0u) << x << ", " << y;
        }
    EXPECT_FALSE(KxcPrimitiveDrawIndexedPrimitive::createHalfCircle(0, 0, 0, 0, 0, 1, 0, 9));
    EXPECT_FALSE(KxcPrimitiveDrawIndexedPrimitive::createHalfCircle(0, 0, 5, 0, 0, 1, 6, 9));
}

/// One pixel after a shape of this coverage, opacity and colour, by the formulas.
UINT32 blended(UINT32 d, UINT32 color, UINT32 coverage, UINT32 opacity, INT32 format)
{
    const auto r = reference::divide255;
    const UINT32 a = r(coverage * opacity);
    if (format == KXCSURFACEFORMAT_565 || format == KXCSURFACEFORMAT_55X5)
    {
        const UINT32 opacity5 = ((opacity + 4) * 32 + ((opacity + 4) >> 3)) >> 8;
        const UINT32 weight = ((coverage + 4) >> 3) * opacity5 >> 5;
        const UINT32 color16 = reference::convert(color, KXCSURFACEFORMAT_X888, KXCSURFACEFORMAT_55X5);
        return weight == 0 ? d : reference::blend55X5(KXCBLEND_ALPHA, color16, d & ~0x20u, weight);
    }
    if (format == KXCSURFACEFORMAT_X888 || format == KXCSURFACEFORMAT_PREMUL8888)
    {
        UINT32 result = 0;
        for (UINT32 shift = 0; shift < 24; shift += 8)
            result |= (r((d >> shift & 0xFF) * (255 - a)) + r((color >> shift & 0xFF) * a)) << shift;
        return format == KXCSURFACEFORMAT_X888 ? result : result | (255 - r((255 - (d >> 24)) * (255 - a))) << 24;
    }
    if (a == 0)
        return d;
    const UINT32 premul = reference::convert(d, format, KXCSURFACEFORMAT_PREMUL8888);
    return reference::convert(reference::blend8888(KXCBLEND_ALPHA, 0xFF000000 | color, premul, a, false),
                              KXCSURFACEFORMAT_PREMUL8888, format);
}

TEST_F(Rasteriser, BlendsByCoverageAndOpacityOnEveryFormat)
{
    constexpr int kWidth = 40, kHeight = 24;
    reference::Noise noise;
    for (const INT32 format : reference::kFormats)
        for (const UINT32 opacity : {255u, 254u, 128u, 60u, 3u, 0u})
        {
            Canvas mask(kWidth, kHeight), canvas(kWidth, kHeight, format);
            void* locked;
            canvas.surface->lock(&locked, 0, 0);
            for (int i = 0; i < kWidth * kHeight; ++i)
                if (reference::is16Bit(format))
                    static_cast<UINT16*>(locked)[i] = static_cast<UINT16>(noise.pixel(format));
                else
                    static_cast<UINT32*>(locked)[i] = noise.pixel(format);
            canvas.surface->unlock();
            const std::vector<UINT32> before = canvas.pixels();

            const UINT32 color = noise.next() & 0xFFFFFF;
            for (Canvas* c : {&mask, &canvas})
            {
                c->t = KxcCore::getPrimitiveTranslator(); // the second canvas made it anew
                c->t->setRenderTarget(c->surface.get());
                c->t->setStrokeOff();
                c->t->setFillColor(c == &mask ? 0xFFFFFF : color);
                c->t->setFillOpacity(static_cast<UINT8>(c == &mask ? 255 : opacity));
                c->t->beginPath();
                c->add({{1.3, 1.4}, {38.2, 0.6}, {30, 11.5}, {3, 9}});
                c->add({{2, 13}, {37.4, 13}, {37.4, 23}, {2, 23}}); // rows that look alike
                c->t->endPath();
            }
            const std::vector<UINT32> coverage = mask.pixels(), after = canvas.pixels();
            for (size_t i = 0; i < after.size(); ++i)
            {
                const UINT32 ought = blended(before[i], color, coverage[i] & 0xFF, opacity, format);
                const UINT32 counts = format == KXCSURFACEFORMAT_X888 ? 0xFFFFFF : 0xFFFFFFFF;
                ASSERT_EQ(after[i] & counts, ought & counts)
                    << "format " << format << ", opacity " << opacity << ", coverage " << (coverage[i] & 0xFF);
            }
        }
}

TEST_F(Rasteriser, LeavesPalettesAloneAndSaysSo)
{
    KxcPrimitiveDraw* draw = (kxcUse2DVectorGraphics(), KxcCore::getPrimitiveDraw());
    EXPECT_TRUE(draw->getBlitFunction(KXCSURFACEFORMAT_1555) != nullptr);
    for (const INT32 format : {-1, 0, INT32(KXCSURFACEFORMAT_PALETTE8), 11, 1000})
        EXPECT_TRUE(draw->getBlitFunction(format) == nullptr) << format;
    draw->setOpacity(0);
    EXPECT_TRUE(draw->getBlitFunction(KXCSURFACEFORMAT_55X5) == nullptr);
}

TEST_F(Rasteriser, LaysColoursAndLooksThemUpAlikeOnEveryMachine)
{
    reference::Noise noise;
    std::vector<UINT32> table(513), base(67), fast;
    for (UINT32& entry : table)
        entry = noise.next();
    for (int round = 0; round < 200; ++round)
    {
        for (UINT32& p : base)
            p = noise.next();
        const INT32 count = noise.between(0, 67);
        const UINT32 keep = static_cast<UINT32>(noise.between(0, 255)), mask = round % 2 ? 511 : 255;
        fast = base;
        if (round % 4 < 2)
        {
            kxcSpanKernelsBase.mix32(base.data(), count, 0x10203040, keep);
            kxcSpanKernels().mix32(fast.data(), count, 0x10203040, keep);
        }
        else
        {
            kxcSpanKernelsBase.lookUp(base.data(), count, table.data(), mask);
            kxcSpanKernels().lookUp(fast.data(), count, table.data(), mask);
        }
        ASSERT_EQ(base, fast);
    }
}

} // namespace
