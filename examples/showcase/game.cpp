// game.cpp - loads, plays and draws the showcase.
#include "game.h"

#include <cstdio>
#include <initializer_list>

namespace
{

constexpr INT32 kFrameMs = 16, kLongestStepMs = 100;
constexpr INT32 kHeroSize = 32, kShadowDrop = 14;
constexpr INT32 kCellSizes[SHEET_COUNT] = {32, 48};

// Virtual-key codes.
enum : INT32
{
    KEY_TAB = 9,
    KEY_RETURN = 13,
    KEY_ESCAPE = 27,
    KEY_LEFT = 37,
    KEY_UP = 38,
    KEY_RIGHT = 39,
    KEY_DOWN = 40
};

constexpr INT32 kButtonSize = 40, kButtonMargin = 6;

/// A screen button: the picture's cell and how it is turned, where it lies (negative: from the right or bottom edge).
struct Button
{
    INT32 key, cell;
    UINT32 transform;
    INT32 x, y;
};
constexpr Button kButtons[] = {
    {KEY_LEFT, 0, KXCTRANSFORM_ROTATE90, kButtonMargin, -86},
    {KEY_RIGHT, 0, KXCTRANSFORM_ROTATE270, kButtonMargin + 80, -86},
    {KEY_UP, 0, 0, kButtonMargin + 40, -126},
    {KEY_DOWN, 0, KXCTRANSFORM_ROTATE180, kButtonMargin + 40, -46},
    {KEY_RETURN, 1, 0, -46, -86},
};

KxcRectangle buttonRectangle(const Button& button)
{
    const INT32 x = button.x < 0 ? KxcCore::getDeviceWidth() + button.x : button.x;
    const INT32 y = button.y < 0 ? KxcCore::getDeviceHeight() + button.y : button.y;
    return {x, y, kButtonSize, kButtonSize};
}

bool onButton(INT32 x, INT32 y)
{
    for (const Button& button : kButtons)
    {
        const KxcRectangle r = buttonRectangle(button);
        if (x >= r.x && y >= r.y && x <= r.x + r.width && y <= r.y + r.height)
            return true;
    }
    return false;
}

/// The id of a device variant; one that nothing has where there is none of that name.
UINT32 deviceNamed(const char* name)
{
    for (const KxcGLDeviceInfo* info = KxcGL::getDeviceInfo(); info; info = info->next)
        if (KxcStringToolkit::compareIgnoreCase(info->name, name) == 0)
            return info->deviceId;
    return 2;
}

KxcRectangle cellOf(INT32 cell, INT32 size) { return {cell * size, 0, size, size}; }

INT32 whole(KxcFixed value) { return static_cast<INT32>(value); }

} // namespace

Game::Game(INT32 fixedStepMs, const char* device)
    : m_fixedStepMs(fixedStepMs),
      m_gl(KxcGL::create(deviceNamed(device), 0))
{
    if (!m_gl)
        std::fprintf(stderr, "showcase: there is no graphics device \"%s\"\n", device);
    kxcGLUseDefaults();           // not every variant brings the fillers along
    KxcCore::openCFL("data.cfl"); // where a picture is missing from it and from the disk, loadPicture() says so
    m_tiles = loadPicture("data/tiles.tga", KXCSURFACEFORMAT_55X5);
    m_sheets[SHEET_GEMS] = loadPicture("data/gems.pcx", KXCSURFACEFORMAT_55X5);
    m_sheets[SHEET_LIGHTS] = loadPicture("data/lights.tga", KXCSURFACEFORMAT_PREMUL8888);
    m_hero = loadPicture("data/hero.tga", KXCSURFACEFORMAT_PREMUL8888);
    m_pad = loadPicture("data/pad.tga", KXCSURFACEFORMAT_PREMUL8888);
    m_ready = m_gl && m_tiles && m_sheets[SHEET_GEMS] && m_sheets[SHEET_LIGHTS] && m_hero && m_pad;
    m_ready = m_ready && m_landscape.load() && m_overlay.ready() &&
              m_workshop.load(m_hero.get(), m_sheets[SHEET_LIGHTS].get());
    if (!m_ready)
        return;
    m_landscape.setUp(m_gl.get());
    m_sheets[SHEET_GEMS]->setColorKey(0xFF00FF);
    m_sheets[SHEET_GEMS]->enableColorKey(1);
    addButtons();
    m_sound.start(m_world);
    KxcCore::setRenderer(this);
    KxcCore::setController(this);
}

