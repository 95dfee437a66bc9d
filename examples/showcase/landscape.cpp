// landscape.cpp - builds the terrain around the glider each frame, and draws everything with the depth-sorting
// renderer.
#include "landscape.h"

#include <cstdio>
#include <initializer_list>

namespace
{

constexpr INT32 kFraction = 16;                  // pixels of the map that make a tile
constexpr INT32 kTileColumns = 8, kTileRows = 4; // of the ground's texture
constexpr KxcFixed kHalfTurn(3.14159265), kQuarterTurn(1.57079633);
constexpr UINT32 kSky = 0x7FB4E0;
constexpr INT32 kWood = 5; // the kind of ground that trees stand on

KxcFixed heightOf(INT32 height) { return KxcFixed(height - World::kSeaLevel) / 22; }

KxcVector3 normalized(KxcFixed x, KxcFixed y, KxcFixed z)
{
    const KxcFixed length = KxcMath::sqrt(x * x + y * y + z * z);
    return {x / length, y / length, z / length};
}

/// How far the glider is into its tile, 0 up to 1.
KxcFixed intoTile(KxcFixed pixels)
{
    const KxcFixed tiles = pixels / kFraction;
    return tiles - KxcMath::floor(tiles);
}

INT32 tileOf(KxcFixed pixels) { return static_cast<INT32>(pixels) / kFraction; }

KxcGLTexture* loadTexture(const char* name, INT32 flags)
{
    KxcGLTexture* texture = KxcGLTextureFromFile::create(name, flags, 0xFF00FF);
    if (!texture)
        std::fprintf(stderr, "showcase: %s is missing or damaged; build the project again\n", name);
    return texture;
}

/// The glider: nose, wings, fin; colours of the corners.
struct Corner
{
    double x, y, z;
    UINT32 color;
};
constexpr Corner kGlider[] = {
    {0, 0, 0.9, 0xFFFFFFFF},         {0.16, 0.05, -0.5, 0xFFD8D0C8},  {-0.16, 0.05, -0.5, 0xFFD8D0C8}, // back
    {0, 0, 0.9, 0xFFB0A8A0},         {-0.16, 0.05, -0.5, 0xFF908880}, {0, -0.14, -0.4, 0xFF605850},    // left side
    {0, 0, 0.9, 0xFFB0A8A0},         {0, -0.14, -0.4, 0xFF605850},    {0.16, 0.05, -0.5, 0xFF908880},  // right side
    {0.05, 0.03, 0.25, 0xFFE04030},  {1.1, 0.16, -0.3, 0xFFFFA090},   {0.1, 0.03, -0.4, 0xFFB02818},   // wings
    {-0.05, 0.03, 0.25, 0xFFE04030}, {-0.1, 0.03, -0.4, 0xFFB02818},  {-1.1, 0.16, -0.3, 0xFFFFA090},
    {0, 0.05, -0.2, 0xFFE04030},     {0, 0.42, -0.62, 0xFFFFA090},    {0, 0.03, -0.5, 0xFFB02818},     // fin
    {0.05, 0.07, 0.35, 0xFF60C8F0},  {0, 0.13, 0.1, 0xFFC0F0FF},      {-0.05, 0.07, 0.35, 0xFF60C8F0}, // glass
};
constexpr INT32 kGliderVertices = sizeof(kGlider) / sizeof(kGlider[0]);

} // namespace

