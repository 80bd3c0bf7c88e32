#pragma once

#include <cairo.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

// A rectangle of a picture, in pixels.
struct Area {
    int x, y, width, height;
    int right() const { return x + width; }
    int bottom() const { return y + height; }
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
    // Fills every pixel with the colour that colourAt(column, row) returns, counted from the upper left
    // corner.
    void fill(const Area& area, const std::function<Colour(int, int)>& colourAt);
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
