// svg_file.cpp - walks through the elements of an SVG file.
#include "svg_file.h"

#include "svg_path.h"
#include "svg_style.h"

#include <cmath>
#include <cstring>
#include <set>

namespace
{

constexpr int kDeepest = 200; // groups in groups, and gradients that take from others

class Reader
{
public:
    Reader(SvgFile& file, const pugi::xml_node& root) : m_file(file), m_root(root)
    {
        m_diagonal = std::hypot(file.width, file.height) / std::sqrt(2.0);
    }
    void readGradients(const pugi::xml_node& node, int depth = 0)
    {
        for (const pugi::xml_node& child : node.children())
        {
            if (std::strcmp(child.name(), "linearGradient") == 0 || std::strcmp(child.name(), "radialGradient") == 0)
                readGradient(child);
            else if (depth < kDeepest)
                readGradients(child, depth + 1);
        }
    }
    void readGroup(const pugi::xml_node& group, Style style, Affine transform, int depth)
    {
        style.read(group, m_diagonal);
        transform = transform * readTransform(group.attribute("transform").value());
        const Layer layer(*this, group);
        for (const pugi::xml_node& node : group.children())
            readElement(node, style, transform, depth + 1);
    }

private:
    /// What an element's own opacity applies to, all together.
    class Layer
    {
    public:
        Layer(Reader& reader, const pugi::xml_node& node) : m_items(reader.m_file.items)
        {
            readLength(property(node, "opacity").c_str(), 1, m_opacity);
            m_first = m_items.size();
            if (m_opacity < 1)
                m_items.push_back({DrawingItem::kBegin, 1, {}});
        }
        ~Layer()
        {
            const double opacity = m_opacity < 0 ? 0 : m_opacity;
            if (m_opacity >= 1)
                return;
            // A shape with one paint needs no layer.
            Shape* only = m_items.size() == m_first + 2 ? &m_items.back().shape : nullptr;
            if (only && m_items.back().kind == DrawingItem::kShape &&
                (only->fill.kind == Paint::kNone || only->stroke.kind == Paint::kNone))
            {
                only->fill.opacity *= opacity;
                only->stroke.opacity *= opacity;
                m_items.erase(m_items.begin() + std::ptrdiff_t(m_first));
                return;
            }
            m_items.push_back({DrawingItem::kEnd, opacity, {}});
        }

    private:
        std::vector<DrawingItem>& m_items;
        double m_opacity = 1;
        size_t m_first;
    };

    void readElement(const pugi::xml_node& node, const Style& style, const Affine& transform, int depth)
    {
        static const std::set<std::string> kShapes = {"path", "rect",     "circle", "ellipse",
                                                      "line", "polyline", "polygon"};
        static const std::set<std::string> kSilent = {
            "defs", "title", "desc", "metadata", "style", "", "linearGradient", "radialGradient", "sodipodi:namedview"};
        const std::string name = node.name();
        if (property(node, "display") == "none" || depth > kDeepest)
            return;
        if (name == "g" || name == "svg" || name == "a")
            readGroup(node, style, transform, depth);
        else if (kShapes.count(name))
            addShape(node, style, transform);
        else if (!kSilent.count(name) && m_skipped.insert(name).second)
            m_file.warnings.push_back("<" + name + "> is skipped");
    }

    void addShape(const pugi::xml_node& node, Style style, const Affine& transform)
    {
        style.read(node, m_diagonal);
        Shape shape = style.shape;
        shape.path = readShape(node, m_file.width, m_file.height);
        shape.transform = transform * readTransform(node.attribute("transform").value());
        shape.fill = readPaint(style.fill, style.color, style.fillOpacity);
        shape.stroke = readPaint(style.stroke, style.color, style.strokeOpacity);
        if (shape.strokeWidth <= 0)
            shape.stroke.kind = Paint::kNone;
        if (!style.visible || shape.path.empty())
            return;
        const Layer layer(*this, node);
        m_file.items.push_back({DrawingItem::kShape, 1, shape});
    }

    Paint readPaint(const std::string& text, const std::string& current, double opacity)
    {
        Paint paint;
        paint.opacity = opacity;
        std::string color = text;
        if (text.compare(0, 5, "url(#") == 0)
        {
            const size_t end = text.find(')');
            const auto found = m_file.gradients.find(text.substr(5, end == std::string::npos ? end : end - 5));
            if (found != m_file.gradients.end() && !found->second.stops.empty())
            {
                paint.kind = Paint::kGradient;
                paint.gradient = &found->second;
                return paint;
            }
            color = end == std::string::npos ? "" : text.substr(end + 1); // what stands in for it
        }
        if (color == "currentColor")
            color = current;
        paint.kind = readColor(color, paint.rgb) ? Paint::kColor : Paint::kNone;
        return paint;
    }

