// landscape.h - the showcase's world in three dimensions: terrain, sea, trees, things and the glider from behind.
//
// A tile is one unit; x runs east, y up, z north. The origin is the glider's place on the map.
#pragma once

#include "world.h"

#include <memory>

class Landscape : private KxcGLCustomRenderCallback
{
public:
    /// Makes buffers and textures. @return false, with the reason on stderr, when something is missing
    bool load();
    void setUp(KxcGL* gl); ///< lights and states, for a device that was just made

    void draw(KxcGL* gl, const World& world);
    INT32 triangles() const { return m_triangles; } ///< of the last frame, before clipping

    void togglePerspective() { m_perspective = !m_perspective; }
    void toggleWireframe() { m_wireframe = !m_wireframe; }

private:
    static constexpr INT32 kRadius = 14, kSide = 2 * kRadius + 1; // vertices of the terrain around the glider

    struct Vertex
    {
        KxcVector3 position, normal;
    };
    struct ColoredVertex
    {
        KxcVector3 position;
        UINT32 color;
    };

    void setCamera(KxcGL* gl);
    void setBlending(KxcGL* gl, INT32 source, INT32 destination);
    void drawTerrain(KxcGL* gl, const World& world);
    void drawSea(KxcGL* gl, const World& world);
    void drawTrees(KxcGL* gl, const World& world);
    void drawThings(KxcGL* gl, const World& world);
    void drawGlider(KxcGL* gl, const World& world);
    void drawShadow(KxcGL* gl, const World& world);
    void drawIcons(KxcGL* gl, const World& world);
    void render(const KxcGLCustomItem* item, INT32 data) override; // a ring around the nearest gem
    KxcFixed terrainHeight(const World& world, KxcFixed x, KxcFixed z) const;

    std::unique_ptr<KxcGLVertexBuffer> m_terrain, m_sea, m_glider, m_marker;
    std::unique_ptr<KxcGLTriangleInfoBuffer> m_tiles;
    std::unique_ptr<KxcGLTexture> m_ground, m_tree, m_gems, m_glow;
    UINT16 m_indices[(kSide - 1) * (kSide - 1) * 6], m_seaIndices[(kSide - 1) * (kSide - 1) * 6];
    KxcGLSurface* m_screen = nullptr; // the device's, while a frame is drawn
    KxcFixed m_gliderHeight, m_turn;  // where the glider is, and where its nose points
    INT32 m_triangles = 0, m_frames = 0;
    bool m_perspective = true, m_wireframe = false;
};
