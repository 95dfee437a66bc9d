// svg_style.cpp - reads the values of attributes.
#include "svg_style.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace
{

constexpr double kPi = 3.14159265358979323846;

struct NamedColor
{
    const char* name;
    unsigned rgb;
};
/// Those that drawings use by name.
constexpr NamedColor kNamedColors[] = {
    {"aqua", 0x00FFFF},       {"beige", 0xF5F5DC},        {"black", 0x000000},      {"blue", 0x0000FF},
    {"brown", 0xA52A2A},      {"chocolate", 0xD2691E},    {"coral", 0xFF7F50},      {"crimson", 0xDC143C},
    {"cyan", 0x00FFFF},       {"darkblue", 0x00008B},     {"darkgray", 0xA9A9A9},   {"darkgreen", 0x006400},
    {"darkgrey", 0xA9A9A9},   {"darkorange", 0xFF8C00},   {"darkred", 0x8B0000},    {"deepskyblue", 0x00BFFF},
    {"dimgray", 0x696969},    {"dodgerblue", 0x1E90FF},   {"firebrick", 0xB22222},  {"forestgreen", 0x228B22},
    {"fuchsia", 0xFF00FF},    {"gold", 0xFFD700},         {"gray", 0x808080},       {"green", 0x008000},
    {"grey", 0x808080},       {"hotpink", 0xFF69B4},      {"indigo", 0x4B0082},     {"ivory", 0xFFFFF0},
    {"khaki", 0xF0E68C},      {"lavender", 0xE6E6FA},     {"lightblue", 0xADD8E6},  {"lightgray", 0xD3D3D3},
    {"lightgreen", 0x90EE90}, {"lightgrey", 0xD3D3D3},    {"lime", 0x00FF00},       {"magenta", 0xFF00FF},
    {"maroon", 0x800000},     {"midnightblue", 0x191970}, {"navy", 0x000080},       {"olive", 0x808000},
    {"orange", 0xFFA500},     {"orangered", 0xFF4500},    {"orchid", 0xDA70D6},     {"pink", 0xFFC0CB},
    {"plum", 0xDDA0DD},       {"purple", 0x800080},       {"red", 0xFF0000},        {"royalblue", 0x4169E1},
    {"salmon", 0xFA8072},     {"seagreen", 0x2E8B57},     {"silver", 0xC0C0C0},     {"skyblue", 0x87CEEB},
    {"slategray", 0x708090},  {"snow", 0xFFFAFA},         {"steelblue", 0x4682B4},  {"tan", 0xD2B48C},
    {"teal", 0x008080},       {"tomato", 0xFF6347},       {"turquoise", 0x40E0D0},  {"violet", 0xEE82EE},
    {"wheat", 0xF5DEB3},      {"white", 0xFFFFFF},        {"whitesmoke", 0xF5F5F5}, {"yellow", 0xFFFF00},
};

std::string trimmed(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t\r\n"), last = text.find_last_not_of(" \t\r\n");
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

double opacity(const std::string& text, double old)
{
    double value = old;
    return readLength(text.c_str(), 1, value) ? std::clamp(value, 0.0, 1.0) : old;
}

template <size_t kCount>
int choice(const std::string& text, const char* const (&names)[kCount], int old)
{
    for (size_t i = 0; i < kCount; ++i)
        if (text == names[i])
            return int(i);
    return old;
}

} // namespace

void Numbers::skip()
{
    while (*m_at && (std::isspace(static_cast<unsigned char>(*m_at)) || *m_at == ','))
        ++m_at;
}

bool Numbers::next(double& value)
{
    skip();
    if (!*m_at || !std::strchr("+-.0123456789", *m_at)) // strtod knows "inf" and "nan" as well
        return false;
    char* end;
    value = std::strtod(m_at, &end);
    if (end == m_at || !std::isfinite(value))
        return false;
    m_at = end;
    return true;
}

bool Numbers::flag(double& value)
{
    skip();
    if (*m_at != '0' && *m_at != '1')
        return false;
    value = *m_at++ - '0';
    return true;
}

char Numbers::letter()
{
    skip();
    return std::isalpha(static_cast<unsigned char>(*m_at)) ? *m_at++ : '\0';
}

bool Numbers::atEnd()
{
    skip();
    return !*m_at;
}

bool readLength(const char* text, double whole, double& value)
{
    static constexpr struct
    {
        const char* unit;
        double size;
    } kUnits[] = {{"px", 1},         {"pt", 96 / 72.0}, {"pc", 16}, {"mm", 96 / 25.4},
                  {"cm", 96 / 2.54}, {"in", 96},        {"em", 16}};
    char* end;
    const double number = std::strtod(text, &end);
    if (end == text || !std::isfinite(number))
        return false;
    value = number;
    if (*end == '%')
        value = number / 100 * whole;
    for (const auto& unit : kUnits)
        if (std::strncmp(end, unit.unit, 2) == 0)
            value = number * unit.size;
    return true;
}

std::vector<double> readNumbers(const char* text)
{
    std::vector<double> values;
    Numbers numbers(text);
    for (double value; numbers.next(value);)
        values.push_back(value);
    return values;
}

Affine readTransform(const char* text)
{
    Affine result;
    for (std::string rest = text;;)
    {
        const size_t open = rest.find('('), close = rest.find(')');
        if (open == std::string::npos || close == std::string::npos || close < open)
            return result;
        std::string name = trimmed(rest.substr(0, open));
        name.erase(0, name.find_last_of(" \t\r\n,") + 1);
        std::vector<double> v = readNumbers(rest.substr(open + 1, close - open - 1).c_str());
        const size_t given = v.size();
        v.resize(6);
        Affine step;
        if (name == "matrix" && given == 6)
            step = {v[0], v[1], v[2], v[3], v[4], v[5]};
        else if (name == "translate")
            step = {1, 0, 0, 1, v[0], v[1]};
        else if (name == "scale")
            step = {v[0], 0, 0, given > 1 ? v[1] : v[0], 0, 0};
        else if (name == "rotate")
        {
            const double c = std::cos(v[0] * kPi / 180), s = std::sin(v[0] * kPi / 180);
            step = Affine{1, 0, 0, 1, v[1], v[2]} * Affine{c, s, -s, c, 0, 0} * Affine{1, 0, 0, 1, -v[1], -v[2]};
        }
        else if (name == "skewX")
            step = {1, 0, std::tan(v[0] * kPi / 180), 1, 0, 0};
        else if (name == "skewY")
            step = {1, std::tan(v[0] * kPi / 180), 0, 1, 0, 0};
        result = result * step;
        rest.erase(0, close + 1);
    }
}

bool readColor(std::string text, unsigned& rgb)
{
    text = trimmed(text);
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    if (text[0] == '#')
    {
        const std::string digits = text.substr(1);
        if (digits.find_first_not_of("0123456789abcdef") != std::string::npos ||
            (digits.size() != 3 && digits.size() != 6))
            return false;
        const unsigned value = unsigned(std::strtoul(digits.c_str(), nullptr, 16));
        rgb = digits.size() == 6 ? value : ((value & 0xF00) << 8 | (value & 0xF0) << 4 | (value & 0xF)) * 17;
        return true;
    }
    if (text.compare(0, 4, "rgb(") == 0)
    {
        Numbers numbers(text.c_str() + 4);
        rgb = 0;
        for (int i = 0; i < 3; ++i)
        {
            double value;
            if (!numbers.next(value))
                return false;
            const double full = text.find('%') != std::string::npos ? 2.55 : 1;
            rgb = rgb << 8 | unsigned(std::lround(std::clamp(value * full, 0.0, 255.0)));
        }
        return true;
    }
    for (const NamedColor& color : kNamedColors)
        if (text == color.name)
            return rgb = color.rgb, true;
    return false;
}

void applyStyleSheets(pugi::xml_node root)
{
    struct Collector : pugi::xml_tree_walker
    {
        bool for_each(pugi::xml_node& node) override
        {
            std::string text = std::strcmp(node.name(), "style") == 0 ? node.text().get() : "";
            for (size_t open; (open = text.find('{')) != std::string::npos;)
            {
                const size_t close = std::min(text.find('}', open), text.size() - 1);
                std::string names = text.substr(0, open);
                std::replace(names.begin(), names.end(), ',', ' ');
                std::istringstream each(names);
                for (std::string name; each >> name;)
                    if (name[0] == '.')
                        rules[name.substr(1)] += text.substr(open + 1, close - open - 1) + ";";
                text.erase(0, close + 1);
            }
            return true;
        }
        std::map<std::string, std::string> rules;
    } collector;
    root.traverse(collector);

    struct Applier : pugi::xml_tree_walker
    {
        explicit Applier(const std::map<std::string, std::string>& all) : rules(all) {}
        bool for_each(pugi::xml_node& node) override
        {
            std::istringstream each(node.attribute("class").value());
            std::string style = node.attribute("style").value();
            for (std::string name; each >> name;)
                if (const auto rule = rules.find(name); rule != rules.end())
                    style += ";" + rule->second;
            if (node.attribute("class") && !node.attribute("style"))
                node.append_attribute("style");
            if (node.attribute("class"))
                node.attribute("style").set_value(style.c_str());
            return true;
        }
        const std::map<std::string, std::string>& rules;
    } applier(collector.rules);
    root.traverse(applier);
}

std::string property(const pugi::xml_node& node, const char* name)
{
    std::string rest = node.attribute("style").value();
    while (!rest.empty())
    {
        const size_t end = rest.find(';'), colon = rest.find(':');
        if (colon < end && trimmed(rest.substr(0, colon)) == name)
            return trimmed(rest.substr(colon + 1, end == std::string::npos ? end : end - colon - 1));
        rest.erase(0, end == std::string::npos ? end : end + 1);
    }
    return trimmed(node.attribute(name).value());
}

void Style::read(const pugi::xml_node& node, double diagonal)
{
    static constexpr const char* kCaps[] = {"butt", "round", "square"};
    static constexpr const char* kJoins[] = {"miter", "round", "bevel"};
    static constexpr const char* kRules[] = {"nonzero", "evenodd"};
    const auto set = [&](const char* name, std::string& value)
    {
        const std::string given = property(node, name);
        unsigned rgb;
        if (given == "none" || given == "currentColor" || given.compare(0, 4, "url(") == 0 || readColor(given, rgb))
            value = given; // what is no paint leaves the inherited one
    };
    set("fill", fill);
    set("stroke", stroke);
    set("color", color);
    fillOpacity = opacity(property(node, "fill-opacity"), fillOpacity);
    strokeOpacity = opacity(property(node, "stroke-opacity"), strokeOpacity);
    shape.evenOdd = choice(property(node, "fill-rule"), kRules, shape.evenOdd) != 0;
    shape.cap = choice(property(node, "stroke-linecap"), kCaps, shape.cap);
    shape.join = choice(property(node, "stroke-linejoin"), kJoins, shape.join);
    readLength(property(node, "stroke-width").c_str(), diagonal, shape.strokeWidth);
    readLength(property(node, "stroke-miterlimit").c_str(), 1, shape.miterLimit);
    readLength(property(node, "stroke-dashoffset").c_str(), diagonal, shape.dashOffset);
    const std::string dashes = property(node, "stroke-dasharray");
    if (!dashes.empty() && dashes != "inherit")
        shape.dashes = readNumbers(dashes.c_str()); // none of "none"
    const std::string visibility = property(node, "visibility");
    if (!visibility.empty() && visibility != "inherit")
        visible = visibility == "visible";
}