bool Landscape::load()
{
    m_ground.reset(loadTexture("data/tiles.tga", KXCTEXTURE_LINEARMIP));
    m_tree.reset(loadTexture("data/tree.tga", KXCTEXTURE_LINEARMIP));
    m_gems.reset(loadTexture("data/gems.pcx", KXCTEXTURE_COLORKEY));
    m_glow.reset(loadTexture("data/glow.tga", KXCTEXTURE_LINEARMIP));
    m_terrain.reset(
        KxcGLVertexBuffer::create(KXCGLVERTEX_POSITION | KXCGLVERTEX_NORMAL, sizeof(Vertex), kSide * kSide));
    m_tiles.reset(KxcGLTriangleInfoBuffer::create(KXCGLTRIANGLEINFO_TEXTURE, 24, (kSide - 1) * (kSide - 1) * 2));
    m_sea.reset(
        KxcGLVertexBuffer::create(KXCGLVERTEX_POSITION | KXCGLVERTEX_COLOR, sizeof(ColoredVertex), kSide * kSide));
    m_glider.reset(
        KxcGLVertexBuffer::create(KXCGLVERTEX_POSITION | KXCGLVERTEX_COLOR, sizeof(ColoredVertex), kGliderVertices));
    m_marker.reset(KxcGLVertexBuffer::create(KXCGLVERTEX_POSITION | KXCGLVERTEX_COLOR, sizeof(ColoredVertex), 1));
    if (!m_ground || !m_tree || !m_gems || !m_glow || !m_terrain || !m_tiles || !m_sea || !m_glider || !m_marker)
        return false;

    UINT16* index = m_indices;
    for (INT32 z = 0; z + 1 < kSide; ++z)
        for (INT32 x = 0; x + 1 < kSide; ++x)
        {
            const UINT16 corner = static_cast<UINT16>(z * kSide + x), above = static_cast<UINT16>(corner + kSide);
            for (UINT16 i : {corner, static_cast<UINT16>(corner + 1), above, static_cast<UINT16>(corner + 1),
                             static_cast<UINT16>(above + 1), above})
                *index++ = i;
        }
    ColoredVertex* glider = static_cast<ColoredVertex*>(m_glider->lock(0));
    for (const Corner& c : kGlider)
        *glider++ = {{KxcFixed(c.x), KxcFixed(c.y), KxcFixed(c.z)}, c.color};
    m_glider->optimize();
    return true;
}

void Landscape::setUp(KxcGL* gl)
{
    KxcGLLight sun = {};
    sun.type = KXCGLLIGHT_DIRECTIONAL;
    sun.colour[0] = KxcFixed(0.95), sun.colour[1] = KxcFixed(0.9), sun.colour[2] = KxcFixed(0.75);
    sun.direction = normalized(KxcFixed(0.6), KxcFixed(0.6), KxcFixed(-0.35));
    gl->setLight(0, sun);
    gl->enableLight(0, 1);
    gl->setMaterial({0xFFFFFFFF, 0, 0xC8D4FF, 0, 0});
    gl->setStateI(KXCGLSTATE_AMBIENT, 0x606060);
    gl->setStateI(KXCGLSTATE_PERSPECTIVELIMIT, 12); // far triangles are small: affine will do
    gl->setCustomCallback(this);
}

void Landscape::setBlending(KxcGL* gl, INT32 source, INT32 destination)
{
    gl->setStateI(KXCGLSTATE_BLENDING, 1);
    gl->setStateI(KXCGLSTATE_SOURCEBLEND, source);
    gl->setStateI(KXCGLSTATE_DESTBLEND, destination);
}

void Landscape::setCamera(KxcGL* gl)
{
    KxcMatrix4 projection, view, world;
    const INT32 width = m_screen->getWidth(), height = m_screen->getHeight();
    gl->setViewport({0, 0, width, height, 0, 0});
    KxcMath::matrixToProjection(projection, height, width, KxcFixed(0.9), KxcFixed(0.3), KxcFixed(60));
    const KxcVector3 eye = {KxcFixed(0), m_gliderHeight + KxcFixed(2.6), KxcFixed(-5)};
    const KxcVector3 target = {KxcFixed(0), m_gliderHeight - KxcFixed(0.6), KxcFixed(3)};
    KxcMath::matrixInverseFast(KxcMath::matrixLookAt(view, eye, target, {KxcFixed(0), KxcFixed(1), KxcFixed(0)}));
    gl->setMatrix(KXCGLMATRIX_PROJECTION, projection);
    gl->setMatrix(KXCGLMATRIX_VIEW, view);
    gl->setMatrix(KXCGLMATRIX_WORLD, KxcMath::matrixIdentity(world));
}

void Landscape::draw(KxcGL* gl, const World& world)
{
    static constexpr KxcFixed kTurns[] = {KxcFixed(0), -kQuarterTurn, kHalfTurn, kQuarterTurn};
    ++m_frames;
    m_screen = gl->getSecondary();
    m_triangles = 0;
    // The glider follows the ground and turns its nose the short way round, both a little each frame.
    const KxcFixed wanted = terrainHeight(world, KxcFixed(0), KxcFixed(1)) + KxcFixed(1.6);
    m_gliderHeight = m_frames == 1 ? wanted : m_gliderHeight + (wanted - m_gliderHeight) / 16;
    KxcFixed turn = kTurns[world.heading()] - m_turn;
    turn = turn > kHalfTurn    ? turn - kHalfTurn * KxcFixed(2)
           : turn < -kHalfTurn ? turn + kHalfTurn * KxcFixed(2)
                               : turn;
    m_turn += turn / 6;

    setCamera(gl);
    gl->setStateI(KXCGLSTATE_PERSPECTIVE, m_perspective);
    gl->setStateI(KXCGLSTATE_WIREFRAME, m_wireframe);
    gl->clear(kSky, KxcFixed(0), 0);
    gl->beginRender();
    drawTerrain(gl, world);
    drawSea(gl, world);
    drawTrees(gl, world);
    drawThings(gl, world);
    drawShadow(gl, world);
    drawGlider(gl, world);
    drawIcons(gl, world);
    gl->endRender();
}

