// main.cpp - paints the pictures that examples/showcase loads.
//
// usage: showcase_assets FOLDER
//
//   tiles.tga   24 bits   the ground, cells of 16x16: a kind in each column, variants of it below each other
//   gems.pcx    8 bits    things to collect, cells of 32x32 on the key colour magenta
//   lights.tga  32 bits   glow, bubble, smoke and flame with soft edges, cells of 48x48
//   hero.tga    32 bits   the glider that the player flies, and its shadow, cells of 32x32, nose up
//   pad.tga     32 bits   a direction button (up) and a round one, cells of 40x40
//   tree.tga    32 bits   a tree for the landscape, 64x64
//   glow.tga    24 bits   a soft spot on black, 64x64: light to be added, or the shadow that multiplies
#include "canvas.h"

#include <cmath>
#include <cstdio>

namespace
{

constexpr Color kClear = {0, 0, 0, 0};

float length(float x, float y) { return std::sqrt(x * x + y * y); }

Color shaded(Color base, float light)
{
    return light < 0 ? mix(base, {0, 0, 0.1f, base.a}, -light) : mix(base, {1, 1, 1, base.a}, light);
}

// --- the ground ------------------------------------------------------------------------------------------------------

struct Ground
{
    Color low, high;
    float grain; // how strongly fine noise shows
};

constexpr Ground kGrounds[] = {
    {{0.10f, 0.26f, 0.50f, 1}, {0.16f, 0.36f, 0.62f, 1}, 0.3f}, // deep water
    {{0.20f, 0.48f, 0.70f, 1}, {0.36f, 0.64f, 0.80f, 1}, 0.4f}, // shallows
    {{0.78f, 0.70f, 0.48f, 1}, {0.90f, 0.83f, 0.62f, 1}, 0.7f}, // sand
    {{0.30f, 0.54f, 0.20f, 1}, {0.44f, 0.68f, 0.28f, 1}, 0.8f}, // meadow
    {{0.24f, 0.46f, 0.18f, 1}, {0.40f, 0.62f, 0.24f, 1}, 0.9f}, // meadow with flowers
    {{0.10f, 0.30f, 0.14f, 1}, {0.22f, 0.46f, 0.20f, 1}, 1.0f}, // wood
    {{0.40f, 0.38f, 0.36f, 1}, {0.58f, 0.56f, 0.54f, 1}, 1.0f}, // rock
    {{0.80f, 0.84f, 0.90f, 1}, {1.00f, 1.00f, 1.00f, 1}, 0.5f}, // snow
};
constexpr int kGroundCount = 8, kVariants = 4, kTile = 16;

Color groundColor(int kind, int variant, float x, float y)
{
    const Ground& ground = kGrounds[kind];
    const float px = (x + 1) * 4, py = (y + 1) * 4; // 8 lattice cells over the tile, so that it repeats
    const uint32_t seed = uint32_t(kind * 16 + variant);
    const float soft = noise(px / 2, py / 2, 4, seed), fine = noise(px * 2, py * 2, 16, seed + 7);
    Color color = mix(ground.low, ground.high, clamp01(0.5f + (soft - 0.5f) * 0.5f + (fine - 0.5f) * ground.grain));
    if (kind == 4)
        for (int i = 0; i < 3; ++i)
        {
            const float fx = noise(float(i) * 3.1f, 0.5f, 97, seed) * 1.6f - 0.8f;
            const float fy = noise(float(i) * 5.3f, 9.5f, 97, seed) * 1.6f - 0.8f;
            const float d = length(x - fx, y - fy);
            if (d < 0.19f)
                color = d < 0.08f ? Color{1, 0.85f, 0.2f, 1} : i % 2 ? Color{0.95f, 0.5f, 0.7f, 1} : Color{1, 1, 1, 1};
        }
    if (kind == 5)
    {
        const float d = length(x * 1.1f - 0.1f, y * 1.1f + 0.1f);
        color = d < 0.9f ? shaded(mix(ground.low, ground.high, fine), 0.35f - d * 0.6f - (x + y) * 0.15f) : ground.low;
    }
    return color;
}

// --- things ----------------------------------------------------------------------------------------------------------

/// Distance to a star's outline, roughly: negative inside.
float star(float x, float y, int points, float inner)
{
    const float angle = std::atan2(x, -y), wave = std::cos(angle * float(points)) * 0.5f + 0.5f;
    return length(x, y) - (inner + (0.92f - inner) * wave * wave);
}

/// Distance to a heart's outline, negative inside: two arcs above a square's corner.
float heart(float x, float y)
{
    const float px = std::fabs(x) * 0.62f, py = (0.94f - y) * 0.58f;
    if (px + py > 1)
        return (length(px - 0.25f, py - 0.75f) - 0.353f) * 1.7f;
    const float corner = std::fmax(px + py, 0.0f) * 0.5f;
    const float d = std::fmin(length(px, py - 1), length(px - corner, py - corner));
    return (px > py ? d : -d) * 1.7f;
}

Color rimmed(Color base, float distance, float light)
{
    if (distance > 0)
        return kClear;
    if (distance > -0.14f)
        return shaded(base, -0.65f);
    return shaded(base, light);
}

Color gem(int kind, float x, float y)
{
    const float light = clamp01(0.5f - (x + y) * 0.45f) - 0.25f;
    switch (kind)
    {
    case 0:
        return rimmed({1, 0.80f, 0.15f, 1}, star(x, y, 5, 0.42f), light);
    case 1:
    {
        const float d = length(x, y);
        const float engraved =
            std::fabs(d - 0.55f) < 0.07f || (std::fabs(x) < 0.09f && std::fabs(y) < 0.34f) ? -0.35f : 0;
        return rimmed({0.98f, 0.72f, 0.12f, 1}, d - 0.9f, light + engraved);
    }
    case 2:
    {
        const float facet = y < -0.25f ? (std::fabs(x) < 0.4f ? 0.4f : 0.15f)
                                       : (x < -0.2f  ? 0.1f
                                          : x < 0.2f ? -0.1f
                                                     : -0.35f);
        const float d = std::fmax(std::fabs(x) + std::fmax(y, -y * 0.6f) * 0.9f - 0.86f, -y - 0.7f);
        return rimmed({0.25f, 0.80f, 0.95f, 1}, d, facet + light * 0.4f);
    }
    case 3:
        return rimmed({0.93f, 0.18f, 0.30f, 1}, heart(x, y), light);
    case 4:
    {
        const float d = std::fabs(length(x, y) - 0.62f) - 0.28f;
        return rimmed({0.70f, 0.40f, 0.95f, 1}, d, light + (0.28f - std::fabs(length(x, y) - 0.62f)) * 1.2f - 0.15f);
    }
    default:
    {
        const float bend = x - (y * y - 0.4f) * 0.25f;
        const float d = std::fabs(bend) - 0.55f * (1 - y * y * 1.15f);
        return rimmed({0.35f, 0.78f, 0.25f, 1}, d, light * 0.7f + (std::fabs(bend) < 0.05f ? -0.3f : 0.1f));
    }
    }
}

Color lightCell(int kind, float x, float y)
{
    const float d = length(x, y);
    switch (kind)
    {
    case 0:
        return {1, 0.97f, 0.85f, clamp01(1 - d) * clamp01(1 - d)};
    case 1:
    {
        const float rim = clamp01(1 - std::fabs(d - 0.82f) / 0.12f),
                    shine = clamp01(1 - length(x + 0.35f, y + 0.4f) / 0.22f);
        return {0.75f + shine * 0.25f, 0.92f + shine * 0.08f, 1, d > 0.94f ? 0 : clamp01(0.14f + rim * 0.55f + shine)};
    }
    case 2:
    {
        const float n = noise((x + 1) * 3, (y + 1) * 3, 64, 5) * 0.6f + noise((x + 1) * 7, (y + 1) * 7, 64, 6) * 0.4f;
        const float grey = 0.55f + n * 0.4f;
        return {grey, grey, grey * 1.05f, clamp01((1 - d) * 1.4f) * clamp01(0.2f + n)};
    }
    default:
    {
        const float width = 0.62f * (1 - clamp01((-y + 0.4f) / 1.5f)), wobble = std::sin(y * 5) * 0.08f * (1 - y);
        const float e = clamp01(1 - length((x + wobble) / (width + 0.05f), (y - 0.4f) / (y > 0.4f ? 0.5f : 1.35f)));
        return mix({0.95f, 0.25f, 0.05f, clamp01(e * 2.2f)}, {1, 0.95f, 0.5f, clamp01(e * 2.2f)},
                   clamp01(e * 1.6f - 0.2f));
    }
    }
}

Color hero(float x, float y)
{
    const float wing =
        std::fmax(std::fabs(y - 0.25f - std::fabs(x) * 0.35f) - 0.20f * (1.05f - std::fabs(x)), std::fabs(x) - 0.95f);
    const float hull = length(x / 0.26f, (y + 0.02f) / 0.92f) - 1;
    const float tail = std::fmax(std::fabs(y - 0.8f) - 0.1f, std::fabs(x) - 0.42f);
    const float glass = length(x / 0.13f, (y + 0.38f) / 0.22f) - 1;
    const float light = -0.1f - x * 0.5f;
    if (glass < 0)
        return shaded({0.35f, 0.80f, 0.95f, 1}, light - y * 0.3f);
    if (hull < 0)
        return shaded({0.95f, 0.93f, 0.88f, 1}, hull > -0.18f ? -0.4f : light);
    if (wing < 0)
        return shaded({0.90f, 0.25f, 0.18f, 1},
                      wing > -0.035f ? -0.45f : light * 0.5f + (std::fabs(x) > 0.72f ? 0.6f : 0));
    if (tail < 0)
        return shaded({0.90f, 0.25f, 0.18f, 1}, tail > -0.03f ? -0.45f : light * 0.5f);
    return kClear;
}

Color heroShadow(float x, float y)
{
    float sum = 0;
    for (int i = 0; i < 9; ++i)
        sum += hero(x + float(i % 3 - 1) * 0.06f, y + float(i / 3 - 1) * 0.06f).a;
    return {0, 0, 0, sum / 9 * 0.45f};
}

Color button(bool arrow, float x, float y)
{
    const float plate = length(x, y) - 0.92f;
    if (plate > 0)
        return kClear;
    const float tip = std::fmax(-y - 0.55f, std::fmax(std::fabs(x) * 0.9f - (y + 0.55f) * 0.55f, y - 0.4f));
    const bool mark = arrow ? tip < 0 : std::fabs(length(x, y) - 0.32f) < 0.12f;
    if (mark)
        return {1, 1, 1, 0.95f};
    return {0.10f, 0.13f, 0.22f, plate > -0.1f ? 0.85f : 0.50f};
}

Color tree(float x, float y)
{
    const float crown = noise((x + 1) * 5, (y + 1) * 5, 64, 21), fine = noise((x + 1) * 13, (y + 1) * 13, 64, 22);
    const float width = y < -0.95f ? 0 : (y + 0.98f) * 0.52f * (0.85f + 0.15f * std::sin(y * 18));
    if (std::fabs(x) < width * (0.8f + crown * 0.35f) && y < 0.62f)
        return shaded({0.16f, 0.42f, 0.17f, 1}, (fine - 0.5f) * 0.5f - x * 0.4f - (y > 0.4f ? 0.2f : 0));
    if (std::fabs(x) < 0.09f && y >= 0.6f)
        return shaded({0.36f, 0.24f, 0.14f, 1}, -x * 3);
    return kClear;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: showcase_assets FOLDER\n");
        return 2;
    }
    const std::string folder = std::string(argv[1]) + "/";

