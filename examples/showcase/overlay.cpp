// overlay.cpp - panels, gauges and letters made of paths.
#include "overlay.h"

#include <cstring>
#include <string>

#include <initializer_list>

namespace
{

constexpr INT32 kMargin = 6, kGems = 10, kGemStep = 15;
constexpr INT32 kRadar = 64, kRadarScale = World::kAirSize / kRadar + 1;
constexpr INT32 kMenuWidth = 176, kMenuRow = 22, kMenuTop = 34;
constexpr UINT32 kInk = 0xF0F4FF, kGold = 0xFFD860;

struct MenuEntry
{
    const char* text;
    INT32 key; // what it stands for
};
constexpr MenuEntry kMenu[] = {
    {"LANDSCAPE OR MAP", 'V'}, {"PERSPECTIVE", 'P'}, {"WIRES", 'W'},          {"MUSIC", 'M'}, {"TIMES", 'T'},
    {"WORKSHOP", 'B'},         {"NEXT DEVICE", 'N'}, {"TURN THE FRAME", 'O'}, {"QUIT", 27}};
constexpr INT32 kMenuRows = sizeof(kMenu) / sizeof(kMenu[0]);

/// Letters as lines between points of a grid 4 wide and 6 high: a column and a row for each, a space lifts the pen.
const char* glyph(char c)
{
    static constexpr const char* kDigits[] = {
        "103041453616050110",          "112026",   "01103041420646",
        "01103041423323 334445361605", "36300444", "400003334445361605",
        "4130100105163645443303",      "004016",   "103041423313020110 1304051636454433",
        "0516364541301001021343"};
    static constexpr const char* kLetters[] = {"0602204246 0444",
                                               "0006 003041423303 0333444536 3606",
                                               "4130100105163645",
                                               "00062644422000",
                                               "40000646 0333",
                                               "400006 0333",
                                               "41301001051636454323",
                                               "0006 4046 0343",
                                               "2026",
                                               "4045361605",
                                               "0006 400346",
                                               "000646",
                                               "0600234046",
                                               "06004640",
                                               "103041453616050110",
                                               "06003041423303",
                                               "103041453616050110 2446",
                                               "06003041423303 2346",
                                               "413010010213334445361605",
                                               "0040 2026",
                                               "000516364540",
                                               "002640",
                                               "0016233640",
                                               "0046 4006",
                                               "002340 2326",
                                               "00400646"};
    return c >= '0' && c <= '9'   ? kDigits[c - '0']
           : c >= 'A' && c <= 'Z' ? kLetters[c - 'A']
           : c >= 'a' && c <= 'z' ? kLetters[c - 'a']
                                  : "";
}

KxcFixed part(INT32 whole, INT32 parts) { return KxcFixed(whole) / parts; }

void circle(KxcPrimitiveTranslator* t, KxcFixed x, KxcFixed y, KxcFixed r)
{
    t->moveToAbsolute(x - r, y);
    t->ellipticalArcAbsolute(r, r, 0, KXCARC_SWEEP, x + r, y);
    t->ellipticalArcAbsolute(r, r, 0, KXCARC_SWEEP, x - r, y);
    t->closePath();
}

} // namespace

Overlay::Overlay() : m_t(KxcCore::getPrimitiveTranslator())
{
    const KxcVector2 origin = {0, 0}, down = {0, 1};
    m_glass.reset(KxcPrimitiveDrawLinearGradientFiller::create(origin, down));
    m_gem.reset(KxcPrimitiveDrawLinearGradientFiller::create(origin, down));
    m_depth.reset(KxcPrimitiveDrawRadialGradientFiller::create(origin, origin, part(kRadar, 2)));
    m_ready = m_t && KxcCore::getPrimitiveDraw() && m_glass && m_gem && m_depth;
    if (!m_ready)
        return;
    m_glass->addGradientStop(0, 0xC04A5C88);
    m_glass->addGradientStop(part(1, 12), 0xB0283454);
    m_glass->addGradientStop(1, 0xB0101828);
    m_gem->addGradientStop(0, 0xFFFFF4C0);
    m_gem->addGradientStop(1, 0xFFE08020);
    m_depth->addGradientStop(0, 0xB0204060);
    m_depth->addGradientStop(1, 0xD0081018);
}

