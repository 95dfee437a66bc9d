// rle_encode.cpp - makes sprites of surfaces, and checks encodings that come from elsewhere.

#include <kxcoreemb/rle_sprite.h>

#include "surfaces/rle_runs.h"
#include "surfaces/surface_reader.h"

#include <cstring>
#include <new>

namespace
{

constexpr UINT32 kNoColor = 0xFFFFFFFF;                // no pixel's: alphas end at 32
constexpr INT32 kPadding = 16;                         // words behind the data, for vectors that read beyond a run
constexpr size_t kWordsPerPixel = 3, kWordsPerEnd = 1; // at most: code, alpha, colour

UINT32 reduceColor(UINT32 color)
{
    const UINT32 alpha = ((color >> 24) + 4) * 32; // as blend values are reduced
    return ((alpha + (alpha >> 8)) >> 8) << 24 | (color & 0xF8F8F8);
}

bool isOpaque(UINT32 color) { return color >> 24 == kOpaqueAlpha; }

/// A row of source colours, and which of them are transparent.
class ColorRow
{
public:
    ColorRow(const UINT8* pixels, UINT32 width, INT32 format, INT32 bytesPerPixel, UINT32 mask, UINT32 key)
        : m_pixels(pixels),
          m_width(static_cast<INT32>(width)),
          m_format(format),
          m_bytes(bytesPerPixel),
          m_mask(mask),
          m_key(reduceColor(key) & mask)
    {
    }
    INT32 width() const { return m_width; }
    UINT32 at(INT32 x) const
    {
        return x >= 0 && x < m_width
                   ? KxcRLESprite::getSourceColor(m_pixels + static_cast<ptrdiff_t>(x) * m_bytes, m_format, m_bytes)
                   : kNoColor;
    }
    bool isTransparent(UINT32 color) const { return (color & m_mask) == m_key; }
    bool startsRepeat(INT32 x) const { return at(x) == at(x - 1) && at(x) == at(x + 1); }

    /// How many pixels from x on belong together: the first, and those after it that `joins(x)` admits.
    template <class Joins>
    INT32 run(INT32 x, Joins joins) const
    {
        const INT32 start = x++;
        while (x < m_width && x - start < kLongestRun && joins(x))
            ++x;
        return x - start;
    }

private:
    const UINT8* m_pixels;
    INT32 m_width, m_format, m_bytes;
    UINT32 m_mask, m_key;
};

UINT16 to55X5(UINT32 color)
{
    return static_cast<UINT16>((color >> 19 & 31) << 11 | (color >> 10 & 63) << 5 | (color >> 3 & 31));
}

ColorRow rowOf(const KxcSurfaceReader& reader, INT32 x, INT32 y, INT32 width, UINT32 mask, UINT32 key)
{
    const INT32 bytes = static_cast<INT32>(kxcSurfaceFormats[reader.format()].bytesPerPixel);
    return {reader.row(y) + static_cast<ptrdiff_t>(x) * bytes,
            static_cast<UINT32>(width),
            reader.format(),
            bytes,
            mask,
            key};
}

KxcRectangle extentsOf(const KxcSurfaceReader& reader, UINT32 mask, UINT32 key)
{
    INT32 left = reader.width(), right = 0, top = reader.height(), bottom = 0;
    for (INT32 y = 0; y < reader.height(); ++y)
    {
        const ColorRow row = rowOf(reader, 0, y, reader.width(), mask, key);
        INT32 first = 0, end = row.width();
        while (first < end && row.isTransparent(row.at(first)))
            ++first;
        while (end > first && row.isTransparent(row.at(end - 1)))
            --end;
        if (first == end)
            continue;
        left = first < left ? first : left;
        right = end > right ? end : right;
        top = y < top ? y : top;
        bottom = y + 1;
    }
    return left < right ? KxcRectangle{left, top, right - left, bottom - top} : KxcRectangle{0, 0, 0, 0};
}

INT32 compress(const ColorRow& row, UINT16* out)
{
    const UINT16* const start = out;
    const auto putCode = [&out](UINT32 kind, INT32 count)
    { *out++ = static_cast<UINT16>(kind << kRunKindShift | static_cast<UINT32>(count)); };
    for (INT32 x = 0, count; x < row.width(); x += count)
    {
        const UINT32 color = row.at(x);
        if (row.isTransparent(color))
        {
            count = row.run(x, [&](INT32 next) { return row.isTransparent(row.at(next)); });
            putCode(kRunTransparent, count);
        }
        else if (row.startsRepeat(x))
        {
            count = row.run(x, [&](INT32 next) { return row.at(next) == color; });
            putCode(kRunRepeat, count);
        }
        else
        {
            const bool opaque = isOpaque(color);
            count = row.run(x,
                            [&](INT32 next)
                            {
                                const UINT32 c = row.at(next);
                                return !row.isTransparent(c) && isOpaque(c) == opaque && !row.startsRepeat(next);
                            });
            putCode(opaque ? kRunOpaque : kRunTranslucent, count);
            for (INT32 i = x; i < x + count; ++i)
            {
                if (!opaque)
                    *out++ = static_cast<UINT16>(row.at(i) >> 24);
                *out++ = to55X5(row.at(i));
            }
        }
    }
    *out++ = 0;
    return static_cast<INT32>(out - start);
}

/// Does a row of this width start at `code`, and end before `end`?
bool isRow(const UINT16* code, const UINT16* end, INT32 width)
{
    bool started = false; // there is a pixel to repeat
    INT32 column = 0;
    while (code < end)
    {
        const UINT32 word = *code++;
        if (word == 0)
            return true;
        const INT32 count = static_cast<INT32>(word & kLongestRun);
        const UINT32 kind = word >> kRunKindShift;
        if (count == 0 || count > width - column || (kind == kRunRepeat && !started))
            return false;
        column += count;
        const ptrdiff_t words = kind == kRunOpaque ? count : kind == kRunTranslucent ? 2 * count : 0;
        if (words > end - code)
            return false;
        if (kind == kRunTranslucent)
            for (INT32 i = 0; i < count; ++i)
                if (code[2 * i] > kOpaqueAlpha)
                    return false;
        started = started || words > 0;
        code += words;
    }
    return false;
}

} // namespace

