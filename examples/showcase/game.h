// game.h - the showcase's game object: it loads the pictures, takes the input and draws the frame.
#pragma once

#include "world.h"

#include <memory>

class Game : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    /// @param fixedStepMs  how far a frame moves the world; 0 for as much time as has passed
    explicit Game(INT32 fixedStepMs);

    bool ready() const { return m_ready; } ///< false when a picture is missing; the reason is on stderr
    const World& world() const { return m_world; }

    void onTick() override;
    void render() override;

    void onControlDown(INT32 code) override;
    void onControlUp(INT32 code) override;
    void onKeyDown(INT32 code) override;
    void onPointerDown(INT32 x, INT32 y) override;
    void onPointerMove(INT32 x, INT32 y) override;

private:
    typedef std::unique_ptr<KxcGLSurface> Surface;

    Surface loadPicture(const char* name, INT32 format);
    void addButtons();
    void drawGround(KxcGLSurface* screen);
    void drawThings(KxcGLSurface* screen);
    void drawHero(KxcGLSurface* screen);
    void drawButtons(KxcGLSurface* screen);
    void drawPanel(KxcGLSurface* screen);

    INT32 m_fixedStepMs;
    INT32 m_lastTick = 0;
    bool m_ready = false;
    World m_world;
    INT32 m_held[4] = {};        // how many keys hold left, right, up and down
    INT32 m_left = 0, m_top = 0; // the world's pixel at the screen's corner

    std::unique_ptr<KxcGL> m_gl;
    Surface m_tiles, m_sheets[SHEET_COUNT], m_hero, m_pad;
};