void Overlay::draw(KxcGLSurface* screen, const World& world, const INT32* figures, const char* times)
{
    m_t->setRenderTarget(screen);
    if (!figures) // in depth the score is sprites
        drawScore(world);
    drawRadar(screen, world);
    for (INT32 i = 0; figures && i < 2; ++i)
    {
        char number[16];
        KxcStringToolkit::format(number, sizeof(number), "%d", figures[i]);
        text(number, screen->getWidth() - 80 + 40 * i, screen->getHeight() - 14, part(8, 6), kInk);
    }
    for (INT32 y = 60; times; y += 12)
    {
        const char* end = std::strchr(times, '\n');
        const std::string line(times, end ? end : times + std::strlen(times));
        text(line.c_str(), 8, y, 1, kInk);
        times = end ? end + 1 : nullptr;
    }
    m_menuX = (screen->getWidth() - kMenuWidth) / 2;
    m_menuY = (screen->getHeight() - kMenuTop - kMenuRows * kMenuRow) / 2 - 10;
    if (m_open)
        drawMenu();
    m_t->setRenderTarget(nullptr);
}

/// A plate of glass with round corners.
void Overlay::panel(KxcFixed x, KxcFixed y, KxcFixed width, KxcFixed height)
{
    const KxcFixed r = 7, right = x + width, bottom = y + height;
    const KxcMatrix3 place = {{{1, 0, 0}, {0, height, 0}, {x, y, 1}}};
    m_glass->setGradientTransformation(place);
    m_t->setFillGradient(m_glass.get());
    m_t->setStrokeColor(0xA0B4E0);
    m_t->setStrokeOpacity(150);
    m_t->setStrokeWidth(1);
    m_t->beginPath();
    m_t->moveToAbsolute(x + r, y);
    m_t->lineToAbsolute(right - r, y);
    m_t->ellipticalArcAbsolute(r, r, 0, KXCARC_SWEEP, right, y + r);
    m_t->lineToAbsolute(right, bottom - r);
    m_t->ellipticalArcAbsolute(r, r, 0, KXCARC_SWEEP, right - r, bottom);
    m_t->lineToAbsolute(x + r, bottom);
    m_t->ellipticalArcAbsolute(r, r, 0, KXCARC_SWEEP, x, bottom - r);
    m_t->lineToAbsolute(x, y + r);
    m_t->ellipticalArcAbsolute(r, r, 0, KXCARC_SWEEP, x + r, y);
    m_t->closePath();
    m_t->endPath();
}

/// @param size  of a step of the letters' grid
void Overlay::text(const char* text, KxcFixed x, KxcFixed y, KxcFixed size, UINT32 color)
{
    m_t->setFillOff();
    m_t->setStrokeColor(color);
    m_t->setStrokeOpacity(255);
    m_t->setStrokeWidth(size);
    m_t->beginPath();
    for (; *text; ++text, x += size * KxcFixed(6))
    {
        bool down = false;
        for (const char* pen = glyph(*text); *pen; ++pen)
        {
            if (*pen == ' ')
            {
                down = false;
                continue;
            }
            const KxcVector2 p = {x + size * KxcFixed(pen[0] - '0'), y + size * KxcFixed(pen[1] - '0')};
            down ? m_t->lineToAbsolute(p) : m_t->moveToAbsolute(p);
            down = true;
            ++pen;
        }
    }
    m_t->endPath();
}

void Overlay::drawScore(const World& world)
{
    panel(part(2 * kMargin + 1, 2), part(2 * kMargin + 1, 2), kGems * kGemStep + 9, 22);
    for (INT32 i = 0; i < kGems; ++i)
    {
        const KxcFixed x = kMargin + 12 + i * kGemStep, y = kMargin + 11;
        const bool caught = i < world.score();
        const KxcMatrix3 place = {{{1, 0, 0}, {0, 14, 0}, {0, y - KxcFixed(7), 1}}};
        m_gem->setGradientTransformation(place);
        caught ? m_t->setFillGradient(m_gem.get()) : m_t->setFillOff();
        m_t->setStrokeColor(caught ? 0x402000 : 0x8090B0);
        m_t->beginPath();
        m_t->moveToAbsolute(x, y - KxcFixed(7));
        m_t->lineToAbsolute(x + KxcFixed(5), y - KxcFixed(1));
        m_t->lineToAbsolute(x, y + KxcFixed(7));
        m_t->lineToAbsolute(x - KxcFixed(5), y - KxcFixed(1));
        m_t->closePath();
        m_t->endPath();
    }
}

