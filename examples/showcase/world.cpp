// world.cpp - makes the ground from integer noise, and moves the hero and the things.
#include "world.h"

namespace
{

constexpr INT32 kTopSpeed = 150, kThrust = 500; // pixels per second, and per second again
constexpr INT32 kCatch = 20;                    // how near the hero must come to a thing, in pixels
constexpr INT32 kGroundHeights[] = {84, 100, 108, 136, 146, 172, 196}; // from deep water up to snow; heights are 0..255

/// A fixed random value 0..255 for each corner of a lattice that repeats.
INT32 corner(INT32 x, INT32 y, INT32 period, UINT32 seed)
{
    UINT32 h = seed + static_cast<UINT32>(x % period) * 0x85EBCA6Bu + static_cast<UINT32>(y % period) * 0xC2B2AE35u;
    h = (h ^ h >> 15) * 0x2C1B3C6Du;
    h = (h ^ h >> 12) * 0x297A2D39u;
    return static_cast<INT32>((h ^ h >> 15) & 255);
}

/// Interpolates the corners of a lattice of the given spacing, in tiles.
INT32 smoothNoise(INT32 x, INT32 y, INT32 spacing, UINT32 seed)
{
    const INT32 period = World::kTiles / spacing, cx = x / spacing, cy = y / spacing;
    const INT32 tx = x % spacing, ty = y % spacing;
    const INT32 top = corner(cx, cy, period, seed) * (spacing - tx) + corner(cx + 1, cy, period, seed) * tx;
    const INT32 bottom = corner(cx, cy + 1, period, seed) * (spacing - tx) + corner(cx + 1, cy + 1, period, seed) * tx;
    return (top * (spacing - ty) + bottom * ty) / (spacing * spacing);
}

KxcFixed wrapped(KxcFixed position, INT32 size = World::kWorldSize)
{
    const INT32 wrap = size * 65536, raw = position.raw() % wrap;
    return KxcFixed::fromRaw(raw < 0 ? raw + wrap : raw);
}

KxcFixed shortWay(KxcFixed a, KxcFixed b, INT32 size)
{
    const KxcFixed forward = wrapped(b - a, size);
    return forward > KxcFixed(size / 2) ? forward - KxcFixed(size) : forward;
}

/// A tile's row or column on the map, for any position.
INT32 onMap(INT32 tile)
{
    const INT32 rest = tile % World::kTiles;
    return rest < 0 ? rest + World::kTiles : rest;
}

KxcFixed magnitude(KxcFixed value) { return value < KxcFixed(0) ? -value : value; }

KxcFixed limited(KxcFixed value, KxcFixed limit) { return value > limit ? limit : value < -limit ? -limit : value; }

} // namespace

World::World() : m_heroX(kWorldSize / 2), m_heroY(kWorldSize / 2), m_speedX(0), m_speedY(0), m_goalX(0), m_goalY(0)
{
    for (INT32 y = 0; y < kTiles; ++y)
        for (INT32 x = 0; x < kTiles; ++x)
        {
            const INT32 height =
                (smoothNoise(x, y, 16, 5) * 5 + smoothNoise(x, y, 8, 9) * 2 + smoothNoise(x, y, 2, 3)) / 8;
            UINT8 kind = 0;
            for (INT32 limit : kGroundHeights)
                kind = static_cast<UINT8>(kind + (height >= limit));
            m_ground[y][x] = kind;
            m_height[y][x] = static_cast<UINT8>(height);
        }

    static constexpr INT32 kGemSizes[] = {24, 32, 32, 32, 32, 44}, kLightSizes[] = {40, 48, 64, 48};
    for (INT32 i = 0; i < kThings; ++i)
    {
        Thing& thing = m_things[i];
        thing.sheet = i % 5 < 3 ? SHEET_GEMS : SHEET_LIGHTS;
        thing.cell = random(thing.sheet == SHEET_GEMS ? 6 : 4);
        thing.size = thing.sheet == SHEET_GEMS ? kGemSizes[random(6)] : kLightSizes[thing.cell];
        thing.x = KxcFixed(random(kWorldSize));
        thing.y = KxcFixed(random(kWorldSize));
        thing.velocityX = KxcFixed(random(61) - 30);
        thing.velocityY = KxcFixed(random(61) - 30);
        thing.blend = i % 9; // every type, from KXCBLEND_NONE to KXCBLEND_INVMULFAST
        thing.value = 96 + random(160);
        thing.transform = static_cast<UINT32>(i % 16); // both mirrors and every quarter turn
        thing.taken = false;
    }
}

