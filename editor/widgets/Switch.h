#pragma once

#include "editor/widgets/Widget.h"

namespace torvane::widgets {

/// A switch of n positions that a click sets to the position under the pointer: the n equal
/// parts across a horizontal switch, left to right, or down a vertical one, top to bottom.
/// Position i is the value i / (n - 1) and shows frame i.
class Switch : public Widget {
public:
    enum class Axis { horizontal, vertical };

    /// The positions are the frames of the strip.
    Switch(Axis axis, Rect rect, WidgetListener* listener, int tag, std::shared_ptr<Bitmap> bitmap,
           double frameHeight = 0.0);

    void mouseDown(const Pointer& pointer) override;

    /// The position under a point of the switch, from 0.
    int positionAt(int x, int y) const;

private:
    Axis axis;
};

} // namespace torvane::widgets
