// render_state.h - everything that is set between primitives and decides what becomes of them.
#pragma once

#include "gl/triangle.h"

#include <kxcoreemb/gl.h>

/// A light in object space, for as long as the matrices stay.
struct KxcGLLightCache
{
    KxcVector3 position, direction;
    UINT32 matrixCounter; // when it was made
    bool valid;
};

/// The state of a device. Setters answer 0, -2 for a value that is not supported, -3 for an id out of range.
class KxcGLRenderState
{
public:
    static constexpr INT32 kLights = 8;

    KxcGLRenderState();

    INT32 setI(INT32 id, INT32 value);
    INT32 setF(INT32 id, KxcFixed value);
    INT32 getI(INT32 id, INT32& value) const;
    INT32 getF(INT32 id, KxcFixed& value) const;
    static INT32 validateBlendMode(INT32 source, INT32 destination);

    INT32 setMatrix(INT32 id, const KxcMatrix4& m);
    INT32 getMatrix(INT32 id, KxcMatrix4& m) const;
    INT32 setLight(INT32 index, const KxcGLLight& light);
    INT32 enableLight(INT32 index, INT32 enable);
    INT32 setTexture(KxcGLTexture* newTexture);

    bool isOn(KXCGLSTATE id) const { return m_values[id] != 0; }
    INT32 value(KXCGLSTATE id) const { return m_values[id]; }
    UINT32 keyBias() const { return static_cast<UINT32>(m_keyBias); }
    KxcFixed perspectiveLimit() const { return m_perspectiveLimit; }
    /// The eight fillers of the blend and the texture.
    const KxcGLFiller* fillers() const;

    void refreshLightCaches(); ///< before lit vertices

    KxcMatrix4 world, view, projection, worldViewProjection;
    UINT32 matrixCounter = 1; // counts changes of the matrices
    KxcGLLight lights[kLights];
    UINT32 enabledLights = 0; // a bit each
    KxcGLLightCache lightCaches[kLights] = {};
    KxcGLMaterial material = {0x00FFFFFF, 0, 0, 0, 0};
    KxcGLViewport viewport = {};
    KxcGLTexture* texture = nullptr;
    KxcGLCustomRenderCallback* callback = nullptr;
    INT32 callbackData = 0;

private:
    INT32 store(INT32 id, INT32 value);
    void selectBlend();

    INT32 m_values[12];  // states 0 to 11
    INT32 m_keyBias = 0; // state 12 three times, 16.16: keys are sums of three vertices
    KxcFixed m_perspectiveLimit;
    KxcMatrix4 m_inverseWorld;
    bool m_inverseWorldCurrent = false;
    INT32 m_blendRow = 0, m_textureColumn = 0; // of the filler tables
    bool m_blendSupported = true;              // false: the untextured, unblended fillers
};