Game::Surface Game::loadPicture(const char* name, INT32 format)
{
    Surface surface(KxcImageLoader::load(name, format));
    if (!surface)
        std::fprintf(stderr, "showcase: %s is missing or damaged; build the project again\n", name);
    return surface;
}

void Game::addButtons()
{
    for (const Button& button : kButtons)
        KxcCore::addScreenButton(buttonRectangle(button), button.key);
}

void Game::onTick()
{
    INT32 step = m_fixedStepMs;
    if (step == 0)
    {
        // On a desktop, time passes by itself; rest when the frame was quick.
        const INT32 passed = KxcCore::getTick() - m_lastTick;
        if (passed < kFrameMs)
            KxcCore::sleep(kFrameMs - passed);
        const INT32 now = KxcCore::getTick();
        step = now - m_lastTick < kLongestStepMs ? now - m_lastTick : kLongestStepMs;
        m_lastTick = now;
    }
    m_frameTenths += (step * 10 - m_frameTenths) / 8;
    const auto direction = [this](INT32 less, INT32 more) { return (m_held[more] > 0) - (m_held[less] > 0); };
    m_world.advance(step, direction(KXCCTRL_LEFT - KXCCTRL_LEFT, KXCCTRL_RIGHT - KXCCTRL_LEFT),
                    direction(KXCCTRL_UP - KXCCTRL_LEFT, KXCCTRL_DOWN - KXCCTRL_LEFT));
    m_sound.advance(m_world, step);
}

void Game::onKeyDown(INT32 code)
{
    const KxcGLDeviceInfo* device = KxcGL::getCurrentDeviceInfo();
    switch (code)
    {
    case KEY_ESCAPE:
        KxcCore::quit();
    case KEY_TAB:
        m_overlay.toggleMenu();
        break;
    case 'V':
        m_inDepth = !m_inDepth;
        break;
    case 'P':
        m_landscape.togglePerspective();
        break;
    case 'W':
        m_landscape.toggleWireframe();
        break;
    case 'M':
        m_sound.toggleMusic();
        break;
    case 'T':
        m_showTimes = !m_showTimes;
        m_times.clear();
        KxcProfiler::initEventLog();
        break;
    case 'B':
        m_workshop.toggle(m_gl->getSecondary());
        break;
    case 'N':
        changeDevice((device->next ? device->next : KxcGL::getDeviceInfo())->deviceId, m_deviceFlags);
        break;
    case 'O':
        changeDevice(device->deviceId, m_deviceFlags ^ KXCGLCREATE_PORTRAIT);
        break;
    default:
        break;
    }
}

void Game::changeDevice(UINT32 deviceId, UINT32 flags)
{
    if (!m_gl->recreate(deviceId, flags))
        KxcCore::systemPanic("The graphics device cannot be made: memory is short.");
    kxcGLUseDefaults();
    m_deviceFlags = flags;
    m_landscape.setUp(m_gl.get());
    KxcCore::resetScreenButtons();
    addButtons();
}

void Game::onControlDown(INT32 code)
{
    if (const INT32 key = m_overlay.control(code))
        return onKeyDown(key);
    if (code >= KXCCTRL_LEFT && code <= KXCCTRL_DOWN)
        m_held[code - KXCCTRL_LEFT] = 1;
    if (code == KXCCTRL_BUTTON1)
    {
        m_world.burst();
        m_sound.burst();
    }
}

void Game::onControlUp(INT32 code)
{
    if (code >= KXCCTRL_LEFT && code <= KXCCTRL_DOWN)
        m_held[code - KXCCTRL_LEFT] = 0;
}

void Game::onPointerDown(INT32 x, INT32 y)
{
    if (const INT32 key = m_overlay.click(x, y))
        onKeyDown(key);
    else
        onPointerMove(x, y);
}

