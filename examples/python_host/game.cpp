// game.cpp - apples fall, a basket catches them: a game as a shared object, for whatever program embeds the engine. It
// has no main; makeGame() is all that it shows.
//
// Left and right or the pointer move the basket, Escape ends the process. The game steps by frames and never looks at a
// clock: the same input gives the same frames.
#include <kxcoreemb/kxcoreemb.h>

#include <algorithm>
#include <memory>

namespace
{

constexpr INT32 kGroundHeight = 24, kBasketWidth = 48, kBasketHeight = 20, kAppleRadius = 9; // in pixels
constexpr INT32 kBasketSpeed = 4, kAppleSpeed = 3;                                           // pixels a frame
constexpr INT32 kApples = 3;
constexpr INT32 kKeyEscape = 27;
constexpr INT32 kChimeSamples = 4000;
constexpr FLOAT32 kChimeRate = 22050;

struct Apple
{
    INT32 x, y; // of its middle
};

class Game : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    Game()
        : m_gl(KxcGL::create(0, 0)),
          m_chime(KxcAudioBuffer::create(kChimeRate, 0, kChimeSamples, KxcFixed(0.5))),
          m_sky(KxcPrimitiveDrawLinearGradientFiller::create({0, 0}, {0, height()})),
          m_shine(KxcPrimitiveDrawRadialGradientFiller::create({0, 0}, {-3, -3}, kAppleRadius + 1))
    {
        KxcCore::setRenderer(this);
        KxcCore::setController(this);
    }
    bool ready() const { return m_gl && m_chime && m_sky && m_shine; }

    void onAppInit() override
    {
        m_sky->addGradientStop(0, 0xFF3070C0);
        m_sky->addGradientStop(1, 0xFFC0E0F0);
        m_shine->addGradientStop(0, 0xFFFFA080);
        m_shine->addGradientStop(1, 0xFFC01010);
        makeChime();
        KxcAudio::setAudioFormat(nullptr, 8, 1);
        m_basket = width() / 2;
        for (INT32 i = 0; i < kApples; ++i)
            m_apples[i] = {nextPlace(), -i * height() / kApples};
    }

    void onTick() override
    {
        const INT32 half = kBasketWidth / 2;
        m_basket = std::clamp(m_basket + (m_right - m_left) * kBasketSpeed, half, width() - half);
        for (Apple& apple : m_apples)
        {
            apple.y += kAppleSpeed;
            const INT32 below = apple.y - basketTop(); // below its rim
            if (below >= 0 && below < kAppleSpeed && apple.x > m_basket - half && apple.x < m_basket + half)
            {
                ++m_caught;
                KxcAudio::play(m_chime.get(), kChimeRate, KxcFixed(0.5), KxcFixed(m_basket) / width());
                apple = {nextPlace(), 0};
            }
            else if (apple.y > height() - kGroundHeight)
                apple = {nextPlace(), 0};
        }
    }

    void render() override
    {
        KxcGLSurface* screen = m_gl->getSecondary();
        KxcPrimitiveTranslator* pen = KxcCore::getPrimitiveTranslator();
        pen->setRenderTarget(screen);
        pen->setStrokeOff();
        pen->setFillGradient(m_sky.get());
        pen->beginPath();
        pen->moveToAbsolute(0, 0);
        pen->lineToAbsolute(width(), 0);
        pen->lineToAbsolute(width(), height());
        pen->lineToAbsolute(0, height());
        pen->endPath();
        screen->drawFilledRect(0, height() - kGroundHeight, width(), kGroundHeight, 0xFF40A030);

        for (const Apple& apple : m_apples)
            drawApple(pen, apple.x, apple.y, KxcFixed(1));
        for (INT32 i = 0; i < m_caught; ++i)
            drawApple(pen, 8 + i * 12, 8, KxcFixed(0.5));

        pen->setFillColor(0x805020);
        pen->setStrokeColor(0x402808);
        pen->setStrokeWidth(2);
        pen->beginPath();
        pen->moveToAbsolute(m_basket - kBasketWidth / 2, basketTop());
        pen->lineToAbsolute(m_basket + kBasketWidth / 2, basketTop());
        pen->lineToRelative(-8, kBasketHeight);
        pen->lineToRelative(16 - kBasketWidth, 0);
        pen->closePath();
        pen->endPath();
    }

    void onControlDown(INT32 code) override { hold(code, 1); }
    void onControlUp(INT32 code) override { hold(code, 0); }
    void onPointerDown(INT32 x, INT32) override { m_basket = x; }
    void onPointerMove(INT32 x, INT32) override { m_basket = x; }
    void onKeyDown(INT32 code) override
    {
        if (code == kKeyEscape)
            KxcCore::quit();
    }

private:
    static INT32 width() { return KxcCore::getDeviceWidth(); }
    static INT32 height() { return KxcCore::getDeviceHeight(); }
    static INT32 basketTop() { return height() - kGroundHeight - kBasketHeight / 2; }

    void hold(INT32 code, INT32 held)
    {
        if (code == KXCCTRL_LEFT)
            m_left = held;
        else if (code == KXCCTRL_RIGHT)
            m_right = held;
    }

    /// Where the next apple falls: anywhere between the edges, in an order that is always the same.
    INT32 nextPlace()
    {
        m_random = m_random * 1664525u + 1013904223u;
        return kAppleRadius + static_cast<INT32>((m_random >> 16) % static_cast<UINT32>(width() - 2 * kAppleRadius));
    }

    void drawApple(KxcPrimitiveTranslator* pen, INT32 x, INT32 y, KxcFixed scale)
    {
        KxcMatrix3 place;
        KxcMath::matrixTranslation2D(place, {x, y});
        KxcMath::matrixScale2D(place, scale);
        pen->setTransformation(place);
        pen->setFillGradient(m_shine.get());
        pen->beginPath();
        pen->moveToAbsolute(-kAppleRadius, 0);
        pen->ellipticalArcAbsolute(kAppleRadius, kAppleRadius, 0, KXCARC_SWEEP, kAppleRadius, 0);
        pen->ellipticalArcAbsolute(kAppleRadius, kAppleRadius, 0, KXCARC_SWEEP, -kAppleRadius, 0);
        pen->closePath();
        pen->endPath();
        KxcMath::matrixIdentity(place);
        pen->setTransformation(place);
    }

    /// A square wave that fades, 8 bits around 0x80.
    void makeChime()
    {
        UINT8* samples = static_cast<UINT8*>(KxcAudio::lock(m_chime.get()));
        for (INT32 i = 0; samples && i < kChimeSamples; ++i)
            samples[i] = static_cast<UINT8>(0x80 + (i % 25 < 12 ? 60 : -60) * (kChimeSamples - i) / kChimeSamples);
        KxcAudio::unlock(m_chime.get());
    }

    std::unique_ptr<KxcGL> m_gl;
    std::unique_ptr<KxcAudioBuffer> m_chime;
    std::unique_ptr<KxcPrimitiveDrawLinearGradientFiller> m_sky;
    std::unique_ptr<KxcPrimitiveDrawRadialGradientFiller> m_shine;
    INT32 m_basket = 0;            // its middle
    INT32 m_left = 0, m_right = 0; // 1 while held
    INT32 m_caught = 0;
    UINT32 m_random = 0;
    Apple m_apples[kApples] = {};
};

} // namespace

/// What a host hands to embeddedInit. @return 0 when the game is ready
extern "C" KXC_API long makeGame()
{
    kxcUseDefaults();
    kxcUse2DVectorGraphics();
    const Game* game = new Game; // the engine deletes it at the end
    return game->ready() ? 0 : 1;
}
