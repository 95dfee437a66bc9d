// fuzz_svg.cpp - reads a drawing that is anything at all with examples/svg_viewer, and draws it: the reader, and with
// it paths, strokes, dashes and gradients of the library.
#include "fuzz.h"
#include "svg_drawing.h"

#include <memory>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    return startCore([]() -> long { return kxcUse2DVectorGraphics(), 0; });
}

extern "C" int LLVMFuzzerTestOneInput(const UINT8* bytes, size_t size)
{
    SvgFile file;
    if (!file.load(bytes, size).empty())
        return 0;
    const std::unique_ptr<KxcGLSurface> picture(KxcGLSurface::create(40, 24, KXCSURFACEFORMAT_PREMUL8888));
    picture->clear(0);
    drawSvg(file, picture.get(), fitSvg(file, 40, 24));
    return 0;
}
