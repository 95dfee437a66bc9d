// svg_path.cpp - path data and basic shapes.
#include "svg_path.h"

#include "svg_style.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>

namespace
{

int argumentCount(char op)
{
    switch (std::toupper(op))
    {
    case 'M':
    case 'L':
    case 'T':
        return 2;
    case 'H':
    case 'V':
        return 1;
    case 'C':
        return 6;
    case 'S':
    case 'Q':
        return 4;
    case 'A':
        return 7;
    case 'Z':
        return 0;
    default:
        return -1;
    }
}

void addEllipse(Path& path, double cx, double cy, double rx, double ry)
{
    if (rx <= 0 || ry <= 0)
        return;
    path.push_back({'M', {cx + rx, cy}});
    path.push_back({'A', {rx, ry, 0, 0, 1, cx - rx, cy}});
    path.push_back({'A', {rx, ry, 0, 0, 1, cx + rx, cy}});
    path.push_back({'Z', {}});
}

void addRectangle(Path& path, double x, double y, double width, double height, double rx, double ry)
{
    if (width <= 0 || height <= 0)
        return;
    rx = std::min(rx, width / 2);
    ry = std::min(ry, height / 2);
    const bool round = rx > 0 && ry > 0;
    if (!round)
        rx = ry = 0;
    const double right = x + width, bottom = y + height;
    const auto corner = [&](double toX, double toY)
    {
        if (round)
            path.push_back({'A', {rx, ry, 0, 0, 1, toX, toY}});
    };
    path.push_back({'M', {x + rx, y}});
    path.push_back({'L', {right - rx, y}});
    corner(right, y + ry);
    path.push_back({'L', {right, bottom - ry}});
    corner(right - rx, bottom);
    path.push_back({'L', {x + rx, bottom}});
    corner(x, bottom - ry);
    path.push_back({'L', {x, y + ry}});
    corner(x + rx, y);
    path.push_back({'Z', {}});
}

} // namespace

Path readPathData(const char* text)
{
    Path path;
    Numbers numbers(text);
    double x = 0, y = 0, startX = 0, startY = 0, controlX = 0, controlY = 0;
    char op = 0, last = 0; // the command, and the one before in upper case
    while (!numbers.atEnd())
    {
        if (const char letter = numbers.letter())
            op = letter;
        else if (op == 'M' || op == 'm')
            op = op == 'M' ? 'L' : 'l'; // more points of a move are lines
        else if (op == 'Z' || op == 'z')
            break;
        const char kind = char(std::toupper(op));
        const int count = argumentCount(op);
        double v[7] = {};
        bool complete = count >= 0 && (kind == 'M' || !path.empty());
        for (int i = 0; i < count && complete; ++i)
            complete = kind == 'A' && (i == 3 || i == 4) ? numbers.flag(v[i]) : numbers.next(v[i]);
        if (!complete)
            break;
        if (std::islower(op))
            for (int i = kind == 'A' ? 5 : 0; i < count; ++i)
                v[i] += kind == 'V' || (kind != 'H' && (i + (kind == 'A')) % 2) ? y : x;

        const bool afterCubic = last == 'C' || last == 'S', afterQuadratic = last == 'Q' || last == 'T';
        switch (kind)
        {
        case 'Z':
            path.push_back({'Z', {}});
            x = startX, y = startY;
            break;
        case 'H':
            path.push_back({'L', {x = v[0], y}});
            break;
        case 'V':
            path.push_back({'L', {x, y = v[0]}});
            break;
        case 'S':
        case 'C':
        {
            const double* rest = kind == 'C' ? v + 2 : v;
            const double firstX = kind == 'C' ? v[0] : afterCubic ? 2 * x - controlX : x;
            const double firstY = kind == 'C' ? v[1] : afterCubic ? 2 * y - controlY : y;
            path.push_back({'C', {firstX, firstY, rest[0], rest[1], rest[2], rest[3]}});
            controlX = rest[0], controlY = rest[1], x = rest[2], y = rest[3];
            break;
        }
        case 'T':
        case 'Q':
        {
            const double* end = kind == 'Q' ? v + 2 : v;
            controlX = kind == 'Q' ? v[0] : afterQuadratic ? 2 * x - controlX : x;
            controlY = kind == 'Q' ? v[1] : afterQuadratic ? 2 * y - controlY : y;
            path.push_back({'Q', {controlX, controlY, end[0], end[1]}});
            x = end[0], y = end[1];
            break;
        }
        case 'A':
            path.push_back({'A', {v[0], v[1], v[2], v[3], v[4], v[5], v[6]}});
            x = v[5], y = v[6];
            break;
        default:
            path.push_back({kind, {v[0], v[1]}});
            x = v[0], y = v[1];
            if (kind == 'M')
                startX = x, startY = y;
        }
        last = kind;
    }
    return path;
}

Path readShape(const pugi::xml_node& node, double width, double height)
{
    Path path;
    const std::string kind = node.name();
    const auto length = [&](const char* name, double whole, double otherwise = 0.0)
    {
        double value = otherwise;
        readLength(node.attribute(name).value(), whole, value);
        return value;
    };
    const double diagonal = std::hypot(width, height) / std::sqrt(2.0);
    if (kind == "path")
        path = readPathData(node.attribute("d").value());
    else if (kind == "rect")
    {
        const double rx = length("rx", width, -1), ry = length("ry", height, -1);
        addRectangle(path, length("x", width), length("y", height), length("width", width), length("height", height),
                     rx < 0 ? ry : rx, ry < 0 ? rx : ry);
    }
    else if (kind == "circle" || kind == "ellipse")
    {
        const double r = length("r", diagonal);
        addEllipse(path, length("cx", width), length("cy", height), kind == "circle" ? r : length("rx", width),
                   kind == "circle" ? r : length("ry", height));
    }
    else if (kind == "line")
    {
        path.push_back({'M', {length("x1", width), length("y1", height)}});
        path.push_back({'L', {length("x2", width), length("y2", height)}});
    }
    else
    {
        const std::vector<double> points = readNumbers(node.attribute("points").value());
        for (size_t i = 0; i + 1 < points.size(); i += 2)
            path.push_back({i == 0 ? 'M' : 'L', {points[i], points[i + 1]}});
        if (kind == "polygon" && !path.empty())
            path.push_back({'Z', {}});
    }
    return path;
}

std::array<double, 4> boundingBox(const Path& path)
{
    double left = HUGE_VAL, top = HUGE_VAL, right = -HUGE_VAL, bottom = -HUGE_VAL;
    const auto include = [&](double x, double y)
    {
        left = std::min(left, x), right = std::max(right, x);
        top = std::min(top, y), bottom = std::max(bottom, y);
    };
    double x = 0, y = 0;
    for (const PathCommand& c : path)
    {
        if (c.op == 'Z')
            continue;
        if (c.op == 'A')
        {
            // Good for the half and quarter ellipses that basic shapes are made of: around the middle of half ones.
            const double middleX = (x + c.v[5]) / 2, middleY = (y + c.v[6]) / 2;
            if (std::abs(x - c.v[5]) >= 1.999 * c.v[0] && c.v[2] == 0)
                include(middleX, middleY - c.v[1]), include(middleX, middleY + c.v[1]);
            include(x = c.v[5], y = c.v[6]);
            continue;
        }
        const size_t points = c.op == 'C' ? 3 : c.op == 'Q' ? 2 : 1;
        for (size_t i = 0; i < points; ++i)
            include(x = c.v[2 * i], y = c.v[2 * i + 1]);
    }
    if (left > right)
        return {};
    return {left, top, right - left, bottom - top};
}
