// The widgets' gestures, without a display: what a drag or a click does to the value, and what
// the listener hears.

#include "editor/widgets/Knob.h"
#include "editor/widgets/Switch.h"

#include <gtest/gtest.h>

#include <cairo.h>

#include <string>
#include <vector>

namespace {

using namespace torvane::widgets;

/// What a listener heard, as "begin", "change 0.25", "end".
struct Heard : WidgetListener {
    std::vector<std::string> calls;
    void valueChanged(Widget& widget) override {
        char text[32];
        std::snprintf(text, sizeof text, "change %.3f", widget.value());
        calls.emplace_back(text);
    }
    void beginEdit(Widget&) override { calls.emplace_back("begin"); }
    void endEdit(Widget&) override { calls.emplace_back("end"); }
};

/// A strip of `frames` frames of `width` × `height`, blank: only its size matters here.
std::shared_ptr<Bitmap> strip(int width, int height, int frames) {
    cairo_surface_t* surface =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height * frames);
    std::vector<unsigned char> png;
    cairo_surface_write_to_png_stream(
        surface,
        [](void* closure, const unsigned char* data, unsigned int length) {
            auto& bytes = *static_cast<std::vector<unsigned char>*>(closure);
            bytes.insert(bytes.end(), data, data + length);
            return CAIRO_STATUS_SUCCESS;
        },
        &png);
    cairo_surface_destroy(surface);
    return Bitmap::fromPng(png);
}

TEST(Widgets, AKnobFollowsAVerticalDragUpIsMore) {
    struct Case {
        float start;
        int dy;
        bool fine;
        float expected;
    } cases[] = {
        {0.5f, -40, false, 0.7f},  // 200 pixels make a full sweep
        {0.5f, -40, true, 0.52f},  // fine: ten times as many pixels
        {0.9f, -100, false, 1.0f}, // held at the ends
        {0.1f, 100, false, 0.0f},
    };
    for (const auto& c : cases) {
        Heard heard;
        Knob knob({10, 10, 76, 76}, &heard, 0, strip(66, 66, 101));
        knob.setValue(c.start);
        knob.mouseDown({40, 40, c.fine});
        knob.mouseMoved({40, 40 + c.dy / 2, c.fine});
        knob.mouseUp({40, 40 + c.dy, c.fine});
        EXPECT_NEAR(knob.value(), c.expected, 1e-5) << c.start << " dragged " << c.dy;
        EXPECT_EQ(heard.calls.front(), "begin");
        EXPECT_EQ(heard.calls.back(), "end");
        EXPECT_GE(heard.calls.size(), 3u) << "at least one change in between";
    }
}

TEST(Widgets, TheWheelTurnsAKnobByHundredthsAsOneGestureEach) {
    Heard heard;
    Knob knob({0, 0, 66, 66}, &heard, 0, strip(66, 66, 101));
    knob.setValue(0.5f);
    knob.wheel({30, 30, false}, 2);
    knob.wheel({30, 30, true}, -1);
    EXPECT_NEAR(knob.value(), 0.519f, 1e-6);
    EXPECT_EQ(heard.calls, (std::vector<std::string>{"begin", "change 0.520", "end", "begin",
                                                     "change 0.519", "end"}));
}

TEST(Widgets, AKnobShowsTheFrameOfItsValue) {
    Knob knob({0, 0, 66, 66}, nullptr, 0, strip(66, 66, 101));
    EXPECT_EQ(knob.frameCount(), 101);
    for (const auto& [value, frame] : {std::pair{0.0f, 0}, {0.5f, 50}, {0.333f, 33}, {1.0f, 100}}) {
        knob.setValue(value);
        EXPECT_EQ(knob.frameIndex(), frame) << value;
    }
}

TEST(Widgets, AClickSetsASwitchToThePositionUnderThePointer) {
    struct Case {
        Switch::Axis axis;
        Rect rect;
        int frameHeight, frames, x, y;
        float expected;
    } cases[] = {
        {Switch::Axis::horizontal, {723, 274, 763, 294}, 20, 3, 762, 284, 1.0f},
        {Switch::Axis::vertical, {671, 304, 691, 344}, 40, 2, 681, 323, 0.0f},
        {Switch::Axis::vertical, {671, 304, 691, 344}, 40, 2, 681, 325, 1.0f},
    };
    for (const auto& c : cases) {
        Heard heard;
        Switch widget(c.axis, c.rect, &heard, 3, strip(c.rect.width(), c.frameHeight, c.frames),
                      c.frameHeight);
        widget.setValue(0.3f);
        widget.mouseDown({c.x, c.y, false});
        EXPECT_EQ(widget.value(), c.expected) << c.x << ", " << c.y;
        EXPECT_EQ(heard.calls.size(), 3u) << "begin, change, end";
    }
}

} // namespace
