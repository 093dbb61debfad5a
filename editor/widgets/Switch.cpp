#include "editor/widgets/Switch.h"

#include <algorithm>

namespace torvane::widgets {

Switch::Switch(Axis axis, Rect rect, WidgetListener* listener, int tag,
               std::shared_ptr<Bitmap> bitmap, double frameHeight)
    : Widget(rect, listener, tag, std::move(bitmap), frameHeight), axis(axis) {}

int Switch::positionAt(int x, int y) const {
    const bool across = axis == Axis::horizontal;
    const int offset = across ? x - rect().left : y - rect().top;
    const int length = std::max(1, across ? rect().width() : rect().height());
    return std::clamp(offset * frameCount() / length, 0, frameCount() - 1);
}

void Switch::mouseDown(const Pointer& pointer) {
    const int positions = frameCount();
    const int position = positionAt(pointer.x, pointer.y);
    beginEdit();
    changeByUser(positions > 1 ? static_cast<float>(position) / static_cast<float>(positions - 1)
                               : 0.0f);
    endEdit();
}

} // namespace torvane::widgets
