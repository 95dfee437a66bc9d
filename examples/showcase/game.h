// game.h - the showcase's game object: it loads the pictures, takes the input and draws the frame.
#pragma once

#include "landscape.h"
#include "overlay.h"
#include "sound.h"
#include "workshop.h"
#include "world.h"

#include <memory>
#include <string>

class Game : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    /// @param fixedStepMs  how far a frame moves the world; 0 for as much time as has passed
    /// @param device  the name of a graphics device
    Game(INT32 fixedStepMs, const char* device);

    bool ready() const { return m_ready; } ///< false when a picture is missing; the reason is on stderr
    const World& world() const { return m_world; }
    const Soundscape& sound() const { return m_sound; }

    void showLandscape(bool show) { m_inDepth = show; } ///< or the map from above
    void onTick() override;
    void render() override;

    void onControlDown(INT32 code) override;
    void onControlUp(INT32 code) override;
    void onKeyDown(INT32 code) override;
    void onPointerDown(INT32 x, INT32 y) override;
    void onPointerMove(INT32 x, INT32 y) override;

private:
    typedef std::unique_ptr<KxcGLSurface> Surface;

    void changeDevice(UINT32 deviceId, UINT32 flags);
    Surface loadPicture(const char* name, INT32 format);
    void addButtons();
    void drawGround(KxcGLSurface* screen);
    void drawThings(KxcGLSurface* screen);
    void drawHero(KxcGLSurface* screen);
    void drawButtons(KxcGLSurface* screen);

    INT32 m_fixedStepMs;
    INT32 m_lastTick = 0;
    bool m_ready = false;
    World m_world;
    Landscape m_landscape;
    Soundscape m_sound;
    Overlay m_overlay;
    Workshop m_workshop;
    bool m_showTimes = false;
    std::string m_times; // of the last frame
    bool m_inDepth = true;
    UINT32 m_deviceFlags = 0;
    INT32 m_frameTenths = 0;     // of a millisecond, averaged
    INT32 m_held[4] = {};        // how many keys hold left, right, up and down
    INT32 m_left = 0, m_top = 0; // the world's pixel at the screen's corner

    std::unique_ptr<KxcGL> m_gl;
    Surface m_tiles, m_sheets[SHEET_COUNT], m_hero, m_pad;
};
