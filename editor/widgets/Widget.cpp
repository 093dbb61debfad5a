#include "editor/widgets/Widget.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace torvane::widgets {

Widget::Widget(Rect rect, WidgetListener* listener, int tag, std::shared_ptr<Bitmap> bitmap,
               double frameHeight)
    : area(rect), listener(listener), widgetTag(tag), strip(std::move(bitmap)),
      frameHeight(frameHeight > 0.0 ? frameHeight : rect.height()) {}

int Widget::frameCount() const {
    if (!strip || frameHeight <= 0.0) {
        return 1;
    }
    return std::max(1, static_cast<int>(strip->height() / frameHeight));
}

int Widget::frameIndex() const {
    return static_cast<int>(std::lround(current * static_cast<float>(frameCount() - 1)));
}

void Widget::setValue(float value) {
    value = std::clamp(value, 0.0f, 1.0f);
    if (value != current) {
        current = value;
        dirty = true;
    }
}

void Widget::draw(cairo_t* cairo) const {
    if (!strip) {
        return;
    }
    cairo_save(cairo);
    cairo_rectangle(cairo, area.left, area.top, area.width(), frameHeight);
    cairo_clip(cairo);
    cairo_set_source_surface(cairo, strip->surface(), area.left,
                             area.top - frameIndex() * frameHeight);
    cairo_paint(cairo);
    cairo_restore(cairo);
}

void Widget::changeByUser(float value) {
    const float before = current;
    setValue(value);
    if (current != before && listener != nullptr) {
        listener->valueChanged(*this);
    }
}

void Widget::beginEdit() {
    if (listener != nullptr) {
        listener->beginEdit(*this);
    }
}

void Widget::endEdit() {
    if (listener != nullptr) {
        listener->endEdit(*this);
    }
}

} // namespace torvane::widgets