INT32 World::random(INT32 below)
{
    m_seed = m_seed * 1664525u + 1013904223u;
    return static_cast<INT32>((m_seed >> 8) % static_cast<UINT32>(below));
}

KxcFixed World::distance(KxcFixed a, KxcFixed b) { return shortWay(a, b, kWorldSize); }

KxcFixed World::toThingX(const Thing& thing) const { return shortWay(m_heroX, thing.x, kAirSize); }

KxcFixed World::toThingY(const Thing& thing) const { return shortWay(m_heroY, thing.y, kAirSize); }

void World::flyTo(KxcFixed x, KxcFixed y)
{
    m_goalX = wrapped(x);
    m_goalY = wrapped(y);
    m_hasGoal = true;
}

void World::advance(INT32 milliseconds, INT32 thrustX, INT32 thrustY)
{
    const KxcFixed seconds = KxcFixed(milliseconds) / 1000;
    if (thrustX != 0 || thrustY != 0)
        m_hasGoal = false;
    if (m_hasGoal)
    {
        const KxcFixed toX = distance(m_heroX, m_goalX), toY = distance(m_heroY, m_goalY);
        m_hasGoal = magnitude(toX) > KxcFixed(4) || magnitude(toY) > KxcFixed(4);
        m_speedX = limited(toX * KxcFixed(4), kTopSpeed);
        m_speedY = limited(toY * KxcFixed(4), kTopSpeed);
    }
    else
    {
        m_speedX = limited(m_speedX + KxcFixed(thrustX * kThrust) * seconds, kTopSpeed);
        m_speedY = limited(m_speedY + KxcFixed(thrustY * kThrust) * seconds, kTopSpeed);
        const KxcFixed drag = limited(seconds * KxcFixed(2), 1);
        if (thrustX == 0)
            m_speedX -= m_speedX * drag;
        if (thrustY == 0)
            m_speedY -= m_speedY * drag;
    }
    if (magnitude(m_speedX) > magnitude(m_speedY))
        m_heading = m_speedX < KxcFixed(0) ? HEADING_LEFT : HEADING_RIGHT;
    else if (magnitude(m_speedY) > KxcFixed(1))
        m_heading = m_speedY < KxcFixed(0) ? HEADING_UP : HEADING_DOWN;
    m_heroX = wrapped(m_heroX + m_speedX * seconds);
    m_heroY = wrapped(m_heroY + m_speedY * seconds);

    for (Thing& thing : m_things)
    {
        thing.x = wrapped(thing.x + thing.velocityX * seconds);
        thing.y = wrapped(thing.y + thing.velocityY * seconds);
    }
    collect();
}

void World::collect()
{
    for (Thing& thing : m_things)
        if (!thing.taken && thing.sheet == SHEET_GEMS && magnitude(toThingX(thing)) < KxcFixed(kCatch) &&
            magnitude(toThingY(thing)) < KxcFixed(kCatch))
        {
            thing.taken = true;
            ++m_score;
        }
}

void World::burst()
{
    INT32 count = 0;
    for (Thing& thing : m_things)
        if (thing.taken)
        {
            thing.taken = false;
            thing.x = wrapped(m_heroX + KxcFixed(count % 2 ? 40 : -40));
            thing.y = wrapped(m_heroY + KxcFixed(count / 2 % 2 ? 40 : -40));
            thing.velocityX = KxcFixed(count % 2 ? 60 : -60) + KxcFixed(random(41) - 20);
            thing.velocityY = KxcFixed(count / 2 % 2 ? 60 : -60) + KxcFixed(random(41) - 20);
            ++count;
        }
}

INT32 World::ground(INT32 tileX, INT32 tileY) const { return m_ground[onMap(tileY)][onMap(tileX)]; }

INT32 World::height(INT32 tileX, INT32 tileY) const { return m_height[onMap(tileY)][onMap(tileX)]; }

INT32 World::groundVariant(INT32 tileX, INT32 tileY) const
{
    return corner(onMap(tileX), onMap(tileY), kTiles, 77) & 3;
}
