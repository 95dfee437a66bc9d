// vector_scene.h - the drawings that the vector benchmark draws: generated ones, and scene files from elsewhere.
//
// A scene file holds drawings line by line: "doc NAME X Y WIDTH HEIGHT", then for each path "path FILL RULE FILLOPACITY
// STROKE STROKEOPACITY WIDTH CAP JOIN MITER DASHES DASHOFFSET A B C D E F" and "d PATHDATA". All is turned into fixed
// point before anything is timed.
#pragma once

#include <kxcoreemb/kxcoreemb.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace vector_scene
{

inline KxcFixed fixed(double value) { return KxcFixed::fromRaw(static_cast<INT32>(std::lround(value * 65536))); }

struct Command
{
    char op;
    UINT32 flags;
    KxcFixed v[6];
};

struct Path
{
    std::vector<Command> commands;
    bool fills, strokes;
    UINT32 fill, stroke;
    UINT8 fillOpacity, strokeOpacity;
    INT32 rule, cap, join;
    KxcFixed width, miter, dashOffset;
    std::vector<KxcFixed> dashes;
    double m[6];
};

struct Drawing
{
    double x, y, width, height;
    std::vector<Path> paths;
};

inline std::vector<Command> readData(const std::string& data)
{
    static const std::string kOps = "MLTHVCSQAZ";
    static constexpr int kArguments[] = {2, 2, 2, 1, 1, 6, 4, 4, 7, 0};
    std::vector<Command> commands;
    const char* at = data.c_str();
    const auto skip = [&]
    {
        while (*at && (std::isspace(static_cast<unsigned char>(*at)) || *at == ','))
            ++at;
    };
    char op = 0;
    for (skip(); *at; skip())
    {
        if (std::isalpha(static_cast<unsigned char>(*at)))
            op = *at++;
        else
            op = op == 'M' ? 'L' : op == 'm' ? 'l' : op;
        const size_t kind = kOps.find(char(std::toupper(op)));
        if (kind == std::string::npos)
            break;
        double v[7] = {};
        for (int i = 0; i < kArguments[kind]; ++i)
        {
            skip();
            if (kOps[kind] == 'A' && (i == 3 || i == 4))
                v[i] = *at++ - '0';
            else
            {
                char* end;
                v[i] = std::strtod(at, &end);
                if (end == at)
                    return commands;
                at = end;
            }
        }
        Command command = {op, 0, {}};
        if (kOps[kind] == 'A')
            command = {op,
                       (v[3] != 0 ? 1u : 0u) | (v[4] != 0 ? 2u : 0u),
                       {fixed(v[0]), fixed(v[1]), fixed(v[2] * M_PI / 180), fixed(v[5]), fixed(v[6])}};
        else
            for (int i = 0; i < 6; ++i)
                command.v[i] = fixed(v[i]);
        commands.push_back(command);
    }
    return commands;
}

/// @return nothing when there is no such file
inline std::vector<Drawing> load(const std::string& name)
{
    std::vector<Drawing> drawings;
    std::ifstream file(name);
    for (std::string line; std::getline(file, line);)
    {
        std::istringstream in(line);
        std::string key, skipped, fill, rule, stroke, cap, join, dashes;
        in >> key;
        if (key == "doc")
        {
            drawings.emplace_back();
            Drawing& d = drawings.back();
            in >> skipped >> d.x >> d.y >> d.width >> d.height;
        }
        else if (key == "path" && !drawings.empty())
        {
            Path p = {};
            double fillOpacity, strokeOpacity, width, miter, dashOffset;
            in >> fill >> rule >> fillOpacity >> stroke >> strokeOpacity >> width >> cap >> join >> miter >> dashes >>
                dashOffset;
            for (double& m : p.m)
                in >> m;
            p.fills = fill[0] == '#';
            p.strokes = stroke[0] == '#';
            p.fill = UINT32(std::strtoul(fill.c_str() + 1, nullptr, 16));
            p.stroke = UINT32(std::strtoul(stroke.c_str() + 1, nullptr, 16));
            p.fillOpacity = UINT8(fillOpacity * 255 + 0.5);
            p.strokeOpacity = UINT8(strokeOpacity * 255 + 0.5);
            p.rule = rule != "evenodd";
            p.cap = cap == "round" ? 1 : cap == "square" ? 2 : 0;
            p.join = join == "round" ? 1 : join == "bevel" ? 2 : 0;
            p.width = fixed(width), p.miter = fixed(miter), p.dashOffset = fixed(dashOffset);
            std::istringstream each(dashes);
            for (std::string dash; dashes != "none" && std::getline(each, dash, ',');)
                p.dashes.push_back(fixed(std::strtod(dash.c_str(), nullptr)));
            drawings.back().paths.push_back(p);
        }
        else if (key == "d" && !drawings.empty() && !drawings.back().paths.empty())
            drawings.back().paths.back().commands = readData(line.substr(2));
    }
    return drawings;
}

// The generated ones, for 512 x 512 pixels: the numbers of a shift register, so that other engines can draw the same.

constexpr INT32 kSize = 512;

class Numbers
{
public:
    explicit Numbers(UINT32 seed) : m_state(seed) {}
    UINT32 next()
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        return m_state;
    }
    double range(double low, double high) { return low + (high - low) * ((next() >> 8) / 16777216.0); }

private:
    UINT32 m_state;
};

struct Polygon
{
    std::vector<KxcVector2> points;
    UINT32 color;
};

/// Triangles of about 50 pixels.
inline std::vector<Polygon> triangles()
{
    Numbers numbers(12345);
    std::vector<Polygon> result(10000);
    for (Polygon& t : result)
    {
        const double x = numbers.range(25, kSize - 25), y = numbers.range(25, kSize - 25);
        const double turn = numbers.range(0, 2 * M_PI);
        for (int i = 0; i < 3; ++i)
        {
            const double angle = turn + i * 2 * M_PI / 3 + numbers.range(-0.5, 0.5), r = numbers.range(20, 30);
            t.points.push_back({fixed(x + r * std::cos(angle)), fixed(y + r * std::sin(angle))});
        }
        t.color = numbers.next() >> 8;
    }
    return result;
}
/// Start, two control points, end.
inline std::vector<Polygon> cubics()
{
    Numbers numbers(777);
    std::vector<Polygon> result(1000);
    for (Polygon& c : result)
    {
        for (int i = 0; i < 4; ++i)
        {
            const KxcFixed x = fixed(numbers.range(0, kSize));
            c.points.push_back({x, fixed(numbers.range(0, kSize))});
        }
        c.color = numbers.next() >> 8;
    }
    return result;
}
/// Middles of circles of radius 100.
inline std::vector<KxcVector2> circles()
{
    Numbers numbers(4242);
    std::vector<KxcVector2> result(200);
    for (KxcVector2& c : result)
    {
        c.x = fixed(numbers.range(100, kSize - 100));
        c.y = fixed(numbers.range(100, kSize - 100));
    }
    return result;
}
/// On whole pixels.
inline std::vector<Polygon> rectangles()
{
    Numbers numbers(99);
    std::vector<Polygon> result(1000);
    for (Polygon& r : result)
    {
        const int width = int(200 + numbers.next() % 300), height = int(200 + numbers.next() % 300);
        const int x = int(numbers.next() % UINT32(kSize - width)), y = int(numbers.next() % UINT32(kSize - height));
        r.points = {{x, y}, {x + width, y}, {x + width, y + height}, {x, y + height}};
        r.color = numbers.next() >> 8;
    }
    return result;
}

} // namespace vector_scene
