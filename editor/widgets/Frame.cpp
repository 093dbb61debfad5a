#include "editor/widgets/Frame.h"

#include "editor/widgets/XErrorTrap.h"

#include <X11/Xutil.h>
#include <cairo.h>
#include <dlfcn.h>
#include <fcntl.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace torvane::widgets {

namespace {

constexpr long eventMask = ExposureMask | ButtonPressMask | ButtonReleaseMask | ButtonMotionMask |
                           StructureNotifyMask;

/// A lost connection must not end the host: the frame stops talking to the display.
void onConnectionLost(Display*, void* frameFlag) { *static_cast<bool*>(frameFlag) = true; }

/// Xlib offers a handler per connection for a lost server only from 1.8 on. Looked up at run
/// time, so that the plug-in still loads into hosts with an older Xlib, where a lost server
/// ends the process as it ends the host's own windows.
void survivesConnectionLoss(Display* display, bool* lost) {
    using Setter = void (*)(Display*, void (*)(Display*, void*), void*);
    static const Setter setter = [] {
        void* xlib = dlopen("libX11.so.6", RTLD_LAZY | RTLD_NOLOAD);
        return xlib != nullptr ? reinterpret_cast<Setter>(dlsym(xlib, "XSetIOErrorExitHandler"))
                               : nullptr;
    }();
    if (setter != nullptr) {
        setter(display, onConnectionLost, lost);
    }
}

Pointer pointerOf(int x, int y, unsigned int state) {
    return {x, y, (state & (ShiftMask | ControlMask)) != 0};
}

} // namespace

Frame::Frame(unsigned long parent, std::shared_ptr<Bitmap> picture)
    : background(std::move(picture)) {
    if (!background) {
        throw WindowError("Frame: no background picture");
    }
    display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        throw WindowError("Frame: cannot open the X display (is DISPLAY set?)");
    }
    // Programs the panel starts (a browser) must not inherit the connection.
    fcntl(ConnectionNumber(display), F_SETFD, FD_CLOEXEC);
    survivesConnectionLoss(display, &connectionLost);
    try {
        createWindow(parent);
    } catch (...) {
        if (backBuffer != nullptr) {
            cairo_surface_destroy(backBuffer);
        }
        closeDisplay();
        throw;
    }
}

// Closing syncs with the server, which may still report an error of ours.
void Frame::closeDisplay() {
    XErrorTrap trap(display, errors);
    XCloseDisplay(display);
}

void Frame::createWindow(unsigned long parent) {
    XErrorTrap trap(display, errors);
    XWindowAttributes parentAttributes{};
    if (XGetWindowAttributes(display, parent, &parentAttributes) == 0 || errors > 0) {
        char text[96];
        std::snprintf(text, sizeof text, "Frame: the parent 0x%lx is not a window", parent);
        throw WindowError(text);
    }
    const int width = background->width();
    const int height = background->height();
    XSetWindowAttributes attributes{};
    attributes.event_mask = eventMask;
    attributes.colormap = parentAttributes.colormap;
    attributes.background_pixmap = None;
    attributes.border_pixel = 0;
    handle = XCreateWindow(display, parent, 0, 0, static_cast<unsigned>(width),
                           static_cast<unsigned>(height), 0, parentAttributes.depth, InputOutput,
                           parentAttributes.visual,
                           CWEventMask | CWColormap | CWBackPixmap | CWBorderPixel, &attributes);
    visual = parentAttributes.visual;
    depth = parentAttributes.depth;
    graphics = XCreateGC(display, handle, 0, nullptr);
    backBuffer = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    XMapWindow(display, handle);
    XSync(display, False);
    if (errors > 0) {
        XFreeGC(display, graphics);
        XDestroyWindow(display, handle);
        XSync(display, False);
        throw WindowError("Frame: the X server refused the panel's window");
    }
    compose({0, 0, width, height});
}

Frame::~Frame() {
    {
        XErrorTrap trap(display, errors);
        widgets.clear();
        cairo_surface_destroy(backBuffer);
        // On a lost connection Xlib sends nothing more, but still frees its own memory.
        XFreeGC(display, graphics);
        if (!connectionLost) {
            if (!windowGone) {
                XDestroyWindow(display, handle);
            }
            // The window is off the server when the frame is gone.
            XSync(display, False);
        }
    }
    closeDisplay();
}

Widget& Frame::add(std::unique_ptr<Widget> widget) {
    widgets.push_back(std::move(widget));
    return *widgets.back();
}

void Frame::idle() {
    if (connectionLost || windowGone) {
        return;
    }
    XErrorTrap trap(display, errors);
    while (!connectionLost && XPending(display) > 0) {
        XEvent event;
        XNextEvent(display, &event);
        handleEvent(event);
    }
    if (!connectionLost && !windowGone) {
        redraw();
    }
}

