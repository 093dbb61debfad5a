// The panel built from the amplifier's document, in a window of its own on a display.

#include "amp/Amplifier.h"
#include "amp/AmplifierDocument.h"
#include "editor/DonateButton.h"
#include "editor/TorvaneEditor.h"
#include "support/Tool.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace {

using namespace torvane;
using nodara::testing::SyntheticPointer;

/// An effect as the panel sees it: values from a table, the gestures counted.
struct RecordingHost : EditorHost {
    std::map<int, float> values;
    int edits = 0;
    float parameterValue(int index) override { return values[index]; }
    void beginEdit(int) override { ++edits; }
    void automate(int, float) override { ++edits; }
    void endEdit(int) override { ++edits; }
};

/// A top-level window to open the panel in, as a host gives one.
class ParentWindow {
public:
    ParentWindow() : display(XOpenDisplay(nullptr)) {
        window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1000, 400, 0, 0, 0);
        XMapWindow(display, window);
        XSync(display, False);
    }
    ~ParentWindow() {
        XDestroyWindow(display, window);
        XCloseDisplay(display);
    }
    Display* display;
    Window window;
};

TorvaneEditor::ControlList amplifierControls() {
    return makeProductDriver(amplifierDocument)->getControls();
}

// Where each widget sits is checked by the plug-in's panel test, which presses every one.
TEST(TorvaneEditor, BuildsOneWidgetPerControlInTheControlsOrder) {
    RecordingHost host;
    TorvaneEditor editor(host, amplifierControls());
    ParentWindow parent;
    editor.open(parent.window);
    const auto& widgets = editor.getWidgets();
    ASSERT_EQ(widgets.size(), 8u);
    for (size_t i = 0; i < widgets.size(); ++i) {
        EXPECT_EQ(widgets[i]->tag(), static_cast<int>(i));
    }
    EXPECT_EQ(widgets[0]->bitmap(), widgets[6]->bitmap()) << "the knobs share one picture";
}

TEST(TorvaneEditor, HostValuesMoveWidgetsAtIdleWithoutCallingBack) {
    RecordingHost host;
    host.values[2] = 0.25f;
    TorvaneEditor editor(host, amplifierControls());
    editor.setParameter(2, 0.9f); // closed: ignored, the effect's own value counts at open
    ParentWindow parent;
    editor.open(parent.window);
    EXPECT_FLOAT_EQ(editor.getWidgets()[2]->value(), 0.25f);
    editor.setParameter(2, 0.75f);
    editor.setParameter(8, 0.5f);
    editor.setParameter(-1, 0.5f);
    EXPECT_FLOAT_EQ(editor.getWidgets()[2]->value(), 0.25f) << "stored until the idle";
    editor.idle();
    EXPECT_FLOAT_EQ(editor.getWidgets()[2]->value(), 0.75f);
    EXPECT_EQ(host.edits, 0);
    EXPECT_EQ(editor.protocolErrors(), 0);
}

TEST(TorvaneEditor, TheDonateButtonOpensThePageOnEveryPress) {
    const auto folder = nodara::testing::scratch() / "browser";
    std::filesystem::create_directories(folder);
    const auto opened = folder / "opened.txt";
    {
        std::ofstream script(folder / "xdg-open");
        script << "#!/bin/sh\necho \"$@\" >> " << opened.string() << "\n";
    }
    std::filesystem::permissions(folder / "xdg-open", std::filesystem::perms::owner_all);
    setenv("PATH", (folder.string() + ":" + std::getenv("PATH")).c_str(), 1);

    RecordingHost host;
    TorvaneEditor editor(host, amplifierControls(), "https://www.torvane.audio/donate?test");
    ParentWindow parent;
    editor.open(parent.window);
    SyntheticPointer pointer(parent.display, editor.getWindow());
    pointer.click(500, 250);
    pointer.click(500, 250);
    editor.idle();
    std::string text;
    for (int wait = 0; wait < 500 && std::count(text.begin(), text.end(), '\n') < 2; ++wait) {
        usleep(10000);
        text = nodara::testing::readAll(opened);
    }
    EXPECT_EQ(text, "https://www.torvane.audio/donate?test\nhttps://www.torvane.audio/donate?test\n");
    EXPECT_EQ(host.edits, 0) << "the button is no parameter";
}

} // namespace
