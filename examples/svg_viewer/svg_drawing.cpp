// svg_drawing.cpp - from floating point to the engine's fixed point, shape by shape.
//
// The engine keeps paths to 1/256 of a unit, and numbers up to 32767. Drawings come in units of any size: each shape is
// scaled by a power of two that brings its units near to pixels, and its transformation by the reciprocal.
#include "svg_drawing.h"

#include "svg_path.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace
{

constexpr double kLargest = 32000; // what coordinates may be

KxcFixed fixed(double value)
{
    return KxcFixed::fromRaw(INT32(std::lround(std::clamp(value, -32767.0, 32767.0) * 65536)));
}
KxcVector2 point(double x, double y) { return {fixed(x), fixed(y)}; }
KxcMatrix3 matrix(const Affine& m)
{
    return {{{fixed(m.a), fixed(m.b), 0}, {fixed(m.c), fixed(m.d), 0}, {fixed(m.e), fixed(m.f), 1}}};
}
Affine scaling(double factor) { return {factor, 0, 0, factor, 0, 0}; }
UINT8 byte(double part) { return UINT8(std::lround(std::clamp(part, 0.0, 1.0) * 255)); }

/// The size of what a unit becomes.
double scaleOf(const Affine& m) { return std::sqrt(std::abs(m.a * m.d - m.b * m.c)); }

class ShapePainter
{
public:
    ShapePainter(const Shape& shape, const Affine& view)
        : m_t(*KxcCore::getPrimitiveTranslator()),
          m_shape(shape),
          m_box(boundingBox(shape.path))
    {
        const Affine full = view * shape.transform;
        const double size = std::max({std::abs(m_box[0]), std::abs(m_box[1]), std::abs(m_box[0] + m_box[2]),
                                      std::abs(m_box[1] + m_box[3]), 1e-9});
        m_units = std::exp2(std::round(std::log2(std::max(scaleOf(full), 1e-9))));
        while (size * m_units > kLargest)
            m_units /= 2;
        m_t.setTransformation(matrix(full * scaling(1 / m_units)));
    }
    void draw()
    {
        m_t.setFillRule(m_shape.evenOdd ? KXCFILLRULE_EVENODD : KXCFILLRULE_NONZERO);
        setPaint(m_shape.fill, true);
        setPaint(m_shape.stroke, false);
        m_t.setStrokeWidth(fixed(m_shape.strokeWidth * m_units));
        m_t.setLineCap(m_shape.cap);
        m_t.setLineJoin(m_shape.join);
        m_t.setMiterLimit(fixed(m_shape.miterLimit));
        const bool dashed = setDashes() && m_shape.stroke.kind != Paint::kNone;
        if (dashed)
            m_t.setStrokeOff();
        addPath(0, m_shape.path.size());
        m_t.endPath();
        if (!dashed)
            return;
        // The engine's dashes run on from subpath to subpath, those of drawings start anew.
        m_t.setFillOff();
        setPaint(m_shape.stroke, false);
        for (size_t first = 0, next; first < m_shape.path.size(); first = next)
        {
            for (next = first + 1; next < m_shape.path.size() && m_shape.path[next].op != 'M';)
                ++next;
            addPath(first, next);
            m_t.endPath();
        }
    }

private:
    typedef std::unique_ptr<KxcPrimitiveDrawGradientFiller> GradientFiller;

    KxcVector2 units(double x, double y) const { return point(x * m_units, y * m_units); }

    void addPath(size_t first, size_t end)
    {
        constexpr double kPi = 3.14159265358979323846;
        m_t.beginPath();
        double startX = 0, startY = 0;
        for (size_t i = first; i < end; ++i)
        {
            const auto& v = m_shape.path[i].v;
            switch (m_shape.path[i].op)
            {
            case 'M':
                m_t.moveToAbsolute(units(startX = v[0], startY = v[1]));
                break;
            case 'L':
                // A subpath without length is a dot where its caps have an extent.
                if (v[0] == startX && v[1] == startY && m_shape.path[i - 1].op == 'M' &&
                    m_shape.cap != KXCLINECAP_BUTT &&
                    (i + 1 == end || m_shape.path[i + 1].op == 'M' || m_shape.path[i + 1].op == 'Z'))
                    m_t.lineToAbsolute(units(v[0] + 1 / (128 * m_units), v[1]));
                else
                    m_t.lineToAbsolute(units(v[0], v[1]));
                break;
            case 'C':
                m_t.curveToAbsolute(units(v[0], v[1]), units(v[2], v[3]), units(v[4], v[5]));
                break;
            case 'Q':
                m_t.quadraticCurveToAbsolute(units(v[0], v[1]), units(v[2], v[3]));
                break;
            case 'A':
                m_t.ellipticalArcAbsolute(
                    units(v[0], v[1]), fixed(std::fmod(v[2], 360) * kPi / 180),
                    (v[3] != 0 ? UINT32(KXCARC_LARGE) : 0) | (v[4] != 0 ? UINT32(KXCARC_SWEEP) : 0), units(v[5], v[6]));
                break;
            default:
                m_t.closePath();
            }
        }
    }

    bool setDashes()
    {
        std::vector<KxcFixed> lengths;
        double total = 0;
        for (const double dash : m_shape.dashes)
        {
            // Zero is a dot or no gap, which the engine knows not: the shortest there is.
            lengths.push_back(std::max(fixed(dash * m_units), KxcFixed::fromRaw(256)));
            total += dash;
            if (dash < 0)
                total = lengths.size() * -1e9; // none is negative
        }
        const bool dashed = total > 0;
        m_t.setDashArray(lengths.data(), dashed ? INT32(lengths.size()) : 0);
        // An odd number of entries is meant twice; offsets count from where the pattern starts, in either direction.
        double offset = dashed ? std::fmod(m_shape.dashOffset, 2 * total) : 0;
        if (offset < 0)
            offset += 2 * total;
        m_t.setDashOffset(fixed(offset * m_units));
        return dashed;
    }

    void setPaint(const Paint& paint, bool fill)
    {
        GradientFiller filler;
        if (paint.kind == Paint::kNone)
            fill ? m_t.setFillOff() : m_t.setStrokeOff();
        else if (paint.kind == Paint::kColor)
            fill ? m_t.setFillColor(paint.rgb) : m_t.setStrokeColor(paint.rgb);
        else
        {
            filler = makeGradient(*paint.gradient);
            fill ? m_t.setFillGradient(filler.get()) : m_t.setStrokeGradient(filler.get());
        }
        fill ? m_t.setFillOpacity(byte(paint.opacity)) : m_t.setStrokeOpacity(byte(paint.opacity));
        m_fillers.push_back(std::move(filler));
    }

    GradientFiller makeGradient(const Gradient& g) const
    {
        Affine place = scaling(m_units);
        if (g.inBox)
            place = place * Affine{m_box[2], 0, 0, m_box[3], m_box[0], m_box[1]};
        place = place * g.transform;
        // Its own numbers as large as its transformation allows, so that neither loses digits.
        const double factor = std::exp2(std::round(std::log2(std::clamp(scaleOf(place), 1 / 1024.0, 1024.0))));
        GradientFiller filler;
        if (g.radial)
            filler.reset(KxcPrimitiveDrawRadialGradientFiller::create(
                point(g.cx * factor, g.cy * factor), point(g.fx * factor, g.fy * factor), fixed(g.r * factor)));
        else
            filler.reset(KxcPrimitiveDrawLinearGradientFiller::create(point(g.x1 * factor, g.y1 * factor),
                                                                      point(g.x2 * factor, g.y2 * factor)));
        if (!filler)
            return filler;
        filler->setGradientTransformation(matrix(place * scaling(1 / factor)));
        filler->setSpreadMethod(g.spread);
        for (const GradientStop& stop : g.stops)
            filler->addGradientStop(fixed(stop.offset), UINT32(byte(stop.opacity)) << 24 | stop.rgb);
        return filler;
    }

    KxcPrimitiveTranslator& m_t;
    const Shape& m_shape;
    const std::array<double, 4> m_box;
    double m_units;                        // how many of the engine's a unit of the shape is
    std::vector<GradientFiller> m_fillers; // while they are drawn with
};

} // namespace

