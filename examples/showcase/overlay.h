// overlay.h - what lies over the picture, all of it vector graphics: score, radar, figures, and the menu.
#pragma once

#include "world.h"

#include <kxcoreemb/kxcoreemb.h>

#include <memory>

class Overlay
{
public:
    Overlay();
    bool ready() const { return m_ready; } ///< false without memory, or without kxcUse2DVectorGraphics()

    /// @param figures  two numbers for the lower right corner, or null
    /// @param times    lines for the left edge, or null
    void draw(KxcGLSurface* screen, const World& world, const INT32* figures, const char* times);

    void toggleMenu() { m_open = !m_open; }
    /// Moves through the open menu. @return the key of the entry that was chosen, -1 when the menu took the control, 0
    /// when it is closed
    INT32 control(INT32 code);
    /// The same for a click.
    INT32 click(INT32 x, INT32 y);

private:
    void panel(KxcFixed x, KxcFixed y, KxcFixed width, KxcFixed height);
    void text(const char* text, KxcFixed x, KxcFixed y, KxcFixed size, UINT32 color);
    void drawScore(const World& world);
    void drawRadar(KxcGLSurface* screen, const World& world);
    void drawMenu();

    KxcPrimitiveTranslator* m_t;
    std::unique_ptr<KxcPrimitiveDrawLinearGradientFiller> m_glass, m_gem;
    std::unique_ptr<KxcPrimitiveDrawRadialGradientFiller> m_depth;
    bool m_ready = false, m_open = false;
    INT32 m_chosen = 0;
    INT32 m_menuX = 0, m_menuY = 0;
};
