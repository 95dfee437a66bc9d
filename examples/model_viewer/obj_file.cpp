// obj_file.cpp - the parser: a line at a time, a corner "position/texture/normal" at a time.
#include "obj_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>

namespace
{

typedef std::array<float, 3> Triple;
typedef std::array<double, 3> Wide; // what is calculated: squares of floats have no place in a float
typedef std::array<int, 3> Corner;  // position, texture, normal: from 1, 0 for none

bool readNumbers(std::istringstream& line, int least, Triple& numbers)
{
    int count = 0;
    for (std::string word; count < 3 && line >> word; ++count)
    {
        INT32 valid;
        numbers[size_t(count)] = KxcStringToolkit::toFLOAT32(word.c_str(), &valid);
        if (!valid || !std::isfinite(numbers[size_t(count)]))
            return false;
    }
    return count >= least;
}

/// An index counts from 1, or back from the latest when negative. @return false outside what there is
bool resolve(int& index, size_t count)
{
    if (index < 0)
        index += int(count) + 1;
    return index >= 0 && index <= int(count);
}

/// Reads "p", "p/t", "p//n" or "p/t/n".
bool readCorner(const std::string& word, Corner& corner)
{
    corner = {0, 0, 0};
    size_t start = 0;
    for (size_t part = 0; part < 3 && start <= word.size(); ++part)
    {
        const size_t end = std::min(word.find('/', start), word.size());
        if (end > start)
        {
            INT32 valid;
            corner[part] = KxcStringToolkit::toINT32(word.substr(start, end - start).c_str(), &valid);
            if (!valid)
                return false;
        }
        start = end + 1;
    }
    return corner[0] != 0;
}

Wide from(const float* a, const float* b) { return {double(b[0]) - a[0], double(b[1]) - a[1], double(b[2]) - a[2]}; }

Wide cross(const Wide& u, const Wide& v)
{
    return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

} // namespace

std::string Model::load(const std::string& path)
{
    std::ifstream file(path);
    return file ? read(file) : "the file does not open";
}

std::string Model::read(std::istream& file)
{
    std::vector<Triple> positions, textures, normals;
    std::map<Corner, UINT32> known; // vertices by what they are made of
    std::vector<bool> lacking;      // which vertices have no normal yet
    int number = 0;
    for (std::string text; std::getline(file, text);)
    {
        ++number;
        const auto fault = [&](const char* what) { return "line " + std::to_string(number) + ": " + what; };
        std::istringstream line(text);
        std::string kind;
        line >> kind;
        Triple numbers = {};
        if (kind == "v" || kind == "vn" || kind == "vt")
        {
            if (!readNumbers(line, kind == "vt" ? 1 : 3, numbers))
                return fault("a number is missing or malformed");
            (kind == "v" ? positions : kind == "vn" ? normals : textures).push_back(numbers);
        }
        if (kind != "f")
            continue;
        std::vector<UINT32> polygon;
        for (std::string word; line >> word;)
        {
            Corner corner;
            if (!readCorner(word, corner) || !resolve(corner[0], positions.size()) || corner[0] == 0 ||
                !resolve(corner[1], textures.size()) || !resolve(corner[2], normals.size()))
                return fault("a face names a vertex that is not there");
            const auto inserted = known.emplace(corner, UINT32(vertices.size()));
            if (inserted.second)
            {
                Vertex vertex = {};
                const Triple& p = positions[size_t(corner[0] - 1)];
                std::copy(p.begin(), p.end(), vertex.position);
                if (corner[1])
                {
                    vertex.texture[0] = textures[size_t(corner[1] - 1)][0];
                    vertex.texture[1] = 1 - textures[size_t(corner[1] - 1)][1];
                    hasTexture = true;
                }
                if (corner[2])
                    std::copy_n(normals[size_t(corner[2] - 1)].begin(), 3, vertex.normal);
                vertices.push_back(vertex);
                lacking.push_back(corner[2] == 0);
            }
            polygon.push_back(inserted.first->second);
        }
        for (size_t i = 2; i < polygon.size(); ++i)
            corners.insert(corners.end(), {polygon[0], polygon[i - 1], polygon[i]});
    }
    if (corners.empty())
        return "there are no faces in it";
    addNormals(lacking);
    return "";
}

/// Gives vertices without a normal the average of the triangles around their position, and all of them length 1.
void Model::addNormals(const std::vector<bool>& lacking)
{
    std::map<Triple, Wide> sums; // by position
    const auto place = [this](UINT32 i) {
        return Triple{vertices[i].position[0], vertices[i].position[1], vertices[i].position[2]};
    };
    for (size_t i = 0; i + 2 < corners.size(); i += 3)
    {
        const float* first = vertices[corners[i]].position;
        const Wide face =
            cross(from(first, vertices[corners[i + 1]].position), from(first, vertices[corners[i + 2]].position));
        for (size_t k = 0; k < 3; ++k)
            if (lacking[corners[i + k]])
                for (size_t axis = 0; axis < 3; ++axis)
                    sums[place(corners[i + k])][axis] += face[axis];
    }
    for (UINT32 i = 0; i < vertices.size(); ++i)
    {
        float* normal = vertices[i].normal;
        const Wide sum = lacking[i] ? sums[place(i)] : Wide{normal[0], normal[1], normal[2]};
        const double length = std::hypot(sum[0], sum[1], sum[2]);
        for (size_t axis = 0; axis < 3; ++axis)
            normal[axis] = length > 0 ? float(sum[axis] / length) : axis == 1;
    }
}

void Model::fit()
{
    Wide low, high;
    for (size_t axis = 0; axis < 3; ++axis)
    {
        low[axis] = high[axis] = vertices[0].position[axis];
        for (const Vertex& vertex : vertices)
        {
            low[axis] = std::min<double>(low[axis], vertex.position[axis]);
            high[axis] = std::max<double>(high[axis], vertex.position[axis]);
        }
    }
    const auto centred = [&](const Vertex& vertex, size_t axis)
    { return vertex.position[axis] - (low[axis] + high[axis]) / 2; };
    double radius = 0;
    for (const Vertex& vertex : vertices)
        radius = std::max(radius, std::hypot(centred(vertex, 0), centred(vertex, 1), centred(vertex, 2)));
    for (Vertex& vertex : vertices)
        for (size_t axis = 0; axis < 3; ++axis)
            vertex.position[axis] = radius > 0 ? float(centred(vertex, axis) / radius) : 0;
}
