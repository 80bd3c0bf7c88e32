#pragma once

#include <cairo.h>

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

// A rectangle of a picture, in pixels.
struct Area {
    double x, y, width, height;
    double right() const { return x + width; }
    double bottom() const { return y + height; }
};

struct Colour {
    double red, green, blue;  // 0 .. 1
};

// A scale from a value to a position between the ends of an area, with ticks at round numbers.
struct Axis {
    double low;
    double high;
    std::string label;  // with the unit
    double position(double value, double start, double length) const
    {
        return start + (value - low) / (high - low) * length;
    }
    std::vector<double> ticks(int atMost) const;
};

// From dark to light in equal steps of brightness. share: 0 .. 1.
Colour heatColour(double share);

// A picture with a white background, to be saved as PNG.
class Picture
{
public:
    enum class Align { kLeft, kCentre, kRight };

    Picture(int width, int height);

    // Text of any encoding, shortened at its end to the width. Returns its width in pixels.
    double text(double x, double y, const std::string& content, double size, Align align = Align::kLeft,
                double maxWidth = 1e9);
    // A filled band between two edges: y of both, by x.
    void band(std::span<const double> x, std::span<const double> upper, std::span<const double> lower);
    // width by height cells in the colours that colourAt(column, row) gives, over cells, of which only the part
    // in area is shown.
    void image(const Area& area, const Area& cells, int width, int height,
               const std::function<Colour(int, int)>& colourAt);
    // A frame with ticks, numbers and labels at the bottom and on the left.
    void frame(const Area& area, const Axis& horizontal, const Axis& vertical, bool numbersBelow);
    // The colours from the axis' low end to its high end, with numbers and label on the right.
    void colourBar(const Area& area, const Axis& axis);

    // The picture as the content of a PNG file. Throws Error.
    std::vector<char> png() const;

private:
    void line(double x0, double y0, double x1, double y1);
    void verticalAxis(const Area& area, const Axis& axis, bool onRight);

    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface;
    std::unique_ptr<cairo_t, void (*)(cairo_t*)> context;
};
