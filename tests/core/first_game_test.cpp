// first_game_test.cpp - the README's game, played without a display.
#define main firstGameMain
#include "../../examples/first_game/main.cpp"
#undef main

#include "support/engine.h"

#include <gtest/gtest.h>

TEST(FirstGame, SquareFollowsKeysAndClicks)
{
    Engine engine(320, 240, nullptr, makeGame);
    const UINT16* frame = nullptr;
    const auto squareAt = [&frame](INT32 x, INT32 y)
    {
        frame = reinterpret_cast<const UINT16*>(embeddedFrame());
        const UINT16 ground = frame[0], square = frame[y * 320 + x];
        return square != ground && frame[(y - 10) * 320 + x - 10] == square && frame[(y + 9) * 320 + x + 9] == square &&
               frame[(y - 11) * 320 + x] == ground && frame[y * 320 + x + 10] == ground;
    };
    EXPECT_TRUE(squareAt(160, 120));
    embeddedKeyDown(39);
    embeddedKeyDown(40);
    EXPECT_TRUE(squareAt(168, 128));
    embeddedPointerDown(20, 200);
    EXPECT_TRUE(squareAt(20, 200));
}
