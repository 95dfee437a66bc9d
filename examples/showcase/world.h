// world.h - what there is in the showcase's world and how it moves: ground, hero and a hundred things in the air.
//
// Positions are pixels of an endless world, in 16.16; the ground repeats every kWorldSize pixels, and so does
// everything.
#pragma once

#include <kxcoreemb/kxcoreemb.h>

/// Where a thing's picture comes from: a sheet of square cells.
enum Sheet
{
    SHEET_GEMS,
    SHEET_LIGHTS,
    SHEET_COUNT
};

struct Thing
{
    Sheet sheet;
    INT32 cell;
    KxcFixed x, y, velocityX, velocityY; // centre; pixels per second
    INT32 size;                          // drawn width and height in pixels
    INT32 blend, value;                  // KXCBLEND_ and its strength
    UINT32 transform;                    // KXCTRANSFORM_ bits
    bool taken;                          // the hero flew through it
};

/// The direction in which the hero's nose points.
enum Heading
{
    HEADING_UP,
    HEADING_LEFT,
    HEADING_DOWN,
    HEADING_RIGHT
};

class World
{
public:
    static constexpr INT32 kTile = 16, kTiles = 80; // the ground is a square of tiles
    static constexpr INT32 kWorldSize = kTile * kTiles, kAirSize = kWorldSize / 2;
    static constexpr INT32 kThings = 100;

    World();

    /// Moves everything on. @param thrustX, thrustY  -1, 0 or 1
    void advance(INT32 milliseconds, INT32 thrustX, INT32 thrustY);
    /// Lets the hero fly toward a point until it is there or thrust is given.
    void flyTo(KxcFixed x, KxcFixed y);
    /// Throws a ring of sparks from where the hero is: the things that were taken come back.
    void burst();

    /// The column of the tile sheet, that is the kind of ground; any position.
    INT32 ground(INT32 tileX, INT32 tileY) const;
    INT32 groundVariant(INT32 tileX, INT32 tileY) const;
    INT32 height(INT32 tileX, INT32 tileY) const; ///< 0..255; the sea is below kSeaLevel
    static constexpr INT32 kSeaLevel = 100;

    const Thing* things() const { return m_things; }
    KxcFixed heroX() const { return m_heroX; }
    KxcFixed heroY() const { return m_heroY; }
    Heading heading() const { return m_heading; }
    INT32 score() const { return m_score; }

    /// The difference b - a, the short way round the world; and from the hero to a thing, to where it is nearest.
    static KxcFixed distance(KxcFixed a, KxcFixed b);
    KxcFixed toThingX(const Thing& thing) const;
    KxcFixed toThingY(const Thing& thing) const;

private:
    INT32 random(INT32 below);
    void collect();

    UINT8 m_ground[kTiles][kTiles], m_height[kTiles][kTiles];
    Thing m_things[kThings];
    KxcFixed m_heroX, m_heroY, m_speedX, m_speedY;
    KxcFixed m_goalX, m_goalY;
    bool m_hasGoal = false;
    Heading m_heading = HEADING_UP;
    INT32 m_score = 0;
    UINT32 m_seed = 20260611;
};
