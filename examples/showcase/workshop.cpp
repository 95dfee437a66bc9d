// workshop.cpp - six pictures: as it was, resampled, turned, skewed and dithered twice; each frame makes them anew.
#include "workshop.h"

#include <initializer_list>

namespace
{

constexpr INT32 kColumns = 3, kRows = 2, kGap = 4;
constexpr UINT32 kGround = 0xFF182028, kTransparent = 0;
constexpr KxcFixed kTurn = KxcFixed::fromRaw(411775); // 2 pi

/// Where in the screen a cell's middle lies.
INT32 middle(INT32 index, INT32 count, INT32 size) { return (2 * index + 1) * size / (2 * count); }

/// One cell of a sheet as a surface of its own, with soft edges.
std::unique_ptr<KxcGLSurface> cellOf(KxcGLSurface* sheet, INT32 size)
{
    std::unique_ptr<KxcGLSurface> cell(KxcGLSurface::create(size, size, KXCSURFACEFORMAT_PREMUL8888));
    if (cell)
    {
        cell->clear(kTransparent);
        cell->drawImage(sheet, 0, 0, KxcRectangle{0, 0, size, size});
    }
    return cell;
}

std::unique_ptr<KxcRLESprite> spriteOf(KxcGLSurface* picture)
{
    return std::unique_ptr<KxcRLESprite>(KxcRLESprite::create(picture, 0xFF000000, kTransparent)); // what has no alpha
}

void drawCentred(KxcGLSurface* screen, const std::unique_ptr<KxcGLSurface>& picture, INT32 x, INT32 y)
{
    if (picture)
        screen->drawImage(picture.get(), x - picture->getWidth() / 2, y - picture->getHeight() / 2);
}

} // namespace

bool Workshop::load(KxcGLSurface* hero, KxcGLSurface* lights)
{
    const Surface glider = cellOf(hero, 32), light = cellOf(lights, 48);
    if (!glider || !light)
        return false;
    m_light = spriteOf(light.get());
    bool loaded = m_light != nullptr;
    for (INT32 i = 0; loaded && i < kHeadings; ++i)
    {
        const Surface turned(KxcGLSurfaceToolkit::rotateSurface(glider.get(), kTurn * KxcFixed(i) / kHeadings));
        m_gliders[i] = turned ? spriteOf(turned.get()) : nullptr;
        loaded = m_gliders[i] != nullptr;
        if (loaded) // the origin goes to the middle
        {
            m_gliders[i]->setXOffset(m_gliders[i]->getXOffset() - turned->getWidth() / 2);
            m_gliders[i]->setYOffset(m_gliders[i]->getYOffset() - turned->getHeight() / 2);
        }
    }
    return loaded;
}

void Workshop::toggle(KxcGLSurface* screen)
{
    const INT32 width = screen->getWidth() / kColumns - kGap, height = screen->getHeight() / kRows - kGap;
    const Surface small(isOpen() ? nullptr : KxcGLSurfaceToolkit::resampleSurface(screen, width, height));
    m_picture.reset(small ? KxcGLSurface::create(width, height, KXCSURFACEFORMAT_PREMUL8888) : nullptr);
    if (m_picture) // with an alpha, so that what is turned has soft edges
        m_picture->drawImage(small.get());
    m_frame = 0;
}

void Workshop::draw(KxcGLSurface* screen)
{
    screen->clear(kGround);
    const auto x = [screen](INT32 column) { return middle(column, kColumns, screen->getWidth()); };
    const auto y = [screen](INT32 row) { return middle(row, kRows, screen->getHeight()); };
    const KxcFixed swing = KxcMath::sin(kTurn * KxcFixed(m_frame) / 200);

    drawCentred(screen, m_picture, x(0), y(0));
    drawResampled(screen, x(1), y(0));
    const KxcFixed scale = KxcFixed(0.7);
    KxcMatrix3 m;
    KxcVector2 origin;
    KxcMath::matrixScale2D(KxcMath::matrixRotation2D(m, kTurn * KxcFixed(m_frame) / 400), scale);
    drawCentred(screen, Surface(KxcGLSurfaceToolkit::transformSurface(m_picture.get(), m, origin)), x(2), y(0));

    const Surface small(KxcGLSurfaceToolkit::resampleSurface(m_picture.get(), scale, scale));
    if (small)
        drawCentred(screen, Surface(KxcGLSurfaceToolkit::skewSurface(small.get(), swing / 2, swing / 4)), x(0), y(1));
    drawDithered(screen, x(1), y(1), 0x01010101, KXCDITHER_ERRORDIFFUSION);
    drawDithered(screen, x(2), y(1), 0x01030303, KXCDITHER_ORDERED);
    drawSprites(screen);
    ++m_frame;
}

/// A sixth of the size and back: on the left by repeated pixels, on the right by mixed ones.
void Workshop::drawResampled(KxcGLSurface* screen, INT32 x, INT32 y)
{
    const INT32 width = m_picture->getWidth(), height = m_picture->getHeight();
    const Surface small(KxcGLSurfaceToolkit::resampleSurface(m_picture.get(), width / 6, height / 6));
    const Surface smooth(small ? KxcGLSurfaceToolkit::resampleSurface(small.get(), width, height) : nullptr);
    if (!smooth)
        return;
    screen->drawImage(small.get(), x - width / 2, y - height / 2, width, height);
    screen->drawImage(smooth.get(), x, y - height / 2, KxcRectangle{width / 2, 0, width, height});
}

/// With few colours left: on the left as the nearest ones, on the right dithered.
void Workshop::drawDithered(KxcGLSurface* screen, INT32 x, INT32 y, UINT32 levels, INT32 method)
{
    const INT32 width = m_picture->getWidth(), height = m_picture->getHeight();
    for (INT32 half : {0, 1})
    {
        const Surface copy(KxcGLSurfaceToolkit::skewSurface(m_picture.get(), 0, 0));
        if (!copy)
            return;
        KxcGLSurfaceToolkit::ditherSurface(copy.get(), levels, half ? method : INT32{KXCDITHER_NONE});
        screen->drawImage(copy.get(), x - (half ? 0 : width / 2), y - height / 2,
                          KxcRectangle{half * width / 2, 0, width / 2, height});
    }
}

/// Gliders on a round trip, each with its light, the way they look.
void Workshop::drawSprites(KxcGLSurface* screen)
{
    constexpr INT32 kGliders = 8;
    for (INT32 i = 0; i < kGliders; ++i)
    {
        const INT32 step = (m_frame + i * 400 / kGliders) % 400;
        const KxcFixed angle = kTurn * KxcFixed(step) / 400;
        const INT32 x =
            screen->getWidth() / 2 + static_cast<INT32>(KxcMath::cos(angle) * KxcFixed(screen->getWidth() * 2 / 5));
        const INT32 y =
            screen->getHeight() / 2 + static_cast<INT32>(KxcMath::sin(angle) * KxcFixed(screen->getHeight() * 2 / 5));
        const INT32 heading = (step * kHeadings / 400 + kHeadings / 2) % kHeadings;
        m_light->blitAdditive(screen, nullptr, x - 24, y - 24, 20);
        m_gliders[heading]->blit(screen, nullptr, x, y, KXCBLEND_NONE, 255);
    }
}
