#include "cli/plot/Picture.h"

#include "cli/Error.h"
#include "cli/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace
{

constexpr double kTick = 5.0;
constexpr double kSmall = 12.0;  // size of numbers and labels

double widthOf(cairo_t* context, const std::string& text)
{
    cairo_text_extents_t extents;
    cairo_text_extents(context, text.c_str(), &extents);
    return extents.x_advance;
}

// UTF-8 text with as many characters as fit into the width, and an ellipsis for the others.
std::string shortened(cairo_t* context, std::string text, double width)
{
    if (widthOf(context, text) <= width)
        return text;
    const auto isContinuation = [](char byte) { return (byte & 0xc0) == 0x80; };
    do {
        while (!text.empty() && isContinuation(text.back()))
            text.pop_back();
        if (!text.empty())
            text.pop_back();
    } while (!text.empty() && widthOf(context, text + "…") > width);
    return text + "…";
}

}  // namespace

std::vector<double> Axis::ticks(int atMost) const
{
    const double rough = (high - low) / atMost;
    const double decade = std::pow(10.0, std::floor(std::log10(rough)));
    double step = 10.0 * decade;
    for (const double factor : {5.0, 2.0, 1.0})
        if (factor * decade >= rough)
            step = factor * decade;
    std::vector<double> values;
    for (double n = std::ceil(low / step - 1e-9); n * step <= high + 1e-9 * step; n += 1.0)
        values.push_back(n * step);
    return values;
}

// Points of the palette "magma" by S. van der Walt and N. Smith (2015), interpolated linearly.
Colour heatColour(double share)
{
    static constexpr std::array<Colour, 9> kPoints{{{0.00, 0.00, 0.02},
                                                    {0.11, 0.06, 0.27},
                                                    {0.31, 0.07, 0.48},
                                                    {0.51, 0.15, 0.51},
                                                    {0.71, 0.21, 0.48},
                                                    {0.90, 0.31, 0.39},
                                                    {0.98, 0.53, 0.38},
                                                    {1.00, 0.76, 0.53},
                                                    {0.99, 0.99, 0.75}}};
    const double position = std::clamp(share, 0.0, 1.0) * (kPoints.size() - 1);
    const auto i = std::min(static_cast<std::size_t>(position), kPoints.size() - 2);
    const double f = position - static_cast<double>(i);
    const Colour &a = kPoints[i], &b = kPoints[i + 1];
    return {std::lerp(a.red, b.red, f), std::lerp(a.green, b.green, f), std::lerp(a.blue, b.blue, f)};
}

Picture::Picture(int width, int height)
    : surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height), cairo_surface_destroy),
      context(cairo_create(surface.get()), cairo_destroy)
{
    cairo_set_source_rgb(context.get(), 1.0, 1.0, 1.0);
    cairo_paint(context.get());
    cairo_set_source_rgb(context.get(), 0.13, 0.13, 0.16);
    cairo_set_line_width(context.get(), 1.0);
    cairo_select_font_face(context.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
}

double Picture::text(double x, double y, const std::string& content, double size, Align align,
                     double maxWidth)
{
    cairo_t* const c = context.get();
    cairo_set_font_size(c, size);
    const std::string shown = shortened(c, toUtf8(content), maxWidth);
    const double width = widthOf(c, shown);
    const double shift = align == Align::kLeft ? 0.0 : align == Align::kRight ? 1.0 : 0.5;
    cairo_move_to(c, x - shift * width, y);
    cairo_show_text(c, shown.c_str());
    return width;
}

void Picture::fill(const Area& area, const std::function<Colour(int, int)>& colourAt)
{
    const auto byteOf = [](double share) { return static_cast<std::uint32_t>(std::lround(255.0 * share)); };
    cairo_surface_flush(surface.get());
    unsigned char* const pixels = cairo_image_surface_get_data(surface.get());
    const std::ptrdiff_t rowBytes = cairo_image_surface_get_stride(surface.get());
    for (int row = 0; row < area.height; ++row) {
        auto* const line = reinterpret_cast<std::uint32_t*>(pixels + (area.y + row) * rowBytes) + area.x;
        for (int column = 0; column < area.width; ++column) {
            const Colour colour = colourAt(column, row);
            line[column] = byteOf(colour.red) << 16 | byteOf(colour.green) << 8 | byteOf(colour.blue);
        }
    }
    cairo_surface_mark_dirty(surface.get());
}

void Picture::line(double x0, double y0, double x1, double y1)
{
    cairo_t* const c = context.get();
    cairo_move_to(c, std::floor(x0) + 0.5, std::floor(y0) + 0.5);  // through the centres of pixels: sharp
    cairo_line_to(c, std::floor(x1) + 0.5, std::floor(y1) + 0.5);
    cairo_stroke(c);
}

void Picture::verticalAxis(const Area& area, const Axis& axis, bool onRight)
{
    const int edge = onRight ? area.right() : area.x;
    const double outward = onRight ? 1.0 : -1.0;
    for (const double value : axis.ticks(area.height / 26)) {
        const double y = axis.position(value, area.bottom(), -area.height);
        line(edge, y, edge + outward * kTick, y);
        text(edge + outward * (kTick + 4.0), y + 4.0, fmt::format("{:g}", value + 0.0), kSmall,
             onRight ? Align::kLeft : Align::kRight);
    }
    cairo_t* const c = context.get();
    cairo_save(c);
    cairo_translate(c, edge + outward * 48.0, area.y + area.height / 2.0);
    cairo_rotate(c, -std::numbers::pi / 2.0);
    text(0.0, 4.0, axis.label, kSmall, Align::kCentre);
    cairo_restore(c);
}

void Picture::frame(const Area& area, const Axis& horizontal, const Axis& vertical, bool numbersBelow)
{
    line(area.x, area.y, area.right(), area.y);
    line(area.x, area.bottom(), area.right(), area.bottom());
    line(area.x, area.y, area.x, area.bottom());
    line(area.right(), area.y, area.right(), area.bottom());
    for (const double value : horizontal.ticks(10)) {
        const double x = horizontal.position(value, area.x, area.width);
        line(x, area.bottom(), x, area.bottom() + kTick);
        if (numbersBelow)
            text(x, area.bottom() + kTick + 14.0, fmt::format("{:g}", value + 0.0), kSmall, Align::kCentre);
    }
    if (numbersBelow)
        text(area.x + area.width / 2.0, area.bottom() + 38.0, horizontal.label, kSmall, Align::kCentre);
    verticalAxis(area, vertical, false);
}

void Picture::colourBar(const Area& area, const Axis& axis)
{
    fill(area, [&](int, int row) { return heatColour(1.0 - row / (area.height - 1.0)); });
    verticalAxis(area, axis, true);
}

std::vector<char> Picture::png() const
{
    std::vector<char> bytes;
    const auto append = [](void* all, const unsigned char* data, unsigned int length) {
        static_cast<std::vector<char>*>(all)->insert(static_cast<std::vector<char>*>(all)->end(), data,
                                                     data + length);
        return CAIRO_STATUS_SUCCESS;
    };
    const cairo_status_t status = cairo_surface_write_to_png_stream(surface.get(), append, &bytes);
    if (status != CAIRO_STATUS_SUCCESS)
        throw Error("cannot draw the picture: {}", cairo_status_to_string(status));
    return bytes;
}
