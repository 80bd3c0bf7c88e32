#pragma once

#include <cairo.h>

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

// A rectangle of a picture, in picture units (pixels of a PNG).
struct Area {
    double x, y, width, height;
};

struct Colour {
    double red, green, blue;  // 0 .. 1
};

// A scale from a value to a place between the ends of an area, with ticks at round numbers.
struct Axis {
    double low;
    double high;
    std::string label;  // with the unit
    double place(double value, double start, double length) const
    {
        return start + (value - low) / (high - low) * length;
    }
    std::vector<double> ticks(int atMost) const;
};

// From dark to light in equal steps of brightness. share: 0 .. 1.
Colour heatColour(double share);

// A picture on a white ground that is drawn, then saved: as SVG when the file's name ends in .svg, else PNG.
class Picture
{
public:
    enum class Align { kLeft, kCentre, kRight };

    Picture(double width, double height, bool isSvg);

    void text(double x, double y, const std::string& content, double size, Align align = Align::kLeft,
              bool bold = false);
    // A filled band between two edges: y of both, by x.
    void band(std::span<const double> x, std::span<const double> upper, std::span<const double> lower,
              const Colour& colour);
    // width by height cells of the colours that colourAt(column, row) gives, over the area.
    void image(const Area& area, int width, int height, const std::function<Colour(int, int)>& colourAt);
    // A frame with ticks, numbers and labels at the bottom and on the left.
    void frame(const Area& area, const Axis& horizontal, const Axis& vertical, bool numbersBelow);
    // As on the right of an area.
    void colourBar(const Area& area, const Axis& axis);

    // The finished picture. Throws Error.
    std::vector<char> bytes();

private:
    void line(double x0, double y0, double x1, double y1);
    void tickNumbers(const Area& area, const Axis& axis, bool onRight);

    std::vector<char> written;
    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface;
    std::unique_ptr<cairo_t, void (*)(cairo_t*)> context;
    bool svg;
};