KxcFixed Landscape::terrainHeight(const World& world, KxcFixed x, KxcFixed z) const
{
    const INT32 tileX = static_cast<INT32>((world.heroX() / kFraction) + x),
                tileY = static_cast<INT32>((world.heroY() / kFraction) - z);
    const KxcFixed height = heightOf(world.height(tileX, tileY));
    return height > KxcFixed(0) ? height : KxcFixed(0);
}

void Landscape::drawTerrain(KxcGL* gl, const World& world)
{
    const INT32 west = tileOf(world.heroX()) - kRadius, south = tileOf(world.heroY()) + kRadius;
    const KxcFixed offX = intoTile(world.heroX()), offY = intoTile(world.heroY());
    const auto height = [&](INT32 column, INT32 row) { return heightOf(world.height(west + column, south - row)); };

    Vertex* vertex = static_cast<Vertex*>(m_terrain->lock(0));
    for (INT32 row = 0; row < kSide; ++row)
        for (INT32 column = 0; column < kSide; ++column, ++vertex)
        {
            vertex->position = {KxcFixed(column - kRadius) - offX, height(column, row), KxcFixed(row - kRadius) + offY};
            vertex->normal = normalized(height(column - 1, row) - height(column + 1, row), KxcFixed(2),
                                        height(column, row - 1) - height(column, row + 1));
        }
    m_terrain->unlock();

    // Each tile shows its cell of the texture, kept off the neighbours by a texel.
    KxcFixed* uv = static_cast<KxcFixed*>(m_tiles->lock());
    const KxcFixed width = KxcFixed(1) / kTileColumns, depth = KxcFixed(1) / kTileRows, rim = KxcFixed(1) / 128;
    for (INT32 row = 0; row + 1 < kSide; ++row)
        for (INT32 column = 0; column + 1 < kSide; ++column)
        {
            const INT32 tileX = west + column, tileY = south - row;
            const KxcFixed left = width * KxcFixed(world.ground(tileX, tileY)) + rim,
                           right = left + width - rim * KxcFixed(2);
            const KxcFixed top = depth * KxcFixed(world.groundVariant(tileX, tileY)) + rim,
                           bottom = top + depth - rim * KxcFixed(2);
            for (const KxcFixed& value : {left, right, left, bottom, bottom, top, right, right, left, bottom, top, top})
                *uv++ = value;
        }
    m_tiles->unlock();

    gl->setStateI(KXCGLSTATE_BLENDING, 0);
    gl->setStateI(KXCGLSTATE_LIGHTING, 1);
    gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_GOURAUD);
    gl->setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NEGATIVE);
    gl->setTexture(m_ground.get());
    gl->renderPrimitiveIndexed(m_terrain.get(), KXCGLPRIMITIVE_LIST, 0, m_indices,
                               static_cast<INT32>(sizeof(m_indices) / sizeof(m_indices[0])), 0, kSide * kSide - 1,
                               m_tiles.get());
    m_triangles += (kSide - 1) * (kSide - 1) * 2;
    gl->setStateI(KXCGLSTATE_LIGHTING, 0);
}

