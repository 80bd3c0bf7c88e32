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

// Removes the last character of UTF-8 text, which may have several bytes.
void removeLast(std::string& text)
{
    while (!text.empty() && (text.back() & 0xc0) == 0x80)
        text.pop_back();
    if (!text.empty())
        text.pop_back();
}

// Round values of an axis, at most so many.
std::vector<double> ticks(const Axis& axis, int atMost)
{
    const double rough = (axis.high - axis.low) / atMost;
    const double decade = std::pow(10.0, std::floor(std::log10(rough)));
    const double factor = rough <= decade         ? 1.0
                          : rough <= 2.0 * decade ? 2.0
                          : rough <= 5.0 * decade ? 5.0
                                                  : 10.0;
    const double step = factor * decade;
    std::vector<double> values;
    for (double n = std::ceil(axis.low / step - 1e-9); n * step <= axis.high + 1e-9 * step; n += 1.0)
        values.push_back(n * step + 0.0);  // no negative zero
    return values;
}

}  // namespace

// Points of the palette "magma" by S. van der Walt and N. Smith (2015), interpolated linearly.
Colour heatColour(double share)
{
    static constexpr std::array<Colour, 9> kPoints{0x000004, 0x1c1044, 0x4f127b, 0x812581, 0xb5367a,
                                                   0xe55064, 0xfb8761, 0xfec287, 0xfcfdbf};
    const double position = std::clamp(share, 0.0, 1.0) * (kPoints.size() - 1);
    const auto i = std::min(static_cast<std::size_t>(position), kPoints.size() - 2);
    Colour colour = 0;
    for (const int shift : {16, 8, 0}) {
        const double low = kPoints[i] >> shift & 0xff, high = kPoints[i + 1] >> shift & 0xff;
        colour |= static_cast<Colour>(std::lround(std::lerp(low, high, position - static_cast<double>(i))))
                  << shift;
    }
    return colour;
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
    std::string shown = toUtf8(content);
    for (std::string kept = shown; !kept.empty() && widthOf(c, shown) > maxWidth; shown = kept + "…")
        removeLast(kept);
    const double width = widthOf(c, shown);
    const double shift = align == Align::kLeft ? 0.0 : align == Align::kRight ? 1.0 : 0.5;
    cairo_move_to(c, x - shift * width, y);
    cairo_show_text(c, shown.c_str());
    return width;
}

void Picture::fill(const Area& area, const std::function<Colour(int, int)>& colourAt)
{
    cairo_surface_flush(surface.get());
    unsigned char* const pixels = cairo_image_surface_get_data(surface.get());
    const std::ptrdiff_t rowBytes = cairo_image_surface_get_stride(surface.get());
    for (int row = 0; row < area.height; ++row) {
        auto* const line = reinterpret_cast<Colour*>(pixels + (area.y + row) * rowBytes) + area.x;
        for (int column = 0; column < area.width; ++column)
            line[column] = colourAt(column, row);
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

void Picture::bottomAxis(const Area& area, const Axis& axis)
{
    line(area.x, area.bottom(), area.right(), area.bottom());
    for (const double value : ticks(axis, area.width / 100)) {
        const double x = area.x + axis.share(value) * area.width;
        line(x, area.bottom(), x, area.bottom() + kTick);
        text(x, area.bottom() + kTick + 14.0, fmt::format("{:g}", value), kSmall, Align::kCentre);
    }
    text(area.x + area.width / 2.0, area.bottom() + 38.0, axis.label, kSmall, Align::kCentre);
}

void Picture::sideAxis(const Area& area, const Axis& axis, bool onRight)
{
    const int edge = onRight ? area.right() : area.x;
    const double outward = onRight ? 1.0 : -1.0;
    line(edge, area.y, edge, area.bottom());
    for (const double value : ticks(axis, area.height / 26)) {
        const double y = area.bottom() - axis.share(value) * area.height;
        line(edge, y, edge + outward * kTick, y);
        text(edge + outward * (kTick + 4.0), y + 4.0, fmt::format("{:g}", value), kSmall,
             onRight ? Align::kLeft : Align::kRight);
    }
    cairo_t* const c = context.get();
    cairo_save(c);
    cairo_translate(c, edge + outward * 48.0, area.y + area.height / 2.0);
    cairo_rotate(c, -std::numbers::pi / 2.0);
    text(0.0, 4.0, axis.label, kSmall, Align::kCentre);
    cairo_restore(c);
}

std::vector<char> Picture::png() const
{
    std::vector<char> bytes;
    const auto append = [](void* all, const unsigned char* data, unsigned int length) {
        auto& target = *static_cast<std::vector<char>*>(all);
        target.insert(target.end(), data, data + length);
        return CAIRO_STATUS_SUCCESS;
    };
    const cairo_status_t status = cairo_surface_write_to_png_stream(surface.get(), append, &bytes);
    if (status != CAIRO_STATUS_SUCCESS)
        throw Error("cannot draw the picture: {}", cairo_status_to_string(status));
    return bytes;
}
