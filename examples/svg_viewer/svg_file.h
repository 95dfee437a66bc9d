// svg_file.h - a drawing read from an SVG file: shapes, their paints, and layers of joint opacity.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

namespace pugi
{
class xml_document;
struct xml_parse_result;
} // namespace pugi

/// x' = a x + c y + e, y' = b x + d y + f
struct Affine
{
    double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

    /// The other one first, then this one.
    Affine operator*(const Affine& o) const
    {
        return {a * o.a + c * o.b, b * o.a + d * o.b,     a * o.c + c * o.d,
                b * o.c + d * o.d, a * o.e + c * o.f + e, b * o.e + d * o.f + f};
    }
};

/// A path command, absolute: M, L (x y), C (x1 y1 x2 y2 x y), Q (x1 y1 x y), A (rx ry degrees large sweep x y), Z.
struct PathCommand
{
    char op;
    std::array<double, 7> v;
};
typedef std::vector<PathCommand> Path;

struct GradientStop
{
    double offset;
    unsigned rgb;
    double opacity;
};

struct Gradient
{
    bool radial = false, inBox = true; // in units of the shape's box, or of user space
    int spread = 0;                    // a KXCSPREAD_
    double x1 = 0, y1 = 0, x2 = 1, y2 = 0, cx = 0.5, cy = 0.5, fx = 0.5, fy = 0.5, r = 0.5;
    Affine transform;
    std::vector<GradientStop> stops;
};

struct Paint
{
    enum Kind
    {
        kNone,
        kColor,
        kGradient
    } kind = kNone;
    unsigned rgb = 0;
    const Gradient* gradient = nullptr; // of the file
    double opacity = 1;
};

struct Shape
{
    Path path;
    Affine transform;
    Paint fill, stroke;
    bool evenOdd = false;
    double strokeWidth = 1, miterLimit = 4, dashOffset = 0;
    int cap = 0, join = 0; // KXCLINECAP_, KXCLINEJOIN_
    std::vector<double> dashes;
};

/// In drawing order: shapes, and between kBegin and kEnd what is drawn on a layer of its own.
struct DrawingItem
{
    enum Kind
    {
        kShape,
        kBegin,
        kEnd
    } kind;
    double opacity; // of the layer, at its end
    Shape shape;
};

struct SvgFile
{
    double x = 0, y = 0, width = 0, height = 0; // what is shown: the viewBox
    std::vector<DrawingItem> items;
    std::vector<std::string> warnings; // one for each kind of element that was skipped

    /// @return what is wrong with the file, or nothing
    std::string load(const std::string& name);
    std::string load(const void* bytes, size_t size);

    std::map<std::string, Gradient> gradients; // by id

private:
    std::string read(const pugi::xml_document& document, const pugi::xml_parse_result& result);
};
