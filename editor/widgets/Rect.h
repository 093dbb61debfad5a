#pragma once

namespace torvane::widgets {

/// A rectangle in pixels on the panel: left and top inside, right and bottom just outside.
struct Rect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool contains(int x, int y) const { return x >= left && x < right && y >= top && y < bottom; }
    bool empty() const { return right <= left || bottom <= top; }
    /// The smallest rectangle that holds both; an empty one adds nothing.
    Rect unite(const Rect& other) const {
        if (empty()) {
            return other;
        }
        if (other.empty()) {
            return *this;
        }
        return {left < other.left ? left : other.left, top < other.top ? top : other.top,
                right > other.right ? right : other.right,
                bottom > other.bottom ? bottom : other.bottom};
    }
    bool operator==(const Rect&) const = default;
};

} // namespace torvane::widgets
