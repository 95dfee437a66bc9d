// golden_vector_test.cpp - paths on surfaces of several formats: fills, strokes and dashes, gradients, images and
// patterns.
#include "golden/golden.h"

namespace
{

constexpr INT32 kWidth = 150, kHeight = 110;

struct GoldenVector : testing::TestWithParam<INT32>
{
    GoldenVector() : surface(noisySurface(kWidth, kHeight, GetParam()))
    {
        kxcUse2DVectorGraphics();
        path = KxcCore::getPrimitiveTranslator();
        path->setRenderTarget(surface.get());
        path->setStrokeOff();
    }
    KxcVector2 point() { return {noise.fixed(-30, kWidth + 30), noise.fixed(-30, kHeight + 30)}; }
    /// A path of every kind of command that crosses itself.
    void wander(bool close)
    {
        path->beginPath();
        const KxcVector2 p[] = {point(), point(), point(), point(), point(), point(),
                                point(), point(), point(), point(), point()};
        const KxcVector2 radii = {noise.fixed(5, 60), noise.fixed(5, 60)};
        const KxcFixed rotation = noise.fixed(0, 6);
        path->moveToAbsolute(p[0]);
        path->lineToAbsolute(p[1]);
        path->curveToAbsolute(p[2], p[3], p[4]);
        path->smoothCurveToAbsolute(p[5], p[6]);
        path->quadraticCurveToAbsolute(p[7], p[8]);
        path->smoothQuadraticCurveToAbsolute(p[9]);
        path->ellipticalArcAbsolute(radii, rotation, static_cast<UINT32>(noise.below(4)), p[10]);
        path->horizontalLineToRelative(noise.fixed(-20, 20));
        if (close)
            path->closePath();
    }
    /// @param i  counts the transformations: the first is none
    void transform(INT32 i)
    {
        KxcMatrix3 m;
        KxcMath::matrixRotation2D(m, KxcFixed::fromRaw(i * 0x1C000));
        KxcMath::matrixScale2D(m, KxcFixed::fromRaw(0x10000 - i * 0x2000));
        path->setTransformation(KxcMath::matrixTranslate2D(m, {KxcFixed(i * 7), KxcFixed(-i * 5)}));
    }
    void expect(const std::string& name)
    {
        Checksum sum;
        sum.add(*surface);
        expectGolden(name + " on format " + std::to_string(GetParam()), sum);
    }

    Engine engine;
    Noise noise;
    std::unique_ptr<KxcGLSurface> surface;
    KxcPrimitiveTranslator* path;
};

} // namespace

TEST_P(GoldenVector, Fills)
{
    for (INT32 i = 0; i < 12; ++i)
    {
        const KxcRectangle clip = {20, 10, 90, 80};
        path->setClipRect(i % 4 == 3 ? &clip : nullptr);
        path->setAntialiasing(i % 5 != 4);
        path->setFillRule(i & 1);
        path->setFillColor(noise.next());
        path->setFillOpacity(static_cast<UINT8>(i % 3 ? 60 + 15 * i : 255));
        transform(i % 4);
        wander(i & 2);
        path->endPath();
    }
    expect("fills");
}

TEST_P(GoldenVector, StrokesAndDashes)
{
    const KxcFixed dashes[] = {KxcFixed(9), KxcFixed(4), KxcFixed(2), KxcFixed(5)};
    path->setFillOff();
    for (INT32 i = 0; i < 18; ++i)
    {
        path->setStrokeColor(noise.next());
        path->setStrokeOpacity(static_cast<UINT8>(255 - 9 * i));
        path->setStrokeWidth(KxcFixed::fromRaw(0x3000 + i * 0x9000));
        path->setLineCap(i % 3);
        path->setLineJoin(i / 3 % 3);
        path->setMiterLimit(KxcFixed(1 + i));
        path->setDashArray(dashes, i & 1 ? 4 : 0);
        path->setDashOffset(KxcFixed(i));
        transform(i % 4);
        wander(i & 2);
        path->endPath();
    }
    expect("strokes");
    if (GetParam() != KXCSURFACEFORMAT_55X5)
        return; // places have no format
    Checksum places;
    for (INT32 i = 0; i <= 16; ++i)
    {
        KxcVector2 place, direction;
        path->getEdgeInfo(KxcFixed::fromRaw(i << 12), &place, &direction);
        for (KxcFixed f : {place.x, place.y, direction.x, direction.y})
            places.add(f);
    }
    expectGolden("places on a path", places);
}

TEST_P(GoldenVector, Paints)
{
    const std::unique_ptr<KxcGLSurface> picture = noisySurface(40, 30, KXCSURFACEFORMAT_8888);
    const std::unique_ptr<KxcPrimitiveDrawLinearGradientFiller> linear(
        KxcPrimitiveDrawLinearGradientFiller::create({20, 30}, {90, 70}));
    const std::unique_ptr<KxcPrimitiveDrawRadialGradientFiller> radial(
        KxcPrimitiveDrawRadialGradientFiller::create({60, 50}, {70, 60}, 30));
    const std::unique_ptr<KxcPrimitiveDrawImageFiller> image(
        KxcPrimitiveDrawImageFiller::create(picture.get(), 30, 20));
    const std::unique_ptr<KxcPrimitiveDrawPatternFiller> pattern(
        KxcPrimitiveDrawPatternFiller::create(picture.get(), {3, 4, 21, 17}));
    for (KxcPrimitiveDrawGradientFiller* gradient : {static_cast<KxcPrimitiveDrawGradientFiller*>(linear.get()),
                                                     static_cast<KxcPrimitiveDrawGradientFiller*>(radial.get())})
        for (INT32 i = 0; i < 5; ++i)
            gradient->addGradientStop(KxcFixed::fromRaw(i * 0x3000), noise.next());
    for (INT32 i = 0; i < 15; ++i)
    {
        KxcMatrix3 turned;
        KxcMath::matrixRotation2D(turned, KxcFixed(i));
        linear->setSpreadMethod(i % 3), radial->setSpreadMethod(i % 3);
        linear->setGradientTransformation(turned), radial->setGradientTransformation(turned);
        pattern->setPatternTransformation(KxcMath::matrixScale2D(turned, KxcFixed::fromRaw(0x6000 * (1 + i % 5))));
        transform(i % 4);
        switch (i % 5)
        {
        case 0:
            path->setFillGradient(linear.get());
            break;
        case 1:
            path->setFillGradient(radial.get());
            break;
        case 2:
            path->setFillImage(image.get());
            break;
        case 3:
            path->setFillPattern(pattern.get());
            break;
        default:
            path->setStrokeGradient(linear.get()), path->setStrokeWidth(4);
            break;
        }
        path->setFillOpacity(static_cast<UINT8>(i & 1 ? 255 : 150));
        wander(true);
        path->endPath();
    }
    expect("paints");
    path->setRenderTarget(nullptr);
}

INSTANTIATE_TEST_SUITE_P(, GoldenVector,
                         testing::Values(KXCSURFACEFORMAT_565, KXCSURFACEFORMAT_X888, KXCSURFACEFORMAT_8888,
                                         KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_PREMUL8888));
