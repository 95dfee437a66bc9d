// gl_fillers.h - opting into the code that fills triangles: a game carries only what it registers.
//
// Every combination of shading, texture and blend has a filler of its own, and a triangle whose filler was not
// registered is not drawn. Creating a device forgets all registrations, and "ReferenceARM" registers all fillers
// itself. So a game that wants few of them creates another device and then calls what it needs:
//
//   KxcGL* gl = KxcGL::create(100, 0);        // "Stub"
//   kxcGLUseFillerGouraud();                  // untextured
//   kxcGLUseFillerTexturePerspectiveAlpha();  // 55X5 textures, perspective-correct, blended by alpha
#pragma once

#include <kxcoreemb/base.h>

/// @cond
#define KXC_GL_FILLER_BLENDS(FILLER, prefix, format, shading, texel, perspective) \
    FILLER(prefix##format, shading, texel, None, perspective)                     \
    FILLER(prefix##Alpha##format, shading, texel, Alpha, perspective)             \
    FILLER(prefix##Add##format, shading, texel, Add, perspective)                 \
    FILLER(prefix##Invmul##format, shading, texel, Invmul, perspective)
#define KXC_GL_FILLER_SHADINGS(FILLER, prefix, format, texel, perspective)             \
    KXC_GL_FILLER_BLENDS(FILLER, prefix, format, None, texel, perspective)             \
    KXC_GL_FILLER_BLENDS(FILLER, prefix##Flat, format, Flat, texel, perspective)       \
    KXC_GL_FILLER_BLENDS(FILLER, prefix##Gouraud, format, Gouraud, texel, perspective) \
    KXC_GL_FILLER_BLENDS(FILLER, prefix##GreyscaleGouraud, format, Greyscale, texel, perspective)

#define KXC_GL_UNTEXTURED_FILLERS(FILLER)                         \
    KXC_GL_FILLER_BLENDS(FILLER, Flat, , Flat, None, false)       \
    KXC_GL_FILLER_BLENDS(FILLER, Gouraud, , Gouraud, None, false) \
    KXC_GL_FILLER_BLENDS(FILLER, GreyscaleGouraud, , Greyscale, None, false)
#define KXC_GL_AFFINE_FILLERS(FILLER)                                \
    KXC_GL_FILLER_SHADINGS(FILLER, Texture, , 55X5, false)           \
    KXC_GL_FILLER_SHADINGS(FILLER, Texture, Pal55X5, Pal55X5, false) \
    KXC_GL_FILLER_BLENDS(FILLER, Texture, 5515, None, 5515, false)
#define KXC_GL_PERSPECTIVE_FILLERS(FILLER)                                     \
    KXC_GL_FILLER_SHADINGS(FILLER, TexturePerspective, , 55X5, true)           \
    KXC_GL_FILLER_SHADINGS(FILLER, TexturePerspective, Pal55X5, Pal55X5, true) \
    KXC_GL_FILLER_BLENDS(FILLER, TexturePerspective, 5515, None, 5515, true)
/// @endcond

/// FILLER(name, shading, texel, blend, perspective) for each of the 84 functions kxcGLUseFiller<name>, which register a
/// filler: kxcGLUseFillerFlat, kxcGLUseFillerTexturePerspectiveGouraudAlphaPal55X5 and so on.
///
/// The name says what is filled: nothing, Texture or TexturePerspective; Flat, Gouraud, GreyscaleGouraud or nothing for
/// the texture as it is; nothing, Alpha, Add or Invmul; nothing for 55X5 textures, 5515 or Pal55X5 for PALETTE8 ones.
/// Calling one twice, or without a core, is harmless.
#define KXC_GL_FILLERS(FILLER)        \
    KXC_GL_UNTEXTURED_FILLERS(FILLER) \
    KXC_GL_AFFINE_FILLERS(FILLER)     \
    KXC_GL_PERSPECTIVE_FILLERS(FILLER)

/// @cond
#define KXC_GL_DECLARE_FILLER(name, shading, texel, blend, perspective) KXC_API void kxcGLUseFiller##name();
KXC_GL_FILLERS(KXC_GL_DECLARE_FILLER)
#undef KXC_GL_DECLARE_FILLER
/// @endcond

KXC_API void kxcGLUseDefaults(); ///< registers all of them
