// perspective.cpp - the textured fillers with perspective correction.
//
// Every function has a section of its own, so a game carries only the fillers that it names.
#include "gl/fillers/fill_triangle.h"

#include <kxcoreemb/gl_fillers.h>

KXC_GL_PERSPECTIVE_FILLERS(KXC_GL_DEFINE_FILLER)
