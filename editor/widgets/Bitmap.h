#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

typedef struct _cairo_surface cairo_surface_t;

namespace torvane::widgets {

/// A decoded picture in memory, ready to draw with cairo. Strips of frames are stacked
/// vertically: frame i starts i frame heights from the top.
class Bitmap {
public:
    /// Decodes PNG bytes; null when they are not a PNG cairo can read.
    static std::shared_ptr<Bitmap> fromPng(std::span<const std::uint8_t> png);
    ~Bitmap();
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;

    int width() const { return pixelsWide; }
    int height() const { return pixelsHigh; }
    cairo_surface_t* surface() const { return image; }

private:
    explicit Bitmap(cairo_surface_t* image);

    cairo_surface_t* image;
    int pixelsWide;
    int pixelsHigh;
};

/// Width and height from a PNG's header, without decoding it; nothing when the bytes do not
/// start like a PNG.
struct PixelSize {
    int width;
    int height;
};
std::optional<PixelSize> pngSize(std::span<const std::uint8_t> png);

} // namespace torvane::widgets
