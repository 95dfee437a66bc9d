// workshop.h - a screen that works on a picture of the landscape, with gliders as encoded sprites on top.
#pragma once

#include <kxcoreemb/kxcoreemb.h>

#include <memory>

class Workshop
{
public:
    /// Makes the sprites. @param hero  the glider, nose up, in its first cell of 32x32. @param lights  in cells of
    /// 48x48
    /// @return false without memory
    bool load(KxcGLSurface* hero, KxcGLSurface* lights);

    bool isOpen() const { return m_picture != nullptr; }
    /// Opens the workshop with what the screen shows, or closes it.
    void toggle(KxcGLSurface* screen);
    void draw(KxcGLSurface* screen);

private:
    typedef std::unique_ptr<KxcGLSurface> Surface;

    void drawResampled(KxcGLSurface* screen, INT32 x, INT32 y);
    void drawDithered(KxcGLSurface* screen, INT32 x, INT32 y, UINT32 levels, INT32 method);
    void drawSprites(KxcGLSurface* screen);

    static constexpr INT32 kHeadings = 16;
    std::unique_ptr<KxcRLESprite> m_gliders[kHeadings], m_light;
    Surface m_picture; // null while the workshop is closed
    INT32 m_frame = 0;
};
