#pragma once

#include "editor/widgets/Bitmap.h"
#include "editor/widgets/Rect.h"
#include "editor/widgets/Widget.h"

#include <memory>
#include <stdexcept>
#include <vector>

typedef struct _XDisplay Display;
union _XEvent;
struct _XGC;
typedef struct _cairo_surface cairo_surface_t;

namespace torvane::widgets {

/// The window system failed us: no display, or a parent that is no window.
class WindowError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A panel in a child window of someone else's window: a background picture with widgets on
/// it. The frame opens a display connection of its own and makes one child window of the
/// background's size at (0, 0) of the parent; it never makes a top-level window.
///
/// There is no thread: the owner calls `idle` often (15 to 60 times a second), which handles
/// the events that wait and redraws what changed, without blocking. X protocol errors on the
/// frame's connection are counted, never fatal. Everything runs on the thread that made the
/// frame; destruction takes the window off the server before it returns.
class Frame {
public:
    /// `parent` is an X window id of the display that DISPLAY names.
    Frame(unsigned long parent, std::shared_ptr<Bitmap> background);
    ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    /// Adds a widget on top of those before; the frame owns it.
    Widget& add(std::unique_ptr<Widget> widget);
    void idle();

    unsigned long window() const { return handle; }
    /// X protocol errors seen on the connection: 0 in normal use.
    int protocolErrors() const { return errors; }

private:
    void createWindow(unsigned long parent);
    void closeDisplay();
    void handleEvent(const _XEvent& event);
    void redraw();
    /// Background and widgets within `area` into the back buffer, then onto the window.
    void compose(const Rect& area);
    void present(const Rect& area);
    void presentConverted(const Rect& area, const char* pixels, int stride);
    Widget* widgetAt(int x, int y) const;

    Display* display = nullptr;
    unsigned long handle = 0;
    std::shared_ptr<Bitmap> background;
    /// The panel as drawn, so that an exposure costs a copy.
    cairo_surface_t* backBuffer = nullptr;
    /// How pixels go to the window: its visual (an Xlib Visual), depth and graphics context.
    void* visual = nullptr;
    int depth = 0;
    _XGC* graphics = nullptr;
    std::vector<std::unique_ptr<Widget>> widgets;
    /// The widget a pressed button went down on; it gets the moves until the release.
    Widget* captured = nullptr;
    /// Exposed parts not yet drawn.
    Rect damage;
    /// The host destroyed the parent (and with it our window), or the connection broke.
    bool windowGone = false;
    bool connectionLost = false;
    int errors = 0;
};

} // namespace torvane::widgets
