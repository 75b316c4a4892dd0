// Pictures that gnuplot draws.
#pragma once

#include <string>
#include <vector>

namespace workstation::evidence::plotting {

enum class PictureFormat { svg, png };

// The input of gnuplot for one picture: commands and data.
struct Picture {
    std::string script;
    std::string title;              // in one line
    std::string description;        // what the picture shows, for who cannot see it
    std::vector<std::string> parts; // the names of what it plots, in this order
};

// A text as gnuplot takes it, in double quotes. A control character, and a byte that is no UTF-8,
// becomes a question mark.
std::string Quoted(std::string const& text);

// The commands that begin a picture of a size in pixels. Its coordinates are pixels, from the left
// and the upper edge.
std::string SetCanvas(PictureFormat format, double width, double height);

// Throws Failure when there is no gnuplot, with the name of the package to install.
void RequireGnuplot();

// Lets gnuplot draw, and returns the file. Throws Failure.
std::string Draw(Picture const& picture, PictureFormat format);

} // namespace workstation::evidence::plotting
