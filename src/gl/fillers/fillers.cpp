// fillers.cpp - the 84 fillers: a walk over the triangle and a drawer of its pieces each.
//
// Fillers share walks, and affine and perspective ones share drawers. Every function has a section of its own, so a
// game carries only what the fillers that it names need.
#include "core/core_state.h"
#include "gl/fillers/draw_pieces.h"

#include <kxcoreemb/gl_fillers.h>

namespace
{

template <class Shade, class Texel, class Blend, bool kPerspective>
void fillTriangle(const KxcGLTriangle* triangle, const KxcVector4* vertices)
{
    constexpr Mapping kMapping = !Texel::kTextured ? Mapping::kNone
                                 : kPerspective    ? Mapping::kPerspective
                                                   : Mapping::kAffine;
    constexpr Drawer kDrawer = {drawPieces<Shade, Texel, Blend>, drawShortPieces<Shade, Texel, Blend>};
    Walk<Shade::kChannels, kGouraudAlpha<Shade, Blend>, kMapping> walk(Texel::kFormat, kDrawer);
    walk.triangle(triangle->corners, vertices);
}

/// Puts a filler in its slots of the tables. Without a texture, perspective and what a texture alone would show make
/// no difference.
template <class Shade, class Texel, class Blend, bool kPerspective>
void useFiller()
{
    if (!kxcCore)
        return;
    KxcGLFiller* slots = kxcCore->fillers[Blend::kRow][Texel::kColumn];
    const KxcGLFiller filler = fillTriangle<Shade, Texel, Blend, kPerspective>;
    if (Texel::kTextured)
        slots[Shade::kSlot + (kPerspective ? 4 : 0)] = filler;
    else
    {
        slots[Shade::kSlot] = slots[Shade::kSlot + 4] = filler;
        if (Shade::kSlot == ShadeFlat::kSlot)
            slots[ShadeNone::kSlot] = slots[ShadeNone::kSlot + 4] = filler;
    }
}

} // namespace

#define KXC_GL_DEFINE_FILLER(name, shading, texel, blend, perspective) \
    void kxcGLUseFiller##name() { useFiller<Shade##shading, Texel##texel, Blend##blend, perspective>(); }
KXC_GL_FILLERS(KXC_GL_DEFINE_FILLER)
