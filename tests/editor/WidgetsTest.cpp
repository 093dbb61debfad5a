// The widgets' gestures, without a display: what a drag or a click does to the value, and what
// the listener hears.

#include "editor/Resources.h"
#include "editor/widgets/Knob.h"
#include "editor/widgets/Switch.h"

#include <gtest/gtest.h>

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

/// One of the panel's pictures.
std::shared_ptr<Bitmap> art(const char* name) {
    return Bitmap::fromPng(*torvane::findResource(name));
}

const char* const knobStrip = "fender-chicken.png";

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
        Knob knob({10, 10, 76, 76}, &heard, 0, art(knobStrip));
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
    Knob knob({0, 0, 66, 66}, &heard, 0, art(knobStrip));
    knob.setValue(0.5f);
    knob.wheel({30, 30, false}, 2);
    knob.wheel({30, 30, true}, -1);
    EXPECT_NEAR(knob.value(), 0.519f, 1e-6);
    EXPECT_EQ(heard.calls, (std::vector<std::string>{"begin", "change 0.520", "end", "begin",
                                                     "change 0.519", "end"}));
}

TEST(Widgets, AKnobShowsTheFrameOfItsValue) {
    Knob knob({0, 0, 66, 66}, nullptr, 0, art(knobStrip));
    for (const auto& [value, frame] : {std::pair{0.0f, 0}, {0.5f, 50}, {0.333f, 33}, {1.0f, 100}}) {
        knob.setValue(value);
        EXPECT_EQ(knob.frameIndex(), frame) << value;
    }
}

TEST(Widgets, AClickSetsASwitchToThePositionUnderThePointer) {
    using Axis = Switch::Axis;
    struct Case {
        Axis axis;
        const char* picture;
        Rect rect;
        int frameHeight, x, y;
        float expected;
    } cases[] = {
        {Axis::horizontal, "HorizontalSwitch-3P.png", {723, 274, 763, 294}, 20, 762, 284, 1},
        {Axis::vertical, "VerticalSwitch.png", {671, 304, 691, 344}, 40, 681, 323, 0},
        {Axis::vertical, "VerticalSwitch.png", {671, 304, 691, 344}, 40, 681, 325, 1},
    };
    for (const auto& c : cases) {
        Heard heard;
        Switch widget(c.axis, c.rect, &heard, 3, art(c.picture), c.frameHeight);
        widget.setValue(0.3f);
        widget.mouseDown({c.x, c.y, false});
        EXPECT_EQ(widget.value(), c.expected) << c.x << ", " << c.y;
        EXPECT_EQ(heard.calls.size(), 3u) << "begin, change, end";
    }
}

} // namespace