void Frame::handleEvent(const XEvent& event) {
    if (event.xany.window != handle) {
        return;
    }
    switch (event.type) {
    case Expose: {
        const auto& area = event.xexpose;
        damage = damage.unite({area.x, area.y, area.x + area.width, area.y + area.height});
        break;
    }
    case ButtonPress:
        if (event.xbutton.button == Button4 || event.xbutton.button == Button5) {
            if (Widget* turned = widgetAt(event.xbutton.x, event.xbutton.y)) {
                turned->wheel(pointerOf(event.xbutton.x, event.xbutton.y, event.xbutton.state),
                              event.xbutton.button == Button4 ? 1 : -1);
            }
        } else if (event.xbutton.button == Button1 && captured == nullptr) {
            captured = widgetAt(event.xbutton.x, event.xbutton.y);
            if (captured != nullptr) {
                captured->mouseDown(pointerOf(event.xbutton.x, event.xbutton.y, event.xbutton.state));
            }
        }
        break;
    case MotionNotify:
        if (captured != nullptr) {
            captured->mouseMoved(pointerOf(event.xmotion.x, event.xmotion.y, event.xmotion.state));
        }
        break;
    case ButtonRelease:
        if (event.xbutton.button == Button1 && captured != nullptr) {
            Widget* released = captured;
            captured = nullptr;
            released->mouseUp(pointerOf(event.xbutton.x, event.xbutton.y, event.xbutton.state));
        }
        break;
    case DestroyNotify:
        windowGone = true;
        break;
    default:
        break;
    }
}

void Frame::redraw() {
    Rect changed = damage;
    damage = {};
    for (const auto& widget : widgets) {
        if (widget->needsRedraw()) {
            compose(widget->rect());
            changed = changed.unite(widget->rect());
        }
    }
    if (!changed.empty()) {
        present(changed);
    }
}

void Frame::compose(const Rect& area) {
    cairo_t* cairo = cairo_create(backBuffer);
    cairo_rectangle(cairo, area.left, area.top, area.width(), area.height());
    cairo_clip(cairo);
    cairo_set_source_surface(cairo, background->surface(), 0, 0);
    cairo_paint(cairo);
    for (const auto& widget : widgets) {
        const Rect& box = widget->rect();
        if (box.left < area.right && area.left < box.right && box.top < area.bottom &&
            area.top < box.bottom) {
            widget->draw(cairo);
            widget->markDrawn();
        }
    }
    cairo_destroy(cairo);
}

// The back buffer's pixels are 32-bit words 0xXXRRGGBB. A window of depth 24 with those masks
// takes them as they are; any other visual gets each pixel built from its masks, opaque.
void Frame::present(const Rect& area) {
    cairo_surface_flush(backBuffer);
    auto* pixels = reinterpret_cast<char*>(cairo_image_surface_get_data(backBuffer));
    const int stride = cairo_image_surface_get_stride(backBuffer);
    auto* window = static_cast<Visual*>(visual);
    if (depth == 24 && window->red_mask == 0xff0000 && window->green_mask == 0xff00 &&
        window->blue_mask == 0xff) {
        XImage image{};
        image.width = background->width();
        image.height = background->height();
        image.format = ZPixmap;
        image.data = pixels;
        image.byte_order = LSBFirst;
        image.bitmap_unit = 32;
        image.bitmap_bit_order = LSBFirst;
        image.bitmap_pad = 32;
        image.depth = depth;
        image.bytes_per_line = stride;
        image.bits_per_pixel = 32;
        image.red_mask = window->red_mask;
        image.green_mask = window->green_mask;
        image.blue_mask = window->blue_mask;
        XInitImage(&image);
        XPutImage(display, handle, graphics, &image, area.left, area.top, area.left, area.top,
                  static_cast<unsigned>(area.width()), static_cast<unsigned>(area.height()));
    } else {
        presentConverted(area, pixels, stride);
    }
    XFlush(display);
}

void Frame::presentConverted(const Rect& area, const char* pixels, int stride) {
    auto* window = static_cast<Visual*>(visual);
    XImage* image = XCreateImage(display, window, static_cast<unsigned>(depth), ZPixmap, 0,
                                 nullptr, static_cast<unsigned>(area.width()),
                                 static_cast<unsigned>(area.height()), 32, 0);
    if (image == nullptr) {
        return;
    }
    image->data = static_cast<char*>(std::malloc(static_cast<size_t>(image->bytes_per_line) *
                                                 static_cast<size_t>(area.height())));
    const auto scale = [](std::uint32_t value, unsigned long mask) {
        const int shift = std::countr_zero(mask);
        return ((static_cast<unsigned long>(value) * (mask >> shift) + 127) / 255) << shift;
    };
    const unsigned long colours = window->red_mask | window->green_mask | window->blue_mask;
    const unsigned long opaque = (depth >= 32 ? ~0ul : (1ul << depth) - 1) & ~colours;
    for (int y = 0; y < area.height(); ++y) {
        const auto* row = reinterpret_cast<const std::uint32_t*>(
            pixels + static_cast<ptrdiff_t>(area.top + y) * stride);
        for (int x = 0; x < area.width(); ++x) {
            const std::uint32_t pixel = row[area.left + x];
            XPutPixel(image, x, y,
                      opaque | scale((pixel >> 16) & 0xff, window->red_mask) |
                          scale((pixel >> 8) & 0xff, window->green_mask) |
                          scale(pixel & 0xff, window->blue_mask));
        }
    }
    XPutImage(display, handle, graphics, image, 0, 0, area.left, area.top,
              static_cast<unsigned>(area.width()), static_cast<unsigned>(area.height()));
    XDestroyImage(image);
}

Widget* Frame::widgetAt(int x, int y) const {
    for (auto widget = widgets.rbegin(); widget != widgets.rend(); ++widget) {
        if ((*widget)->rect().contains(x, y)) {
            return widget->get();
        }
    }
    return nullptr;
}

} // namespace torvane::widgets