    Canvas tiles(kGroundCount * kTile, kVariants * kTile), gems(8 * 32, 32), lights(4 * 48, 48), glider(64, 32),
        pad(80, 40), woods(64, 64), glow(64, 64);
    for (int kind = 0; kind < kGroundCount; ++kind)
        for (int variant = 0; variant < kVariants; ++variant)
            tiles.paint(kind * kTile, variant * kTile, kTile, kTile,
                        [=](float x, float y) { return groundColor(kind, variant, x, y); });
    for (int kind = 0; kind < 6; ++kind)
        gems.paint(kind * 32, 0, 32, 32, [=](float x, float y) { return gem(kind, x, y); });
    for (int kind = 0; kind < 4; ++kind)
        lights.paint(kind * 48, 0, 48, 48, [=](float x, float y) { return lightCell(kind, x, y); });
    glider.paint(0, 0, 32, 32, hero);
    glider.paint(32, 0, 32, 32, heroShadow);
    for (int kind = 0; kind < 2; ++kind)
        pad.paint(kind * 40, 0, 40, 40, [=](float x, float y) { return button(kind == 0, x, y); });

    woods.paint(0, 0, 64, 64, tree);
    glow.paint(0, 0, 64, 64,
               [](float x, float y)
               {
                   const float light = clamp01(1 - length(x, y)) * clamp01(1 - length(x, y));
                   return Color{light, light, light * 0.9f, 1};
               });

    const bool written = tiles.writeTga(folder + "tiles.tga", false) && gems.writePcx(folder + "gems.pcx") &&
                         lights.writeTga(folder + "lights.tga", true) && glider.writeTga(folder + "hero.tga", true) &&
                         pad.writeTga(folder + "pad.tga", true) && woods.writeTga(folder + "tree.tga", true) &&
                         glow.writeTga(folder + "glow.tga", false);
    return written ? 0 : 1;
}
