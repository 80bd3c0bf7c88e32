#pragma once

#include <cairo.h>

#include <cstdint>
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

using Colour = std::uint32_t;  // 0xRRGGBB

// From dark to light in equal steps of brightness. share: 0 .. 1.
Colour heatColour(double share);

// A scale between two edges of an area.
struct Axis {
    double low;
    double high;
    std::string label;  // with the unit

    // 0 .. 1 from low to high.
    double share(double value) const { return (value - low) / (high - low); }
};

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
    // The edge of an area with ticks and numbers at round values, and the label.
    void bottomAxis(const Area& area, const Axis& axis);
    void sideAxis(const Area& area, const Axis& axis, bool onRight = false);

    // The picture as the content of a PNG file. Throws Error.
    std::vector<char> png() const;

private:
    void line(double x0, double y0, double x1, double y1);

    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface;
    std::unique_ptr<cairo_t, void (*)(cairo_t*)> context;
};
