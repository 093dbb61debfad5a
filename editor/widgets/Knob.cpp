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

} // namespace torvane::widgets
