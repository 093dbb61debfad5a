#pragma once

#include "editor/widgets/Bitmap.h"
#include "editor/widgets/Rect.h"

#include <memory>

typedef struct _cairo cairo_t;

namespace torvane::widgets {

class Widget;

/// Told of what the user does to a widget. The window's thread calls it.
class WidgetListener {
public:
    virtual ~WidgetListener() = default;
    /// The user changed the widget's value.
    virtual void valueChanged(Widget& widget) = 0;
    /// A gesture starts and ends around one or more changes (a drag, a click).
    virtual void beginEdit(Widget&) {}
    virtual void endEdit(Widget&) {}
};

/// Where the pointer is, in panel pixels, and whether the user asks for fine steps (Shift or
/// Control held).
struct Pointer {
    int x = 0;
    int y = 0;
    bool fine = false;
};

/// A control on the panel with a value from 0 to 1 that shows one frame of a vertical strip:
/// frame i of n for the value i / (n - 1). Widgets live on the window's thread.
class Widget {
public:
    /// `frameHeight` 0 means the rectangle's height.
    Widget(Rect rect, WidgetListener* listener, int tag, std::shared_ptr<Bitmap> bitmap,
           double frameHeight = 0.0);
    virtual ~Widget() = default;
    Widget(const Widget&) = delete;
    Widget& operator=(const Widget&) = delete;

    const Rect& rect() const { return area; }
    int tag() const { return widgetTag; }
    float value() const { return current; }
    const std::shared_ptr<Bitmap>& bitmap() const { return strip; }
    /// Frames in the strip; 1 without a bitmap.
    int frameCount() const;
    /// The frame that shows the present value.
    int frameIndex() const;

    /// A value from outside (the host): clamped to 0..1 and drawn at the next redraw; the
    /// listener is not told.
    void setValue(float value);
    bool needsRedraw() const { return dirty; }
    void markDrawn() { dirty = false; }

    /// Draws the widget in panel coordinates.
    virtual void draw(cairo_t* cairo) const;
    virtual void mouseDown(const Pointer&) {}
    virtual void mouseMoved(const Pointer&) {}
    virtual void mouseUp(const Pointer&) {}
    /// The wheel turned `notches` away from the user (negative: towards).
    virtual void wheel(const Pointer&, int) {}

protected:
    /// A change by the user: stored, drawn, and told to the listener.
    void changeByUser(float value);
    void beginEdit();
    void endEdit();

private:
    Rect area;
    WidgetListener* listener;
    int widgetTag;
    std::shared_ptr<Bitmap> strip;
    double frameHeight;
    float current = 0.0f;
    bool dirty = true;
};

} // namespace torvane::widgets
