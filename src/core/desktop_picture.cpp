// desktop_picture.cpp - lays out the window around the game's screen and paints what surrounds it.

#include "core/desktop_picture.h"

#include <kxcoreemb/image_loader.h>

#include <cstdlib>
#include <cstring>
#include <new>

static constexpr char kSkinName[] = "kestrix_skin.pcx";
static constexpr INT32 kLeastMargin = 2 * 20; // both sides together
static constexpr INT32 kRim = 18;             // the lighter edge of the grey texture
static constexpr INT32 kLargestSide = 0x4000; // keeps positions in 16 signed bits, and the pixels countable

static INT32 clampSide(INT32 side) { return side < 0 ? 0 : side > kLargestSide ? kLargestSide : side; }

void KxcDesktopPicture::layOut(INT32 screenWidth, INT32 screenHeight)
{
    m_screenWidth = clampSide(screenWidth);
    m_screenHeight = clampSide(screenHeight);
    INT32 skinWidth = 0, skinHeight = 0;
    KxcImageLoader::loadImageInfo(kSkinName, &skinWidth, &skinHeight, nullptr, nullptr);
    m_width = m_screenWidth + kLeastMargin;
    m_height = m_screenHeight + kLeastMargin;
    if (skinWidth >= m_width && skinHeight >= m_height && skinWidth <= kLargestSide && skinHeight <= kLargestSide)
    {
        m_width = skinWidth;
        m_height = skinHeight;
    }
    m_screenX = (m_width - m_screenWidth) / 2;
    m_screenY = (m_height - m_screenHeight) / 2;
}

void KxcDesktopPicture::create()
{
    destroy();
    m_pixels = new (std::nothrow) UINT16[static_cast<size_t>(m_width) * static_cast<size_t>(m_height)]();
    if (m_pixels && !loadSkin())
        makeTexture();
}

void KxcDesktopPicture::destroy()
{
    delete[] m_pixels;
    m_pixels = nullptr;
}

bool KxcDesktopPicture::loadSkin()
{
    // Measured anew: the file may have changed since layOut, and the pixels are no larger than what it found then.
    INT32 skinWidth = 0, skinHeight = 0;
    KxcImageLoader::loadImageInfo(kSkinName, &skinWidth, &skinHeight, nullptr, nullptr);
    return skinWidth == m_width && skinHeight == m_height &&
           KxcImageLoader::loadImageToBuffer(kSkinName, m_pixels, m_width * 2, 0);
}

// Brushed metal: random greys smeared along the rows, their differences against the row below taken as relief. The
// pixels count as one sequence without rows, and as signed numbers until the last step.
void KxcDesktopPicture::makeTexture()
{
    INT16* v = reinterpret_cast<INT16*>(m_pixels);
    const INT32 count = m_width * m_height;
    for (INT32 i = 0; i < count; ++i)
        v[i] = static_cast<INT16>(std::rand() & 31);
    for (INT32 pass = 0; pass < 4; ++pass)
        for (INT32 i = 2; i < count; ++i)
            v[i - 1] = static_cast<INT16>((v[i - 1] + v[i - 2]) / 2);
    const INT32 below = m_width + 1; // and one to the right
    for (INT32 i = below; i < count; ++i)
        v[i - below] = static_cast<INT16>((v[i - below] - v[i]) / 2 + 15);
    for (INT32 y = 0, i = 0; y < m_height; ++y)
        for (INT32 x = 0; x < m_width; ++x, ++i)
        {
            bool rim = x < kRim || x > m_width - kRim - 1 || y < kRim || y > m_height - kRim - 1;
            UINT32 grey = static_cast<UINT32>(v[i] + (rim ? 8 : 0)); // can pass 31, whose top bits then drop out
            m_pixels[i] = static_cast<UINT16>(grey << 11 | grey << 6 | grey);
        }
}

void KxcDesktopPicture::showFrame(const UINT16* frame)
{
    if (!m_pixels)
        return;
    const size_t rowPixels = static_cast<size_t>(m_screenWidth);
    UINT16* row = m_pixels + static_cast<size_t>(m_screenY) * static_cast<size_t>(m_width) + m_screenX;
    for (INT32 y = 0; y < m_screenHeight; ++y, row += m_width, frame += rowPixels)
        std::memcpy(row, frame, rowPixels * sizeof *row);
}

bool KxcDesktopPicture::toScreen(INT32& x, INT32& y) const
{
    x -= m_screenX;
    y -= m_screenY;
    return x >= 0 && x < m_screenWidth && y >= 0 && y < m_screenHeight;
}
