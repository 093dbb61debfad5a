#include "tools/host/HostWindow.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <cairo.h>

#include <bit>
#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <thread>

namespace torvane::host {

namespace {

/// A channel of a pixel, by its mask, scaled to 8 bits.
std::uint32_t channel(unsigned long pixel, unsigned long mask) {
    if (mask == 0) {
        return 0;
    }
    const int shift = std::countr_zero(mask);
    const unsigned long top = mask >> shift;
    return static_cast<std::uint32_t>(((pixel & mask) >> shift) * 255 / top);
}

} // namespace

HostWindow::HostWindow(int width, int height, const std::string& title)
    : width(width), height(height) {
    connection = XOpenDisplay(nullptr);
    if (connection == nullptr) {
        throw std::runtime_error("no X display: set DISPLAY to a running X server "
                                 "(for example Xvfb :1 & DISPLAY=:1)");
    }
    const int screen = DefaultScreen(connection);
    window = XCreateSimpleWindow(connection, RootWindow(connection, screen), 0, 0,
                                 static_cast<unsigned>(width), static_cast<unsigned>(height), 0,
                                 BlackPixel(connection, screen), BlackPixel(connection, screen));
    XStoreName(connection, window, title.c_str());
    XSizeHints hints{};
    hints.flags = PMinSize | PMaxSize;
    hints.min_width = hints.max_width = width;
    hints.min_height = hints.max_height = height;
    XSetWMNormalHints(connection, window, &hints);
    Atom close = XInternAtom(connection, "WM_DELETE_WINDOW", False);
    closeMessage = close;
    XSetWMProtocols(connection, window, &close, 1);
    XSelectInput(connection, window, StructureNotifyMask);
    XMapWindow(connection, window);
    XFlush(connection);
}

HostWindow::~HostWindow() {
    XDestroyWindow(connection, window);
    XCloseDisplay(connection);
}

bool HostWindow::handleEvents() {
    while (XPending(connection) > 0) {
        XEvent event;
        XNextEvent(connection, &event);
        if (event.type == MapNotify) {
            shown = true;
        } else if (event.type == ClientMessage &&
                   static_cast<unsigned long>(event.xclient.data.l[0]) == closeMessage) {
            closeRequested = true;
        }
    }
    return !closeRequested;
}

bool HostWindow::waitUntilShown(double seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!shown && std::chrono::steady_clock::now() < deadline) {
        handleEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return shown;
}

void HostWindow::screenshot(const std::string& path) const {
    XSync(connection, False);
    XImage* image = XGetImage(connection, window, 0, 0, static_cast<unsigned>(width),
                              static_cast<unsigned>(height), AllPlanes, ZPixmap);
    if (image == nullptr) {
        throw std::runtime_error("cannot read the window's picture");
    }
    const auto destroy = [](XImage* taken) { XDestroyImage(taken); };
    std::unique_ptr<XImage, decltype(destroy)> owned(image, destroy);
    cairo_surface_t* picture = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cairo_surface_flush(picture);
    unsigned char* data = cairo_image_surface_get_data(picture);
    const int stride = cairo_image_surface_get_stride(picture);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(data + y * stride);
        for (int x = 0; x < width; ++x) {
            const unsigned long pixel = XGetPixel(image, x, y);
            row[x] = (channel(pixel, image->red_mask) << 16) |
                     (channel(pixel, image->green_mask) << 8) | channel(pixel, image->blue_mask);
        }
    }
    cairo_surface_mark_dirty(picture);
    const cairo_status_t written = cairo_surface_write_to_png(picture, path.c_str());
    cairo_surface_destroy(picture);
    if (written != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error("cannot write " + path + ": " + cairo_status_to_string(written));
    }
}

} // namespace torvane::host