void Game::onPointerMove(INT32 x, INT32 y)
{
    if (!onButton(x, y))
        m_world.flyTo(KxcFixed(m_left + x), KxcFixed(m_top + y));
}

void Game::render()
{
    KxcProfiler::resetEvent("IDLE ", "SCENE ");
    KxcGLSurface* screen = m_gl->getSecondary();
    m_left = whole(m_world.heroX()) - screen->getWidth() / 2;
    m_top = whole(m_world.heroY()) - screen->getHeight() / 2;
    if (m_workshop.isOpen())
        m_workshop.draw(screen);
    else if (m_inDepth)
        m_landscape.draw(m_gl.get(), m_world);
    else
    {
        drawGround(screen);
        drawThings(screen);
        drawHero(screen);
    }
    drawButtons(screen);
    const INT32 figures[2] = {m_frameTenths, m_landscape.triangles()};
    KxcProfiler::addEvent("PANELS ");
    m_overlay.draw(screen, m_world, m_inDepth ? figures : nullptr, m_showTimes ? m_times.c_str() : nullptr);
    KxcProfiler::frameEvent(0);
    if (m_showTimes && KxcProfiler::getEventLog())
        m_times = KxcProfiler::getEventLog();
}

void Game::drawGround(KxcGLSurface* screen)
{
    constexpr INT32 kTile = World::kTile;
    const INT32 firstX = m_left >> 4, firstY = m_top >> 4; // tiles of 16 pixels
    static_assert(kTile == 16, "shifted above");
    for (INT32 y = firstY; y * kTile < m_top + screen->getHeight(); ++y)
        for (INT32 x = firstX; x * kTile < m_left + screen->getWidth(); ++x)
            screen->drawImage(
                m_tiles.get(), x * kTile - m_left, y * kTile - m_top,
                KxcRectangle{m_world.ground(x, y) * kTile, m_world.groundVariant(x, y) * kTile, kTile, kTile});
}

void Game::drawThings(KxcGLSurface* screen)
{
    const INT32 centreX = screen->getWidth() / 2, centreY = screen->getHeight() / 2;
    for (INT32 i = 0; i < World::kThings; ++i)
    {
        const Thing& thing = m_world.things()[i];
        if (thing.taken)
            continue;
        const INT32 x = centreX + whole(m_world.toThingX(thing)) - thing.size / 2;
        const INT32 y = centreY + whole(m_world.toThingY(thing)) - thing.size / 2;
        screen->drawImageTransformBlend(m_sheets[thing.sheet].get(), x, y, cellOf(thing.cell, kCellSizes[thing.sheet]),
                                        thing.size, thing.size, thing.blend, thing.value, thing.transform);
    }
}

void Game::drawHero(KxcGLSurface* screen)
{
    static constexpr UINT32 kTurns[] = {0, KXCTRANSFORM_ROTATE90, KXCTRANSFORM_ROTATE180, KXCTRANSFORM_ROTATE270};
    const UINT32 turn = kTurns[m_world.heading()];
    const INT32 x = (screen->getWidth() - kHeroSize) / 2, y = (screen->getHeight() - kHeroSize) / 2;
    screen->drawImageTransformBlend(m_hero.get(), x + kShadowDrop, y + kShadowDrop, cellOf(1, kHeroSize), KXCBLEND_NONE,
                                    0, turn);
    const INT32 glow = kHeroSize * 3;
    screen->drawImageBlend(m_sheets[SHEET_LIGHTS].get(), x - kHeroSize, y - kHeroSize, cellOf(0, 48), glow, glow,
                           KXCBLEND_ADD, 70);
    screen->drawImageTransformBlend(m_hero.get(), x, y, cellOf(0, kHeroSize), KXCBLEND_NONE, 0, turn);
}

void Game::drawButtons(KxcGLSurface* screen)
{
    for (const Button& button : kButtons)
    {
        const KxcRectangle r = buttonRectangle(button);
        screen->drawImageTransformBlend(m_pad.get(), r.x, r.y, cellOf(button.cell, kButtonSize), KXCBLEND_ALPHA, 200,
                                        button.transform);
    }
}