Affine fitSvg(const SvgFile& file, double width, double height)
{
    const double scale = std::min(width / file.width, height / file.height);
    return {scale,
            0,
            0,
            scale,
            (width - file.width * scale) / 2 - file.x * scale,
            (height - file.height * scale) / 2 - file.y * scale};
}

void drawSvg(const SvgFile& file, KxcGLSurface* target, const Affine& view)
{
    KxcPrimitiveTranslator* t = KxcCore::getPrimitiveTranslator();
    std::vector<std::unique_ptr<KxcGLSurface>> layers;
    const auto top = [&] { return layers.empty() ? target : layers.back().get(); };
    for (const DrawingItem& item : file.items)
    {
        if (item.kind == DrawingItem::kBegin)
        {
            layers.emplace_back(
                KxcGLSurface::create(target->getWidth(), target->getHeight(), KXCSURFACEFORMAT_PREMUL8888));
            if (!layers.back())
                return;
            layers.back()->clear(0);
        }
        else if (item.kind == DrawingItem::kEnd)
        {
            const std::unique_ptr<KxcGLSurface> layer = std::move(layers.back());
            layers.pop_back();
            top()->drawImageBlend(layer.get(), KXCBLEND_ALPHA, byte(item.opacity));
        }
        else
        {
            t->setRenderTarget(top());
            ShapePainter(item.shape, view).draw();
        }
    }
    t->setRenderTarget(nullptr);
}
