#pragma once

#include "editor/widgets/Widget.h"

namespace torvane::widgets {

/// A button of two states, off (value 0, the upper frame) and on (value 1, the lower one);
/// each press flips it.
class OnOffButton : public Widget {
public:
    using Widget::Widget;

    void mouseDown(const Pointer& pointer) override;
};

} // namespace torvane::widgets
