// pong.h - the game: two paddles, a ball, and what the players see of it.
#pragma once

#include "link.h"

class Pong : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    static constexpr INT32 kWidth = 320, kHeight = 200;

    /// @param plays  the game moves the paddle by itself  @param frames  the host ends the game after so many; 0: never
    Pong(const LinkOptions& options, bool plays, INT32 frames, INT32 frameMs);

    void onTick() override;
    void render() override;
    void onPointerDown(INT32 x, INT32 y) override { onPointerMove(x, y); }
    void onPointerMove(INT32 x, INT32 y) override;
    void onControlDown(INT32 code) override;
    void onControlUp(INT32 code) override;
    void onKeyDown(INT32 code) override;

    const Link& link() const { return network; }
    bool over() const { return network.score().final; }
    INT32 framesPlayed() const { return played; }

private:
    void movePaddle();
    void moveBall();
    void serve(INT32 direction);
    Place ballPlace() const; // in pixels

    std::unique_ptr<KxcGL> gl;
    Link network;
    const bool playsItself;
    const INT32 lastFrame, frameMs;
    INT32 played = 0;
    INT32 paddleY = kHeight / 2, direction = 0; // of this player; the ball's are in sixteenths of a pixel
    INT32 ballX = 0, ballY = 0, speedX = 0, speedY = 0;
};
