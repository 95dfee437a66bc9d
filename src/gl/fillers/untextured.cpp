// untextured.cpp - the fillers of triangles without a texture.
//
// Every function has a section of its own, so a game carries only the fillers that it names.
#include "gl/fillers/fill_triangle.h"

#include <kxcoreemb/gl_fillers.h>

KXC_GL_UNTEXTURED_FILLERS(KXC_GL_DEFINE_FILLER)
