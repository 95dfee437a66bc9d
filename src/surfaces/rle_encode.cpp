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

/// Writes runs one after the other, or counts the words that they would take.
class RunWriter
{
public:
    explicit RunWriter(UINT16* out) : m_out(out) {}
    INT64 length() const { return m_length; }

    void code(UINT32 word)
    {
        put(word);
        m_kind = kRunTransparent; // nothing goes on with what was before
    }
    /// @param end  of the words of a pixel, which is written `count` times
    void pixel(UINT32 kind, const UINT16* end, INT32 count)
    {
        for (INT32 i = 0; i < count; ++i)
        {
            if (kind != m_kind || m_count == kLongestRun)
            {
                m_codeAt = m_length;
                m_count = 0;
                m_kind = kind;
                put(0);
            }
            ++m_count;
            if (m_out != nullptr)
                m_out[m_codeAt] = static_cast<UINT16>(kind << kRunKindShift | static_cast<UINT32>(m_count));
            if (kind == kRunTranslucent)
                put(end[-2]);
            put(end[-1]);
        }
    }

private:
    void put(UINT32 word)
    {
        if (m_out != nullptr)
            m_out[m_length] = static_cast<UINT16>(word);
        ++m_length;
    }

    UINT16* m_out;
    INT64 m_length = 0, m_codeAt = 0;
    INT32 m_count = 0;
    UINT32 m_kind = kRunTransparent; // of the run that pixels are added to
};

/// Writes a row anew, with repetitions that are short among the other pixels. @return whether there were any
bool unfoldRow(const UINT16* code, RunWriter& writer)
{
    constexpr INT32 kShort = 16;   // from here on, filling is faster than copying
    UINT32 kind = kRunTransparent; // of the last pixel, whose words end at `pixels`
    const UINT16* pixels = code;
    bool any = false;
    for (;;)
    {
        const UINT32 word = *code++;
        const INT32 count = static_cast<INT32>(word & kLongestRun);
        const UINT32 runKind = word >> kRunKindShift;
        if (runKind == kRunTransparent || (runKind == kRunRepeat && count >= kShort))
            writer.code(word);
        else if (runKind == kRunRepeat)
        {
            writer.pixel(kind, pixels, count);
            any = true;
        }
        else
            for (INT32 i = 0; i < count; ++i)
            {
                kind = runKind;
                pixels = code += kind == kRunTranslucent ? 2 : 1;
                writer.pixel(kind, pixels, 1);
            }
        if (word == 0)
            return any;
    }
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
    sprite->unfold();
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
    sprite->unfold();
    return sprite;
}

KxcRLESprite::KxcRLESprite()
    : m_width(0),
      m_height(0),
      m_xOffset(0),
      m_yOffset(0),
      m_lineTable(nullptr),
      m_data(nullptr),
      m_dataLength(0),
      m_laidLines(nullptr),
      m_laidData(nullptr)
{
}

KxcRLESprite::~KxcRLESprite()
{
    if (m_laidData != m_data)
    {
        delete[] m_laidLines;
        delete[] m_laidData;
    }
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

/// Makes the encoding that is drawn. Where memory is short, it is the one that there is.
void KxcRLESprite::unfold()
{
    m_laidLines = m_lineTable;
    m_laidData = m_data;
    RunWriter counter(nullptr);
    bool any = false;
    for (INT32 y = 0; y < m_height; ++y)
        any = unfoldRow(m_data + m_lineTable[y], counter) || any;
    // Rows may share their words, and then the copy would be far larger than what it is of.
    if (!any || counter.length() > INT64{4} * m_dataLength || counter.length() > INT32_MAX)
        return;
    INT32* const lines = new (std::nothrow) INT32[static_cast<size_t>(m_height)];
    UINT16* const data = new (std::nothrow) UINT16[static_cast<size_t>(counter.length()) + kPadding]();
    if (lines == nullptr || data == nullptr)
    {
        delete[] lines;
        delete[] data;
        return;
    }
    RunWriter writer(data);
    for (INT32 y = 0; y < m_height; ++y)
    {
        lines[y] = static_cast<INT32>(writer.length());
        unfoldRow(m_data + m_lineTable[y], writer);
    }
    m_laidLines = lines;
    m_laidData = data;
}
