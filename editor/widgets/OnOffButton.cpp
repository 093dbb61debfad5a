#include "editor/widgets/OnOffButton.h"

namespace torvane::widgets {

void OnOffButton::mouseDown(const Pointer&) {
    beginEdit();
    changeByUser(value() < 0.5f ? 1.0f : 0.0f);
    endEdit();
}

} // namespace torvane::widgets