/// Translucent water over the tiles that lie below the sea, drawn after the ground that shows through it.
void Landscape::drawSea(KxcGL* gl, const World& world)
{
    const INT32 west = tileOf(world.heroX()) - kRadius, south = tileOf(world.heroY()) + kRadius;
    const KxcFixed offX = intoTile(world.heroX()), offY = intoTile(world.heroY());
    const auto isSea = [&](INT32 column, INT32 row)
    { return world.height(west + column, south - row) < World::kSeaLevel; };
    INT32 count = 0;
    ColoredVertex* vertex = static_cast<ColoredVertex*>(m_sea->lock(0));
    for (INT32 row = 0; row < kSide; ++row)
        for (INT32 column = 0; column < kSide; ++column, ++vertex)
        {
            const INT32 tileX = west + column, tileY = south - row;
            const KxcFixed wave = KxcMath::sin(KxcFixed(m_frames) / 20 + KxcFixed((tileX * 2 + tileY * 3) & 63)) / 14;
            *vertex = {{KxcFixed(column - kRadius) - offX, wave - KxcFixed(0.08), KxcFixed(row - kRadius) + offY},
                       ((tileX + tileY) & 1) != 0 ? 0x902868B0 : 0xA83078C8};
            if (column + 1 == kSide || row + 1 == kSide || !isSea(column, row) || !isSea(column + 1, row) ||
                !isSea(column, row + 1) || !isSea(column + 1, row + 1))
                continue;
            for (INT32 corner : {0, 1, kSide, 1, kSide + 1, INT32(kSide)})
                m_seaIndices[count++] = static_cast<UINT16>(row * kSide + column + corner);
        }
    m_sea->unlock();
    setBlending(gl, KXCGLFACTOR_SOURCEALPHA, KXCGLFACTOR_INVSOURCEALPHA);
    gl->setStateF(KXCGLSTATE_SORTBIAS, KxcFixed(-0.3));
    gl->setTexture(nullptr);
    gl->renderPrimitiveIndexed(m_sea.get(), KXCGLPRIMITIVE_LIST, 0, m_seaIndices, count, 0, kSide * kSide - 1, nullptr);
    gl->setStateI(KXCGLSTATE_SORTBIAS, 0);
    m_triangles += count / 3;
}

/// Cut-outs that face the camera: 5515 textures show their opaque texels only.
void Landscape::drawTrees(KxcGL* gl, const World& world)
{
    const KxcFixed offX = intoTile(world.heroX()), offY = intoTile(world.heroY());
    gl->setStateI(KXCGLSTATE_BLENDING, 0);
    gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_TEXTURE);
    gl->setTexture(m_tree.get());
    for (INT32 z = -3; z < kRadius; ++z)
        for (INT32 x = -kRadius; x < kRadius; ++x)
        {
            const INT32 tileX = tileOf(world.heroX()) + x, tileY = tileOf(world.heroY()) - z;
            if (world.ground(tileX, tileY) != kWood || (tileX * 7 + tileY * 5) % 3 != 0)
                continue;
            const KxcFixed size = KxcFixed(1.5) + KxcFixed(world.groundVariant(tileX, tileY)) / 6;
            gl->drawSprite3dBillboard(KxcFixed(x) - offX, heightOf(world.height(tileX, tileY)) + size / 2,
                                      KxcFixed(z) + offY, size, size, KxcFixed(0), KxcFixed(1), KxcFixed(1),
                                      KxcFixed(0), nullptr, 0xFFFFFFFF);
            m_triangles += 2;
        }
}

/// Gems as cut-outs, lights as glow that is added, and a ring around the nearest gem as the game's own item.
void Landscape::drawThings(KxcGL* gl, const World& world)
{
    KxcFixed nearest(World::kWorldSize), markX(0), markY(0), markZ(0);
    for (INT32 i = 0; i < World::kThings; ++i)
    {
        const Thing& thing = world.things()[i];
        const KxcFixed x = world.toThingX(thing) / kFraction, z = -world.toThingY(thing) / kFraction;
        if (thing.taken || z < KxcFixed(-4) || z > KxcFixed(kRadius) || KxcMath::abs(x) > KxcFixed(kRadius))
            continue;
        const KxcFixed bob = KxcMath::sin(KxcFixed(m_frames + i * 11) / 12) / 6;
        const KxcFixed y = terrainHeight(world, x, z) + KxcFixed(1.3) + bob;
        const bool isGem = thing.sheet == SHEET_GEMS;
        if (isGem)
        {
            const KxcFixed left = KxcFixed(thing.cell) / 8;
            gl->setStateI(KXCGLSTATE_BLENDING, 0);
            gl->setTexture(m_gems.get());
            gl->drawSprite3dBillboard(x, y, z, KxcFixed(0.8), KxcFixed(0.8), left, KxcFixed(1), left + KxcFixed(0.125),
                                      KxcFixed(0), nullptr, 0xFFFFFFFF);
            const KxcFixed far = KxcMath::abs(x) + KxcMath::abs(z);
            if (far < nearest && z > KxcFixed(0))
                nearest = far, markX = x, markY = y, markZ = z;
        }
        else
        {
            setBlending(gl, KXCGLFACTOR_ONE, KXCGLFACTOR_ONE);
            gl->setTexture(m_glow.get());
            gl->drawSprite3dBillboard(x, y, z, KxcFixed(2), KxcFixed(2), KxcFixed(0), KxcFixed(0), KxcFixed(1),
                                      KxcFixed(1), nullptr, 0xC0FFFFFF);
        }
        m_triangles += 2;
    }
    if (nearest < KxcFixed(World::kWorldSize))
    {
        ColoredVertex* vertex = static_cast<ColoredVertex*>(m_marker->lock(0));
        *vertex = {{markX, markY, markZ}, 0xFF60FF90};
        gl->setCustomCallbackData(m_frames);
        gl->renderPrimitive(m_marker.get(), KXCGLPRIMITIVE_CUSTOM, 0, 1, 0, 0, nullptr);
    }
}

