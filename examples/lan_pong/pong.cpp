// pong.cpp - rules and picture. The host plays on the left.
#include "pong.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace
{

constexpr INT32 kPaddleHeight = 36, kPaddleWidth = 6, kMargin = 12, kBall = 6, kPaddleStep = 4;
constexpr INT32 kUnit = 16; // of the ball's place, to a pixel
constexpr INT32 kTop = 20;  // the status line is above

/// Letters and digits of 3 x 5 dots: a row in each octal digit, the top one first.
constexpr INT32 kDigits[10] = {075557, 026227, 071747, 071717, 055711, 074717, 074757, 071111, 075757, 075717};
constexpr INT32 kPercent = 051245;
constexpr INT32 kLetters[26] = {025755, 065656, 034443, 065556, 074647, 074644, 074557, 055755, 072227,
                                011157, 055655, 044447, 057755, 065555, 075557, 075744, 075571, 065655,
                                074717, 072222, 055557, 055552, 055775, 055255, 055222, 071247};

void drawText(KxcGLSurface* screen, INT32 x, INT32 y, INT32 dot, const char* text, UINT32 color)
{
    for (; *text; ++text, x += 4 * dot)
    {
        const INT32 dots = *text >= '0' && *text <= '9'   ? kDigits[*text - '0']
                           : *text >= 'A' && *text <= 'Z' ? kLetters[*text - 'A']
                           : *text == '%'                 ? kPercent
                                                          : 0;
        for (INT32 i = 0; i < 15; ++i)
            if (dots >> (14 - i) & 1)
                screen->drawFilledRect(x + i % 3 * dot, y + i / 3 * dot, dot, dot, color);
    }
}

} // namespace

Pong::Pong(const LinkOptions& options, bool plays, INT32 frames, INT32 milliseconds)
    : gl(KxcGL::create(0, 0)),
      network(options),
      playsItself(plays),
      lastFrame(frames),
      frameMs(milliseconds)
{
    KxcCore::setRenderer(this);
    KxcCore::setController(this);
    serve(1);
}

void Pong::serve(INT32 towards)
{
    ballX = kWidth / 2 * kUnit;
    ballY = (kTop + (kHeight - kTop) * (1 + (network.score().host + network.score().guest) % 3) / 4) * kUnit;
    speedX = towards * 3 * kUnit;
    speedY = 2 * kUnit - network.score().host % 2 * kUnit;
}

void Pong::onTick()
{
    KxcCore::sleep(frameMs);
    network.tick();
    if (!network.connected() || over())
        return;
    ++played;
    movePaddle();
    // Every second frame: the other end takes one datagram a frame, and must not fall behind when it is slower. In the
    // frames between, the scores have their turn, which waits while there are states to be sent.
    const bool tellStates = played % 2 == 0;
    if (tellStates)
        network.sendPaddle(paddleY);
    if (!network.isHost())
        return;
    moveBall();
    if (tellStates)
        network.sendBall(ballPlace());
    if (lastFrame > 0 && played >= lastFrame)
    {
        Score score = network.score();
        score.final = true;
        network.sendScore(score);
    }
}

void Pong::movePaddle()
{
    const INT32 ball = ballPlace().y;
    if (playsItself) // well, but not always
        direction = std::abs(ball - paddleY) < kPaddleStep || played % 7 == 0 || played / 64 % 3 == 2 ? 0
                    : ball < paddleY                                                                  ? -1
                                                                                                      : 1;
    paddleY += direction * kPaddleStep;
    paddleY = std::min(std::max(paddleY, kTop + kPaddleHeight / 2), kHeight - kPaddleHeight / 2);
}

void Pong::moveBall()
{
    ballX += speedX;
    ballY += speedY;
    if ((ballY < (kTop + kBall / 2) * kUnit && speedY < 0) || (ballY > (kHeight - kBall / 2) * kUnit && speedY > 0))
        speedY = -speedY;
    const bool left = speedX < 0;
    const INT32 distance = left ? ballX / kUnit - kMargin : kWidth - kMargin - ballX / kUnit;
    const INT32 fromPaddle = ballY / kUnit - (left ? paddleY : network.otherPaddle());
    if (distance < kBall / 2 && distance > -kBall && std::abs(fromPaddle) <= (kPaddleHeight + kBall) / 2)
    {
        speedX = -speedX;
        speedY = fromPaddle * 3; // steeper towards the ends
    }
    else if (distance < -kMargin)
    {
        Score score = network.score();
        ++(left ? score.guest : score.host);
        network.sendScore(score);
        serve(left ? -1 : 1);
    }
}

Place Pong::ballPlace() const
{
    if (!network.isHost())
        return network.ball();
    return {static_cast<INT16>(ballX / kUnit), static_cast<INT16>(ballY / kUnit)};
}

void Pong::render()
{
    if (!gl)
        return;
    KxcGLSurface* screen = gl->getSecondary();
    screen->clear(0xFF102018);
    char text[64];
    std::snprintf(text, sizeof(text), "%s   ROUND TRIP %d MS   LOSS %d%%", network.status(), network.roundTripMs(),
                  network.lossPercent());
    drawText(screen, 4, 5, 2, network.connected() ? text : network.status(), 0xFF80A090);
    screen->drawFilledRect(0, kTop - 2, kWidth, 2, 0xFF305040);
    for (INT32 y = kTop; y < kHeight; y += 12)
        screen->drawFilledRect(kWidth / 2 - 1, y, 2, 6, 0xFF305040);
    if (!network.connected())
        return;
    const Score score = network.score();
    std::snprintf(text, sizeof(text), "%d", score.host);
    drawText(screen, kWidth / 2 - 50, kTop + 12, 5, text, 0xFF508068);
    std::snprintf(text, sizeof(text), "%d", score.guest);
    drawText(screen, kWidth / 2 + 30, kTop + 12, 5, text, 0xFF508068);
    const bool host = network.isHost();
    const INT32 leftY = host ? paddleY : network.otherPaddle(), rightY = host ? network.otherPaddle() : paddleY;
    const Place ball = ballPlace();
    screen->drawFilledRect(kMargin - kPaddleWidth, leftY - kPaddleHeight / 2, kPaddleWidth, kPaddleHeight,
                           host ? 0xFFFFE080 : 0xFFFFFFFF);
    screen->drawFilledRect(kWidth - kMargin, rightY - kPaddleHeight / 2, kPaddleWidth, kPaddleHeight,
                           host ? 0xFFFFFFFF : 0xFFFFE080);
    screen->drawFilledRect(ball.x - kBall / 2, ball.y - kBall / 2, kBall, kBall, 0xFFFFFFFF);
}

void Pong::onPointerMove(INT32, INT32 y) { paddleY = y; }

void Pong::onControlDown(INT32 code) { direction = code == KXCCTRL_UP ? -1 : code == KXCCTRL_DOWN ? 1 : direction; }

void Pong::onControlUp(INT32 code)
{
    if (code == KXCCTRL_UP || code == KXCCTRL_DOWN)
        direction = 0;
}

void Pong::onKeyDown(INT32 code)
{
    if (code == 27)
        KxcCore::quit();
}
