// obj_file.h - reads Wavefront OBJ models: positions, normals, texture coordinates, polygons.
#pragma once

#include <kxcoreemb/kxcoreemb.h>

#include <istream>
#include <string>
#include <vector>

/// A model as the renderer takes it: a corner of a triangle is an index into the vertices.
struct Model
{
    struct Vertex
    {
        float position[3], normal[3], texture[2];
    };
    std::vector<Vertex> vertices;
    std::vector<UINT32> corners; // three a triangle, counter-clockwise from outside
    bool hasTexture = false;     // some corner has texture coordinates

    /// Reads a file; polygons become fans, and what lacks normals gets smooth ones. What is not geometry is passed
    /// over.
    /// @return empty, or what is wrong, with the line
    std::string load(const std::string& path);
    std::string read(std::istream& file);
    /// Moves and scales the model so that it fills a sphere of radius 1 around the origin.
    void fit();

private:
    void addNormals(const std::vector<bool>& lacking);
};