UINT32 KxcRLESprite::getSourceColor(const UINT8* pixel, INT32 format, INT32 bytesPerPixel)
{
    UINT32 value = *pixel;
    if (bytesPerPixel == 2)
    {
        UINT16 word;
        memcpy(&word, pixel, sizeof(word));
        value = word;
    }
    else if (bytesPerPixel == 4)
        memcpy(&value, pixel, sizeof(value));
    return reduceColor(KxcPixelConverter::convert(value, format, KXCSURFACEFORMAT_8888));
}

INT32 KxcRLESprite::compressLine(const UINT8* row, UINT16* out, UINT32 mask, UINT32 key, UINT32 width, INT32 format,
                                 INT32 bytesPerPixel)
{
    return compress(ColorRow(row, width, format, bytesPerPixel, mask, key), out);
}

void KxcRLESprite::getExtents(KxcGLSurface* surface, KxcRectangle* result, UINT32 mask, UINT32 key)
{
    if (surface == nullptr || result == nullptr)
        return;
    const KxcSurfaceReader reader(surface, 0);
    *result = reader ? extentsOf(reader, mask, key) : KxcRectangle{0, 0, surface->getWidth(), surface->getHeight()};
}

KxcRLESprite* KxcRLESprite::create(KxcGLSurface* surface, UINT32 mask, UINT32 key)
{
    const KxcSurfaceReader reader(surface, 0);
    if (!reader)
        return nullptr;
    const KxcRectangle part = extentsOf(reader, mask, key);
    UINT16* line = new (std::nothrow) UINT16[static_cast<size_t>(part.width) * kWordsPerPixel + kWordsPerEnd];
    KxcRLESprite* sprite = new (std::nothrow) KxcRLESprite;
    INT64 length = 0; // the rows are encoded twice: to count their words, and to keep them
    for (INT32 y = 0; line != nullptr && y < part.height; ++y)
        length += compress(rowOf(reader, part.x, part.y + y, part.width, mask, key), line);
    delete[] line;
    if (line == nullptr || sprite == nullptr || length > INT32_MAX ||
        !sprite->init(part.width, part.height, part.x, part.y, static_cast<INT32>(length)))
    {
        delete sprite;
        return nullptr;
    }
    INT32 next = 0;
    for (INT32 y = 0; y < part.height; ++y)
    {
        sprite->m_lineTable[y] = next;
        next += compress(rowOf(reader, part.x, part.y + y, part.width, mask, key), sprite->m_data + next);
    }
    return sprite;
}

KxcRLESprite* KxcRLESprite::create(INT32 width, INT32 height, INT32 xOffset, INT32 yOffset, const INT32* lineTable,
                                   const UINT16* data, INT32 dataLength)
{
    if (width < 0 || height < 0 || dataLength < 0 || (height > 0 && (lineTable == nullptr || data == nullptr)))
        return nullptr;
    for (INT32 y = 0; y < height; ++y)
        if (lineTable[y] < 0 || lineTable[y] >= dataLength || !isRow(data + lineTable[y], data + dataLength, width))
            return nullptr;
    KxcRLESprite* sprite = new (std::nothrow) KxcRLESprite;
    if (sprite == nullptr || !sprite->init(width, height, xOffset, yOffset, dataLength))
    {
        delete sprite;
        return nullptr;
    }
    if (height > 0)
        memcpy(sprite->m_lineTable, lineTable, static_cast<size_t>(height) * sizeof(INT32));
    if (dataLength > 0 && data != nullptr)
        memcpy(sprite->m_data, data, static_cast<size_t>(dataLength) * sizeof(UINT16));
    return sprite;
}

KxcRLESprite::KxcRLESprite()
    : m_width(0),
      m_height(0),
      m_xOffset(0),
      m_yOffset(0),
      m_lineTable(nullptr),
      m_data(nullptr),
      m_dataLength(0)
{
}

KxcRLESprite::~KxcRLESprite()
{
    delete[] m_lineTable;
    delete[] m_data;
}

/// Makes room for an encoding. @return 0 without memory
INT32 KxcRLESprite::init(INT32 width, INT32 height, INT32 xOffset, INT32 yOffset, INT32 dataLength)
{
    m_width = width;
    m_height = height;
    m_xOffset = xOffset;
    m_yOffset = yOffset;
    m_dataLength = dataLength;
    m_lineTable = new (std::nothrow) INT32[static_cast<size_t>(height)];
    m_data = new (std::nothrow) UINT16[static_cast<size_t>(dataLength) + kPadding]();
    return m_lineTable != nullptr && m_data != nullptr;
}
