// svg_style.h - numbers, colours, transforms and inherited properties as SVG writes them.
#pragma once

#include "svg_file.h"

#include <pugixml.hpp>

/// Reads numbers out of a text, one by one.
class Numbers
{
public:
    explicit Numbers(const char* text) : m_at(text) {}
    bool next(double& value); ///< @return false at the end, or where there is no number
    bool flag(double& value); ///< a 0 or 1 that needs nothing behind it
    char letter();            ///< the letter that comes next, or 0
    bool atEnd();

private:
    void skip();
    const char* m_at;
};

/// A length in user units; percentages are of `whole`. @return false when there is none
bool readLength(const char* text, double whole, double& value);
std::vector<double> readNumbers(const char* text);
Affine readTransform(const char* text);
/// "#rgb", "#rrggbb", "rgb(...)" and names. @return false for what is none of them
bool readColor(std::string text, unsigned& rgb);

/// Gives every element the properties of its classes, behind those of its own style attribute. Knows rules for classes
/// alone: ".name { ... }".
void applyStyleSheets(pugi::xml_node root);
/// The value of a property: of the style attribute, else of the attribute of its name, else nothing.
std::string property(const pugi::xml_node& node, const char* name);

/// What children inherit.
struct Style
{
    std::string fill = "black", stroke = "none", color = "black";
    double fillOpacity = 1, strokeOpacity = 1;
    bool visible = true;
    Shape shape; // the rest, as shapes keep it

    void read(const pugi::xml_node& node, double diagonal);
};