void Landscape::render(const KxcGLCustomItem* item, INT32 data)
{
    const KxcFixed radius = KxcFixed(m_screen->getHeight()) / 2 / (item->w > KxcFixed(1) ? item->w : KxcFixed(1));
    KxcFixed fromX = item->x + radius, fromY = item->y;
    for (INT32 i = 1; i <= 12; ++i)
    {
        const KxcFixed angle = KxcFixed(i) * kHalfTurn / 6;
        const KxcFixed x = item->x + KxcMath::cos(angle) * radius, y = item->y + KxcMath::sin(angle) * radius;
        if ((i + data / 8) % 2)
            m_screen->drawAALine(fromX, fromY, x, y, item->color & 0xFFFFFF);
        fromX = x, fromY = y;
    }
}

/// The glider's shadow: the ground times the complement of the glow.
void Landscape::drawShadow(KxcGL* gl, const World& world)
{
    KxcMatrix4 flat;
    KxcMath::matrixRotationX(flat, kQuarterTurn);
    setBlending(gl, KXCGLFACTOR_ZERO, KXCGLFACTOR_INVSOURCECOLOR);
    gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_TEXTURE);
    gl->setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NONE);
    gl->setStateI(KXCGLSTATE_SORTBIAS, -3);
    gl->setTexture(m_glow.get());
    gl->drawSprite3d(KxcFixed(0), terrainHeight(world, KxcFixed(0), KxcFixed(0)) + KxcFixed(1.15), KxcFixed(0),
                     KxcFixed(1.6), KxcFixed(1.6), KxcFixed(0), KxcFixed(0), KxcFixed(1), KxcFixed(1), &flat,
                     0xFFFFFFFF);
    gl->setStateI(KXCGLSTATE_SORTBIAS, 0);
    m_triangles += 2;
}

void Landscape::drawGlider(KxcGL* gl, const World&)
{
    KxcMatrix4 world, place;
    KxcMath::matrixRotationY(world, m_turn);
    KxcMath::matrixTranslation(place, {KxcFixed(0), m_gliderHeight, KxcFixed(0)});
    KxcMath::matrixMultiply(world, place, world);
    gl->setMatrix(KXCGLMATRIX_WORLD, world);
    gl->setStateI(KXCGLSTATE_BLENDING, 0);
    gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_GOURAUD);
    gl->setStateI(KXCGLSTATE_SORTBIAS, -1);
    gl->setTexture(nullptr);
    gl->renderPrimitive(m_glider.get(), KXCGLPRIMITIVE_LIST, 0, kGliderVertices, 0, kGliderVertices - 1, nullptr);
    gl->setStateI(KXCGLSTATE_SORTBIAS, 0);
    gl->setStateI(KXCGLSTATE_CULLING, KXCGLCULL_NEGATIVE);
    gl->setMatrix(KXCGLMATRIX_WORLD, KxcMath::matrixIdentity(world));
    m_triangles += kGliderVertices / 3;
}

/// What was caught, as sprites on the screen.
void Landscape::drawIcons(KxcGL* gl, const World& world)
{
    constexpr INT32 kSize = 20;
    gl->setStateI(KXCGLSTATE_SHADING, KXCGLSHADE_TEXTURE);
    gl->setStateI(KXCGLSTATE_SORTBIAS, -100);
    gl->setTexture(m_gems.get());
    for (INT32 i = 0; i < world.score() && i < 10; ++i)
    {
        const KxcFixed left = KxcFixed(i % 6) / 8;
        gl->drawSprite2d2(KxcFixed(8 + i * (kSize + 2)), KxcFixed(8), KxcFixed(0), KxcFixed(kSize), KxcFixed(kSize),
                          left, KxcFixed(0), left + KxcFixed(0.125), KxcFixed(1), nullptr, 0xFFFFFFFF);
        m_triangles += 2;
    }
    gl->setStateI(KXCGLSTATE_SORTBIAS, 0);
}
