#include "editor/widgets/Knob.h"

namespace torvane::widgets {

void Knob::mouseDown(const Pointer& pointer) {
    dragging = true;
    lastY = pointer.y;
    beginEdit();
}

void Knob::mouseMoved(const Pointer& pointer) {
    if (!dragging || pointer.y == lastY) {
        return;
    }
    const float pixels = pixelsPerSweep * (pointer.fine ? fineFactor : 1.0f);
    const float step = static_cast<float>(lastY - pointer.y) / pixels;
    lastY = pointer.y;
    changeByUser(value() + step);
}

void Knob::mouseUp(const Pointer& pointer) {
    if (!dragging) {
        return;
    }
    mouseMoved(pointer);
    dragging = false;
    endEdit();
}

void Knob::wheel(const Pointer& pointer, int notches) {
    if (dragging) {
        return;
    }
    beginEdit();
    changeByUser(value() + static_cast<float>(notches) * wheelStep /
                               (pointer.fine ? fineFactor : 1.0f));
    endEdit();
}

} // namespace torvane::widgets
