// picture_kernels.h - the loops of sprites and of the toolkit: apart from those of pixel_kernels.h, so that a game
// without either does not carry them. Made and chosen in the same way.
#pragma once

#include <kxcoreemb/base.h>

#include <cstddef>

/// Rows of a sprite to lay over 55X5 pixels; rle_runs.h tells how they are encoded.
struct KxcSpriteRows
{
    void* target;          ///< where the first visible pixel of the first row goes
    ptrdiff_t targetPitch; ///< in bytes
    const void* targetEnd; ///< of the whole picture: vectors may write what is there already up to here
    const UINT16* data;    ///< goes on for 16 words behind the last row
    const INT32* lines;    ///< where in the data the rows start
    INT32 firstColumn, endColumn, rows;
    bool clipped; ///< not all columns are visible
};

/// The pixels of a row that a wider row is mixed from.
struct KxcPixelMix
{
    const INT32 *left, *right; ///< in pixels
    const UINT32* weights;     ///< of the right ones, 0..256
    INT32 count;
};

/// Two entries are for 55X5 and 8888: KxcPixelKernels::Size. texels.h tells what the toolkit's loops work on.
struct KxcPictureKernels
{
    void (*layRuns)(const KxcSpriteRows& rows);
    /// Pairs: `count` times red and blue, and then `count` times alpha and green.
    void (*widenRow[2])(const void* source, const KxcPixelMix& mix, UINT32* pairs);
    /// Two of those, and the weight of the lower one, 0..256.
    void (*mixRows[2])(const UINT32* top, const UINT32* bottom, UINT32 weight, void* target, INT32 count);
    /// Adds weight x channel to `count` sums of blue, then of green, red and alpha.
    void (*sumRow[2])(const void* source, UINT32 weight, UINT32* sums, INT32 count);
};

/// The fastest table that this machine runs.
const KxcPictureKernels& kxcPictureKernels();
/// The table of the base machine, which all others equal bit by bit.
extern const KxcPictureKernels kxcPictureKernelsBase;
#if defined(KXC_KERNELS_AVX2)
extern const KxcPictureKernels kxcPictureKernelsAVX2;
#endif
