#pragma once

// Drawing helpers of the panel art: seeded textures written pixel by pixel, brushed metal,
// shadows and screws. Everything is cairo on image surfaces, in device pixels; nothing reads
// the clock or an unseeded source, so a run draws the same pixels every time.

#include "tools/demo/Random.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace torvane::generators {

struct Colour {
    double r, g, b;
};

inline void setColour(cairo_t* cairo, Colour c, double alpha = 1.0) {
    cairo_set_source_rgba(cairo, c.r, c.g, c.b, alpha);
}

/// Smooth random values on a grid of `cell` pixels, interpolated bilinearly: the grain of
/// tolex, the fibres of a grille cloth.
class ValueNoise {
public:
    ValueNoise(int width, int height, double cell, std::uint64_t seed)
        : cell(cell), columns(static_cast<int>(width / cell) + 2),
          rows(static_cast<int>(height / cell) + 2) {
        demo::Random random(seed);
        values.resize(static_cast<size_t>(columns * rows));
        for (auto& value : values) {
            value = random.bipolar();
        }
    }

    /// In -1..1.
    double at(double x, double y) const {
        const double u = x / cell, v = y / cell;
        const int i = std::min(static_cast<int>(u), columns - 2);
        const int j = std::min(static_cast<int>(v), rows - 2);
        const double fu = smooth(u - i), fv = smooth(v - j);
        const double top = lerp(value(i, j), value(i + 1, j), fu);
        const double bottom = lerp(value(i, j + 1), value(i + 1, j + 1), fu);
        return lerp(top, bottom, fv);
    }

private:
    static double smooth(double t) { return t * t * (3.0 - 2.0 * t); }
    static double lerp(double a, double b, double t) { return a + (b - a) * t; }
    double value(int i, int j) const { return values[static_cast<size_t>(j * columns + i)]; }

    double cell;
    int columns;
    int rows;
    std::vector<double> values;
};

/// An opaque picture whose every pixel `shade(x, y)` gives, each channel 0..1.
template <class Shade>
cairo_surface_t* shadedSurface(int width, int height, Shade shade) {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cairo_surface_flush(surface);
    unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const auto channel = [](double v) {
        return static_cast<std::uint32_t>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0));
    };
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(data + y * stride);
        for (int x = 0; x < width; ++x) {
            const Colour c = shade(x, y);
            row[x] = (channel(c.r) << 16) | (channel(c.g) << 8) | channel(c.b);
        }
    }
    cairo_surface_mark_dirty(surface);
    return surface;
}

inline void roundedRectangle(cairo_t* cairo, double x, double y, double width, double height,
                             double radius) {
    const double pi = std::numbers::pi;
    cairo_new_sub_path(cairo);
    cairo_arc(cairo, x + width - radius, y + radius, radius, -pi / 2, 0);
    cairo_arc(cairo, x + width - radius, y + height - radius, radius, 0, pi / 2);
    cairo_arc(cairo, x + radius, y + height - radius, radius, pi / 2, pi);
    cairo_arc(cairo, x + radius, y + radius, radius, pi, 3 * pi / 2);
    cairo_close_path(cairo);
}

/// One colour of a gradient, at `at` from 0 to 1 along it.
struct Stop {
    double at;
    Colour colour;
    double alpha = 1.0;
};

/// A disc of `radius` at (x, y) shaded by a radial gradient that starts from a circle of
/// `lightRadius` at (lightX, lightY): a dome lit from there.
inline void shadedDisc(cairo_t* cairo, double x, double y, double radius, double lightX,
                       double lightY, double lightRadius, const std::vector<Stop>& stops) {
    cairo_pattern_t* pattern =
        cairo_pattern_create_radial(lightX, lightY, lightRadius, x, y, radius);
    for (const auto& stop : stops) {
        cairo_pattern_add_color_stop_rgba(pattern, stop.at, stop.colour.r, stop.colour.g,
                                          stop.colour.b, stop.alpha);
    }
    cairo_set_source(cairo, pattern);
    cairo_arc(cairo, x, y, radius, 0, 2 * std::numbers::pi);
    cairo_fill(cairo);
    cairo_pattern_destroy(pattern);
}

/// A soft shadow of a circle: rings of falling darkness out to `radius` + `spread`.
inline void circleShadow(cairo_t* cairo, double x, double y, double radius, double spread,
                         double darkness) {
    const Colour black{0, 0, 0};
    shadedDisc(cairo, x, y, radius + spread, x, y, radius * 0.6,
               {{0.0, black, darkness}, {0.55, black, darkness * 0.55}, {1.0, black, 0.0}});
}

/// A linear gradient through evenly spaced colours.
inline cairo_pattern_t* gradient(double x0, double y0, double x1, double y1,
                                 const std::vector<Colour>& colours) {
    cairo_pattern_t* pattern = cairo_pattern_create_linear(x0, y0, x1, y1);
    for (size_t i = 0; i < colours.size(); ++i) {
        const double at = colours.size() > 1 ? static_cast<double>(i) / (colours.size() - 1) : 0.0;
        cairo_pattern_add_color_stop_rgb(pattern, at, colours[i].r, colours[i].g, colours[i].b);
    }
    return pattern;
}

/// Polished chrome seen from the front: bright and dark bands across the direction (x0, y0) to
/// (x1, y1).
inline cairo_pattern_t* chrome(double x0, double y0, double x1, double y1) {
    return gradient(x0, y0, x1, y1,
                    {{0.50, 0.52, 0.55}, {0.96, 0.97, 0.98}, {0.62, 0.64, 0.67},
                     {0.30, 0.31, 0.33}, {0.82, 0.84, 0.86}, {0.45, 0.46, 0.48}});
}

/// A cross-head screw, its slot turned by `angle` radians.
inline void screw(cairo_t* cairo, double x, double y, double radius, double angle) {
    circleShadow(cairo, x + 0.8, y + 1.2, radius, 2.0, 0.45);
    shadedDisc(cairo, x, y, radius, x - radius * 0.4, y - radius * 0.4, 0.5,
               {{0.0, {0.97, 0.97, 0.97}}, {0.7, {0.62, 0.63, 0.64}}, {1.0, {0.36, 0.36, 0.37}}});
    cairo_set_line_width(cairo, radius * 0.32);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    for (double turn : {angle, angle + std::numbers::pi / 2}) {
        const double dx = std::cos(turn) * radius * 0.62, dy = std::sin(turn) * radius * 0.62;
        cairo_set_source_rgba(cairo, 1, 1, 1, 0.5);
        cairo_move_to(cairo, x - dx + 0.5, y - dy + 0.5);
        cairo_line_to(cairo, x + dx + 0.5, y + dy + 0.5);
        cairo_stroke(cairo);
        cairo_set_source_rgb(cairo, 0.18, 0.18, 0.19);
        cairo_move_to(cairo, x - dx, y - dy);
        cairo_line_to(cairo, x + dx, y + dy);
        cairo_stroke(cairo);
    }
}

} // namespace torvane::generators
