#include "tools/host/HostWindow.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <cairo.h>
#include <dlfcn.h>

#include <bit>
#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
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

/// A member holding `symbol` of `library`, typed as the header declares it.
#define TORVANE_BOUND(member, library, symbol) \
    decltype(&symbol) member = bind<decltype(&symbol)>(library, #symbol)

/// The Xlib and cairo calls of the window, bound when the first window opens: the tool's other
/// commands (a document run, say) then load neither library, nor the twenty-odd that those
/// two bring, which would cost every run some milliseconds at start. Loaded once, never
/// unloaded; one thread, as the window.
struct WindowCalls {
    void* x11 = open("libX11.so.6");
    void* cairo = open("libcairo.so.2");
    TORVANE_BOUND(openDisplay, x11, XOpenDisplay);
    TORVANE_BOUND(createSimpleWindow, x11, XCreateSimpleWindow);
    TORVANE_BOUND(storeName, x11, XStoreName);
    TORVANE_BOUND(setWMNormalHints, x11, XSetWMNormalHints);
    TORVANE_BOUND(internAtom, x11, XInternAtom);
    TORVANE_BOUND(setWMProtocols, x11, XSetWMProtocols);
    TORVANE_BOUND(selectInput, x11, XSelectInput);
    TORVANE_BOUND(mapWindow, x11, XMapWindow);
    TORVANE_BOUND(flush, x11, XFlush);
    TORVANE_BOUND(destroyWindow, x11, XDestroyWindow);
    TORVANE_BOUND(closeDisplay, x11, XCloseDisplay);
    TORVANE_BOUND(pending, x11, XPending);
    TORVANE_BOUND(nextEvent, x11, XNextEvent);
    TORVANE_BOUND(sync, x11, XSync);
    TORVANE_BOUND(getImage, x11, XGetImage);
    TORVANE_BOUND(imageSurfaceCreate, cairo, cairo_image_surface_create);
    TORVANE_BOUND(surfaceFlush, cairo, cairo_surface_flush);
    TORVANE_BOUND(imageSurfaceGetData, cairo, cairo_image_surface_get_data);
    TORVANE_BOUND(imageSurfaceGetStride, cairo, cairo_image_surface_get_stride);
    TORVANE_BOUND(surfaceMarkDirty, cairo, cairo_surface_mark_dirty);
    TORVANE_BOUND(surfaceWriteToPng, cairo, cairo_surface_write_to_png);
    TORVANE_BOUND(surfaceDestroy, cairo, cairo_surface_destroy);
    TORVANE_BOUND(statusToString, cairo, cairo_status_to_string);

    static void* open(const char* name) {
        void* library = ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) {
            const char* reason = ::dlerror();
            throw std::runtime_error(std::string("cannot load ") + name + ": " +
                                     (reason != nullptr ? reason : "unknown reason"));
        }
        return library;
    }

    template <class Function>
    static Function bind(void* library, const char* name) {
        void* address = ::dlsym(library, name);
        if (address == nullptr) {
            throw std::runtime_error(std::string("cannot find ") + name);
        }
        return reinterpret_cast<Function>(address);
    }
};

#undef TORVANE_BOUND

const WindowCalls& calls() {
    static const WindowCalls loaded;
    return loaded;
}

} // namespace

HostWindow::HostWindow(int width, int height, const std::string& title)
    : width(width), height(height) {
    const WindowCalls& api = calls();
    connection = api.openDisplay(nullptr);
    if (connection == nullptr) {
        throw std::runtime_error("no X display: set DISPLAY to a running X server "
                                 "(for example Xvfb :1 & DISPLAY=:1)");
    }
    const int screen = DefaultScreen(connection);
    window = api.createSimpleWindow(connection, RootWindow(connection, screen), 0, 0,
                                 static_cast<unsigned>(width), static_cast<unsigned>(height), 0,
                                 BlackPixel(connection, screen), BlackPixel(connection, screen));
    api.storeName(connection, window, title.c_str());
    XSizeHints hints{};
    hints.flags = PMinSize | PMaxSize;
    hints.min_width = hints.max_width = width;
    hints.min_height = hints.max_height = height;
    api.setWMNormalHints(connection, window, &hints);
    Atom close = api.internAtom(connection, "WM_DELETE_WINDOW", False);
    closeMessage = close;
    api.setWMProtocols(connection, window, &close, 1);
    api.selectInput(connection, window, StructureNotifyMask);
    api.mapWindow(connection, window);
    api.flush(connection);
}

HostWindow::~HostWindow() {
    const WindowCalls& api = calls();
    api.destroyWindow(connection, window);
    api.closeDisplay(connection);
}

bool HostWindow::handleEvents() {
    const WindowCalls& api = calls();
    while (api.pending(connection) > 0) {
        XEvent event;
        api.nextEvent(connection, &event);
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
    const WindowCalls& api = calls();
    api.sync(connection, False);
    XImage* image = api.getImage(connection, window, 0, 0, static_cast<unsigned>(width),
                              static_cast<unsigned>(height), AllPlanes, ZPixmap);
    if (image == nullptr) {
        throw std::runtime_error("cannot read the window's picture");
    }
    const auto destroy = [](XImage* taken) { XDestroyImage(taken); };
    std::unique_ptr<XImage, decltype(destroy)> owned(image, destroy);
    cairo_surface_t* picture = api.imageSurfaceCreate(CAIRO_FORMAT_RGB24, width, height);
    api.surfaceFlush(picture);
    unsigned char* data = api.imageSurfaceGetData(picture);
    const int stride = api.imageSurfaceGetStride(picture);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(data + y * stride);
        for (int x = 0; x < width; ++x) {
            const unsigned long pixel = XGetPixel(image, x, y);
            row[x] = (channel(pixel, image->red_mask) << 16) |
                     (channel(pixel, image->green_mask) << 8) | channel(pixel, image->blue_mask);
        }
    }
    api.surfaceMarkDirty(picture);
    const cairo_status_t written = api.surfaceWriteToPng(picture, path.c_str());
    api.surfaceDestroy(picture);
    if (written != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error("cannot write " + path + ": " + api.statusToString(written));
    }
}

} // namespace torvane::host