    static std::string reference(const pugi::xml_node& node)
    {
        const char* link = node.attribute("xlink:href").value();
        if (!*link)
            link = node.attribute("href").value();
        return *link == '#' ? link + 1 : "";
    }

    void readGradient(const pugi::xml_node& node)
    {
        // A gradient takes what it lacks from the one it refers to, and so on.
        std::vector<pugi::xml_node> chain = {node};
        for (std::string id = reference(node); !id.empty() && chain.size() < 16; id = reference(chain.back()))
        {
            const pugi::xml_node next =
                m_root.find_node([&](const pugi::xml_node& n) { return id == n.attribute("id").value(); });
            if (!next)
                break;
            chain.push_back(next);
        }
        const auto attribute = [&](const char* name) -> std::string
        {
            for (const pugi::xml_node& n : chain)
                if (n.attribute(name))
                    return n.attribute(name).value();
            return "";
        };
        Gradient gradient;
        gradient.radial = std::strcmp(node.name(), "radialGradient") == 0;
        gradient.inBox = attribute("gradientUnits") != "userSpaceOnUse";
        gradient.transform = readTransform(attribute("gradientTransform").c_str());
        const std::string spread = attribute("spreadMethod");
        gradient.spread = spread == "reflect" ? 1 : spread == "repeat" ? 2 : 0;
        const double width = gradient.inBox ? 1 : m_file.width, height = gradient.inBox ? 1 : m_file.height;
        gradient.x2 = width;
        gradient.cx = width / 2, gradient.cy = height / 2, gradient.r = gradient.inBox ? 0.5 : m_diagonal / 2;
        readLength(attribute("x1").c_str(), width, gradient.x1);
        readLength(attribute("y1").c_str(), height, gradient.y1);
        readLength(attribute("x2").c_str(), width, gradient.x2);
        readLength(attribute("y2").c_str(), height, gradient.y2);
        readLength(attribute("cx").c_str(), width, gradient.cx);
        readLength(attribute("cy").c_str(), height, gradient.cy);
        readLength(attribute("r").c_str(), gradient.inBox ? 1 : m_diagonal, gradient.r);
        gradient.fx = gradient.cx, gradient.fy = gradient.cy;
        readLength(attribute("fx").c_str(), width, gradient.fx);
        readLength(attribute("fy").c_str(), height, gradient.fy);
        for (const pugi::xml_node& n : chain)
            if (n.child("stop"))
            {
                readStops(n, gradient);
                break;
            }
        m_file.gradients[node.attribute("id").value()] = gradient;
    }

    static void readStops(const pugi::xml_node& node, Gradient& gradient)
    {
        double last = 0;
        for (const pugi::xml_node& child : node.children("stop"))
        {
            GradientStop stop = {0, 0, 1};
            readLength(child.attribute("offset").value(), 1, stop.offset);
            last = stop.offset = std::fmin(1, std::fmax(last, stop.offset)); // none lies before the one before
            std::string color = property(child, "stop-color");
            if (color == "currentColor")
                color = property(child, "color");
            readColor(color, stop.rgb);
            readLength(property(child, "stop-opacity").c_str(), 1, stop.opacity);
            gradient.stops.push_back(stop);
        }
    }

    SvgFile& m_file;
    const pugi::xml_node m_root;
    double m_diagonal;
    std::set<std::string> m_skipped;
};

} // namespace

std::string SvgFile::load(const std::string& name)
{
    pugi::xml_document document;
    return read(document, document.load_file(name.c_str()));
}

std::string SvgFile::load(const void* bytes, size_t size)
{
    pugi::xml_document document;
    return read(document, document.load_buffer(bytes, size));
}

std::string SvgFile::read(const pugi::xml_document& document, const pugi::xml_parse_result& result)
{
    if (!result)
        return std::string(result.description()) + " at byte " + std::to_string(result.offset);
    const pugi::xml_node root = document.child("svg");
    if (!root)
        return "no <svg> element: it is not an SVG drawing";
    applyStyleSheets(root);

    const std::vector<double> box = readNumbers(root.attribute("viewBox").value());
    if (box.size() == 4)
        x = box[0], y = box[1], width = box[2], height = box[3];
    else
    {
        readLength(root.attribute("width").value(), 0, width);
        readLength(root.attribute("height").value(), 0, height);
    }
    if (width <= 0 || height <= 0)
        return "neither a viewBox nor a width and height";
    Reader reader(*this, root);
    reader.readGradients(root);
    reader.readGroup(root, {}, {}, 0);
    return "";
}
