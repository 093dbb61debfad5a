#pragma once

#include "editor/widgets/Widget.h"

namespace torvane::widgets {

/// A knob drawn from a strip of frames, turned by dragging vertically: up raises the value.
/// A full sweep takes `pixelsPerSweep` pixels, ten times as many with Shift or Control held.
/// A notch of the wheel away from the user turns it up by `wheelStep` (a tenth with the
/// modifier), as one gesture.
class Knob : public Widget {
public:
    static constexpr float pixelsPerSweep = 200.0f;
    static constexpr float fineFactor = 10.0f;
    static constexpr float wheelStep = 0.01f;

    using Widget::Widget;

    void mouseDown(const Pointer& pointer) override;
    void mouseMoved(const Pointer& pointer) override;
    void mouseUp(const Pointer& pointer) override;
    void wheel(const Pointer& pointer, int notches) override;

private:
    bool dragging = false;
    /// Where the last step of the drag left the pointer; each move adds to the value, so a
    /// change of the fine modifier mid-drag does not make the knob jump.
    int lastY = 0;
};

} // namespace torvane::widgets
