// svg_path.h - path data and basic shapes as absolute commands.
#pragma once

#include "svg_file.h"

#include <pugixml.hpp>

/// The commands up to the first that is broken.
Path readPathData(const char* text);
/// A path or basic shape. @param width, height  what percentages are of
Path readShape(const pugi::xml_node& node, double width, double height);
/// The smallest box around the points of a path (control points count), as x, y, width, height.
std::array<double, 4> boundingBox(const Path& path);
