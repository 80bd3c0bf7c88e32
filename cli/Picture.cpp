#include "cli/Picture.h"

#include "cli/Error.h"

#include <cairo-svg.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace
{

constexpr double kTick = 5.0;
constexpr double kSmall = 12.0;  // size of numbers and labels

cairo_status_t append(void* bytes, const unsigned char* data, unsigned int length)
{
    auto& all = *static_cast<std::vector<char>*>(bytes);
    all.insert(all.end(), data, data + length);
    return CAIRO_STATUS_SUCCESS;
}

cairo_surface_t* makeSurface(double width, double height, bool svg, std::vector<char>& bytes)
{
    if (svg)
        return cairo_svg_surface_create_for_stream(append, &bytes, width, height);
    return cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width), static_cast<int>(height));
}

std::string numberText(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", std::fabs(value) < 1e-9 ? 0.0 : value);
    return text;
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

// Points of the palette "magma" by S. van der Walt and N. Smith (2015), with straight lines between them.
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
    const double place = std::clamp(share, 0.0, 1.0) * (kPoints.size() - 1);
    const auto i = std::min(static_cast<std::size_t>(place), kPoints.size() - 2);
    const double f = place - static_cast<double>(i);
    const Colour &a = kPoints[i], &b = kPoints[i + 1];
    return {std::lerp(a.red, b.red, f), std::lerp(a.green, b.green, f), std::lerp(a.blue, b.blue, f)};
}

Picture::Picture(double width, double height, bool isSvg)
    : surface(makeSurface(width, height, isSvg, written), cairo_surface_destroy),
      context(cairo_create(surface.get()), cairo_destroy), svg(isSvg)
{
    cairo_set_source_rgb(context.get(), 1.0, 1.0, 1.0);
    cairo_paint(context.get());
    cairo_set_line_width(context.get(), 1.0);
}

void Picture::text(double x, double y, const std::string& content, double size, Align align, bool bold)
{
    cairo_t* const c = context.get();
    cairo_select_font_face(c, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(c, size);
    cairo_text_extents_t extents;
    cairo_text_extents(c, content.c_str(), &extents);
    const double shift = align == Align::kLeft ? 0.0 : align == Align::kRight ? 1.0 : 0.5;
    cairo_set_source_rgb(c, 0.13, 0.13, 0.16);
    cairo_move_to(c, x - shift * extents.x_advance, y);
    cairo_show_text(c, content.c_str());
}

void Picture::band(std::span<const double> x, std::span<const double> upper, std::span<const double> lower,
                   const Colour& colour)
{
    cairo_t* const c = context.get();
    cairo_new_path(c);
    for (std::size_t i = 0; i < x.size(); ++i)
        cairo_line_to(c, x[i], upper[i]);
    for (std::size_t i = x.size(); i > 0; --i)
        cairo_line_to(c, x[i - 1], lower[i - 1]);
    cairo_close_path(c);
    cairo_set_source_rgb(c, colour.red, colour.green, colour.blue);
    cairo_fill_preserve(c);
    cairo_stroke(c);
}

void Picture::image(const Area& area, int width, int height, const std::function<Colour(int, int)>& colourAt)
{
    cairo_surface_t* const cells = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    unsigned char* const rows = cairo_image_surface_get_data(cells);
    const std::ptrdiff_t rowBytes = cairo_image_surface_get_stride(cells);
    const auto byteOf = [](double share) { return static_cast<std::uint32_t>(std::lround(255.0 * share)); };
    for (int row = 0; row < height; ++row) {
        auto* const pixels = reinterpret_cast<std::uint32_t*>(rows + row * rowBytes);
        for (int column = 0; column < width; ++column) {
            const Colour colour = colourAt(column, row);
            pixels[column] = byteOf(colour.red) << 16 | byteOf(colour.green) << 8 | byteOf(colour.blue);
        }
    }
    cairo_surface_mark_dirty(cells);
    cairo_t* const c = context.get();
    cairo_save(c);
    cairo_translate(c, area.x, area.y);
    cairo_scale(c, area.width / width, area.height / height);
    cairo_set_source_surface(c, cells, 0.0, 0.0);
    cairo_pattern_set_filter(cairo_get_source(c), CAIRO_FILTER_BILINEAR);
    cairo_pattern_set_extend(cairo_get_source(c), CAIRO_EXTEND_PAD);  // no fading into the ground
    cairo_rectangle(c, 0.0, 0.0, width, height);
    cairo_fill(c);
    cairo_restore(c);
    cairo_surface_destroy(cells);
}

void Picture::line(double x0, double y0, double x1, double y1)
{
    cairo_t* const c = context.get();
    cairo_set_source_rgb(c, 0.13, 0.13, 0.16);
    cairo_move_to(c, std::floor(x0) + 0.5, std::floor(y0) + 0.5);  // on pixels' centres a line is sharp
    cairo_line_to(c, std::floor(x1) + 0.5, std::floor(y1) + 0.5);
    cairo_stroke(c);
}

// Numbers and label of a vertical axis.
void Picture::tickNumbers(const Area& area, const Axis& axis, bool onRight)
{
    const double edge = onRight ? area.x + area.width : area.x;
    const double outward = onRight ? 1.0 : -1.0;
    for (const double value : axis.ticks(static_cast<int>(area.height / 26.0))) {
        const double y = axis.place(value, area.y + area.height, -area.height);
        line(edge, y, edge + outward * kTick, y);
        text(edge + outward * (kTick + 4.0), y + 4.0, numberText(value), kSmall,
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
    const double right = area.x + area.width;
    const double bottom = area.y + area.height;
    line(area.x, area.y, right, area.y);
    line(area.x, bottom, right, bottom);
    line(area.x, area.y, area.x, bottom);
    line(right, area.y, right, bottom);
    for (const double value : horizontal.ticks(10)) {
        const double x = horizontal.place(value, area.x, area.width);
        line(x, bottom, x, bottom + kTick);
        if (numbersBelow)
            text(x, bottom + kTick + 14.0, numberText(value), kSmall, Align::kCentre);
    }
    if (numbersBelow)
        text(area.x + area.width / 2.0, bottom + 38.0, horizontal.label, kSmall, Align::kCentre);
    tickNumbers(area, vertical, false);
}

void Picture::colourBar(const Area& area, const Axis& axis)
{
    constexpr int kSteps = 256;
    image(area, 1, kSteps, [](int, int row) { return heatColour(1.0 - row / (kSteps - 1.0)); });
    tickNumbers(area, axis, true);
}

std::vector<char> Picture::bytes()
{
    context.reset();
    cairo_status_t status = CAIRO_STATUS_SUCCESS;
    if (svg) {
        cairo_surface_finish(surface.get());  // which writes it
        status = cairo_surface_status(surface.get());
    } else {
        status = cairo_surface_write_to_png_stream(surface.get(), append, &written);
    }
    if (status != CAIRO_STATUS_SUCCESS)
        throw Error(std::string("cannot draw the picture: ") + cairo_status_to_string(status));
    return written;
}
