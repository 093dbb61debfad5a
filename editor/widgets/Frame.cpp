#include "editor/widgets/Frame.h"

#include "editor/widgets/XErrorTrap.h"

#include <X11/Xutil.h>
#include <cairo-xlib.h>
#include <cairo.h>
#include <dlfcn.h>
#include <fcntl.h>

#include <algorithm>
#include <cstdio>

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
        if (windowSurface != nullptr) {
            cairo_surface_destroy(windowSurface);
        }
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
    backBuffer = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    windowSurface =
        cairo_xlib_surface_create(display, handle, parentAttributes.visual, width, height);
    XMapWindow(display, handle);
    XSync(display, False);
    if (errors > 0) {
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
        // cairo keeps data per display connection until its device is finished.
        cairo_device_t* device = cairo_device_reference(cairo_surface_get_device(windowSurface));
        cairo_surface_destroy(windowSurface);
        cairo_device_finish(device);
        cairo_device_destroy(device);
        cairo_surface_destroy(backBuffer);
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

void Frame::present(const Rect& area) {
    cairo_surface_flush(backBuffer);
    cairo_t* cairo = cairo_create(windowSurface);
    cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cairo, backBuffer, 0, 0);
    cairo_rectangle(cairo, area.left, area.top, area.width(), area.height());
    cairo_fill(cairo);
    cairo_destroy(cairo);
    cairo_surface_flush(windowSurface);
    XFlush(display);
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
