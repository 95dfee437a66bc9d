// svg_drawing.h - draws an SVG file through the engine's translator.
#pragma once

#include "svg_file.h"

#include <kxcoreemb/kxcoreemb.h>

/// @param target  PREMUL8888 when the file has layers; any other format else
/// @param view    from the file's units to pixels
void drawSvg(const SvgFile& file, KxcGLSurface* target, const Affine& view);
/// The view that shows all of the drawing in the middle of width x height pixels.
Affine fitSvg(const SvgFile& file, double width, double height);
