// surface_toolkit.h - pictures made of pictures: resized, turned, skewed; and colours reduced in place.
#pragma once

#include <kxcoreemb/fixed.h>
#include <kxcoreemb/surface.h>

/// How ditherSurface() hides the steps between the colours that are left.
enum KXCDITHER : KxcINT32
{
    KXCDITHER_NONE = 0,
    KXCDITHER_RANDOM = 1,         ///< noise, the same in every call
    KXCDITHER_ORDERED = 2,        ///< a pattern of 4 x 4
    KXCDITHER_ERRORDIFFUSION = 3, ///< Floyd-Steinberg
};

/// Operations that games apply while they load, not in every frame.
///
/// Units      pixel centres have whole coordinates, y grows downwards.
/// Formats    565, X6X5X5, PALETTE8 and 55X5 are worked on as 55X5, X888 as X888, all others as PREMUL8888. A result
///            has its source's format, and 55X5 where that is PALETTE8. Colour keys are neither heeded nor handed on.
/// Ownership  the caller deletes the surfaces that are returned.
/// Failure    null when an argument is refused, memory runs out, or the source is null or cannot be locked.
/// Threads    the frame thread only.
class KXC_API KxcGLSurfaceToolkit
{
public:
    /// The picture in another size. Along an axis that shrinks, pixels are averages of the source's area that they
    /// cover; along one that grows, they are mixed from two neighbours, and the first and the last pixel stay exactly
    /// what they were.
    /// @return null also for a width or height below 1, or when an axis shrinks to less than 1/65536
    static KxcGLSurface* resampleSurface(KxcGLSurface* source, KxcINT32 width, KxcINT32 height);
    /// The same by factors. @param scaleX, scaleY  the sizes are the source's times these, floored
    static KxcGLSurface* resampleSurface(KxcGLSurface* source, KxcFixed scaleX, KxcFixed scaleY);

    /// The picture mapped through an affine transform, p' = p * M; what shrinks is averaged first. Around the source
    /// everything is 0: transparent, or black in formats without alpha.
    /// @param origin  receives where the result's top left pixel lies among the mapped points
    /// @return null also when the matrix is singular, a scale is below 1/256, or the origin does not fit its type
    static KxcGLSurface* transformSurface(KxcGLSurface* source, const KxcMatrix3& m, KxcVector2& origin);
    /// transformSurface() with a rotation (KxcMath::matrixRotation2D), which needs a core. @param angle  in radians
    static KxcGLSurface* rotateSurface(KxcGLSurface* source, KxcFixed angle);
    /// Moves row y to the right by skewX * y pixels, and then column x of that down by skewY * x pixels; to the left
    /// and up where these are negative. The result holds all of it, and is 0 around it.
    static KxcGLSurface* skewSurface(KxcGLSurface* source, KxcFixed skewX, KxcFixed skewY);

    /// Reduces the colours in place; where that fails, and on PALETTE8 surfaces, nothing changes.
    /// @param levels  for alpha, red, green and blue, from the top byte down: how many levels are left, less one.
    ///                0x011F1F1F is what 5515 holds. For KXCDITHER_RANDOM and _ORDERED none may be 0
    /// @param method  a KXCDITHER_; others change nothing
    static void ditherSurface(KxcGLSurface* surface, KxcUINT32 levels, KxcINT32 method);
};
