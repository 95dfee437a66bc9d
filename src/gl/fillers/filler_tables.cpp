// filler_tables.cpp - what stands in the filler tables before anything is registered, and registering everything.
#include "core/core_state.h"

#include <kxcoreemb/gl_fillers.h>

void kxcGLFillNothing(const KxcGLTriangle*, const KxcVector4*) {}

void kxcGLResetFillers()
{
    if (!kxcCore)
        return;
    for (auto& blend : kxcCore->fillers)
        for (auto& texture : blend)
            for (KxcGLFiller& filler : texture)
                filler = kxcGLFillNothing;
}

void kxcGLUseDefaults()
{
#define KXC_GL_USE_FILLER(name, shading, texel, blend, perspective) kxcGLUseFiller##name();
    KXC_GL_FILLERS(KXC_GL_USE_FILLER)
#undef KXC_GL_USE_FILLER
}
