#include "editor/widgets/Bitmap.h"

#include <cairo.h>

#include <algorithm>
#include <cstring>

namespace torvane::widgets {

namespace {

/// The bytes not yet handed to cairo's PNG reader.
struct PngReader {
    std::span<const std::uint8_t> rest;
};

cairo_status_t readPng(void* closure, unsigned char* data, unsigned int length) {
    auto& reader = *static_cast<PngReader*>(closure);
    if (length > reader.rest.size()) {
        return CAIRO_STATUS_READ_ERROR;
    }
    std::memcpy(data, reader.rest.data(), length);
    reader.rest = reader.rest.subspan(length);
    return CAIRO_STATUS_SUCCESS;
}

std::uint32_t bigEndian32(const std::uint8_t* bytes) {
    return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) |
           (std::uint32_t{bytes[2]} << 8) | std::uint32_t{bytes[3]};
}

} // namespace

std::shared_ptr<Bitmap> Bitmap::fromPng(std::span<const std::uint8_t> png) {
    PngReader reader{png};
    cairo_surface_t* image = cairo_image_surface_create_from_png_stream(readPng, &reader);
    if (cairo_surface_status(image) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(image);
        return nullptr;
    }
    return std::shared_ptr<Bitmap>(new Bitmap(image));
}

Bitmap::Bitmap(cairo_surface_t* image)
    : image(image), pixelsWide(cairo_image_surface_get_width(image)),
      pixelsHigh(cairo_image_surface_get_height(image)) {}

Bitmap::~Bitmap() { cairo_surface_destroy(image); }

// A PNG opens with an 8-byte signature and the IHDR chunk: length, "IHDR", width, height.
std::optional<PixelSize> pngSize(std::span<const std::uint8_t> png) {
    static constexpr std::uint8_t signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (png.size() < 24 || !std::equal(std::begin(signature), std::end(signature), png.begin()) ||
        std::memcmp(png.data() + 12, "IHDR", 4) != 0) {
        return std::nullopt;
    }
    return PixelSize{static_cast<int>(bigEndian32(png.data() + 16)),
                     static_cast<int>(bigEndian32(png.data() + 20))};
}

} // namespace torvane::widgets