/// A dish with the gems around, and a dashed line to the nearest.
void Overlay::drawRadar(KxcGLSurface* screen, const World& world)
{
    const KxcFixed radius = part(kRadar, 2), x = KxcFixed(screen->getWidth() - kMargin) - radius,
                   y = KxcFixed(kMargin) + radius;
    const KxcMatrix3 place = {{{1, 0, 0}, {0, 1, 0}, {x, y, 1}}};
    m_depth->setGradientTransformation(place);
    m_t->setFillGradient(m_depth.get());
    m_t->setStrokeColor(0xA0B4E0);
    m_t->setStrokeOpacity(150);
    m_t->setStrokeWidth(part(3, 2));
    m_t->beginPath();
    circle(m_t, x, y, radius - KxcFixed(1));
    m_t->endPath();

    const KxcFixed ringDashes[2] = {3, 4}, lineDashes[2] = {4, 3};
    m_t->setFillOff();
    m_t->setStrokeWidth(1);
    m_t->setLineCap(KXCLINECAP_BUTT);
    m_t->setDashArray(ringDashes, 2);
    m_t->beginPath();
    circle(m_t, x, y, radius / 2);
    m_t->endPath();

    KxcFixed nearestX = 0, nearestY = 0, nearest = World::kWorldSize;
    m_t->setDashArray(nullptr, 0);
    m_t->setFillColor(kGold);
    m_t->setStrokeOff();
    m_t->beginPath();
    for (INT32 i = 0; i < World::kThings; ++i)
    {
        const Thing& thing = world.things()[i];
        if (thing.taken || thing.sheet != SHEET_GEMS)
            continue;
        const KxcFixed toX = world.toThingX(thing) / kRadarScale, toY = world.toThingY(thing) / kRadarScale;
        const KxcFixed far = KxcMath::sqrt(toX * toX + toY * toY);
        if (far > radius - KxcFixed(3))
            continue;
        circle(m_t, x + toX, y + toY, part(3, 2));
        if (far < nearest)
            nearest = far, nearestX = toX, nearestY = toY;
    }
    m_t->endPath();
    m_t->setFillOff();
    m_t->setStrokeColor(kGold);
    m_t->setStrokeOpacity(255);
    m_t->setDashArray(lineDashes, 2);
    m_t->beginPath();
    m_t->moveToAbsolute(x, y);
    m_t->lineToAbsolute(x + nearestX, y + nearestY);
    m_t->endPath();
    m_t->setDashArray(nullptr, 0);
    m_t->setLineCap(KXCLINECAP_ROUND);
}

void Overlay::drawMenu()
{
    const INT32 height = kMenuTop + kMenuRows * kMenuRow + 6;
    panel(KxcFixed(m_menuX) + part(1, 2), KxcFixed(m_menuY) + part(1, 2), kMenuWidth, height);
    text("SHOWCASE", m_menuX + 47, m_menuY + 12, part(5, 3), kGold);
    for (INT32 i = 0; i < kMenuRows; ++i)
    {
        const INT32 top = m_menuY + kMenuTop + i * kMenuRow;
        if (i == m_chosen)
            panel(m_menuX + 6, top, kMenuWidth - 12, kMenuRow - 2);
        text(kMenu[i].text, m_menuX + 16, top + 6, part(4, 3), i == m_chosen ? kGold : kInk);
    }
}

INT32 Overlay::control(INT32 code)
{
    if (!m_open)
        return 0;
    if (code == KXCCTRL_UP || code == KXCCTRL_DOWN)
        m_chosen = (m_chosen + (code == KXCCTRL_UP ? kMenuRows - 1 : 1)) % kMenuRows;
    return code == KXCCTRL_BUTTON1 ? kMenu[m_chosen].key : -1;
}

INT32 Overlay::click(INT32 x, INT32 y)
{
    if (!m_open)
        return 0;
    const INT32 row = (y - m_menuY - kMenuTop) / kMenuRow;
    if (x < m_menuX || x >= m_menuX + kMenuWidth || y < m_menuY + kMenuTop || row >= kMenuRows)
        return -1;
    m_chosen = row;
    return kMenu[row].key;
}
