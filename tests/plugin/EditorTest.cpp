// The plug-in's window as a host drives it: Torvane.so loaded by our offline host, the panel
// opened in a window of the host's, synthetic pointer input, and the edits the host hears.

#include "support/LoadedPlugin.h"
#include "support/Tool.h"
#include "support/VirtualDisplay.h"
#include "tools/host/HostWindow.h"
#include "tools/host/PluginHost.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

namespace nodara::testing {
namespace {

using torvane::host::ParameterEdit;

std::string pluginPath() { return buildDirectory() + "/Torvane.so"; }

/// Sockets the process holds: every display connection is one.
int openSockets() {
    int sockets = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const auto target = std::filesystem::read_symlink(entry.path(), error).string();
        sockets += target.rfind("socket:", 0) == 0 ? 1 : 0;
    }
    return sockets;
}

/// The plug-in with its panel open in a host window; edits are recorded.
struct OpenPanel {
    OpenPanel() {
        plugin.onEdit([this](const ParameterEdit& edit) { edits.push_back(edit); });
        EXPECT_TRUE(plugin.openEditor(window.id()));
        window.waitUntilShown(2.0);
        settle();
    }
    /// Idle calls for a while: the panel has drawn what it had to, and the server has it.
    void settle() {
        for (int i = 0; i < 5; ++i) {
            plugin.idleEditor();
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    Window panel() const {
        const auto children = childWindows(window.display(), window.id());
        return children.empty() ? 0 : children.front();
    }
    /// What the panel shows in a rectangle, as the server's image bytes.
    std::string pixels(int x, int y, int width, int height) const {
        XImage* image = XGetImage(window.display(), panel(), x, y, static_cast<unsigned>(width),
                                  static_cast<unsigned>(height), AllPlanes, ZPixmap);
        std::string bytes(image->data, static_cast<size_t>(image->bytes_per_line * height));
        XDestroyImage(image);
        return bytes;
    }

    torvane::host::PluginHost plugin{pluginPath()};
    torvane::host::HostWindow window{1000, 400, "Torvane test"};
    std::vector<ParameterEdit> edits;
};

TEST(PluginEditor, AScanSeesTheEditorAndItsRectangleAndOpensNoDisplay) {
    const int sockets = openSockets();
    LoadedPlugin plugin;
    Effect effect(plugin);
    EXPECT_NE(effect.effect->flags & vst2::effFlagsHasEditor, 0);
    vst2::ERect* rect = nullptr;
    EXPECT_EQ(effect.call(vst2::effEditGetRect, 0, 0, &rect), 1);
    ASSERT_NE(rect, nullptr);
    EXPECT_EQ(std::tuple(rect->top, rect->left, rect->bottom, rect->right), std::tuple(0, 0, 400, 1000));
    effect.call(vst2::effOpen);
    effect.call(vst2::effEditIdle);
    effect.call(vst2::effEditClose);
    EXPECT_EQ(openSockets(), sockets) << "only effEditOpen may connect to a display";
}

TEST(PluginEditor, TheHostHearsEveryKnobAndSwitchAsOneGesture) {
    struct Case {
        int index;
        int x, y;
        int drag; // pixels down; 0 is a click
        float expected;
    } cases[] = {
        {6, 218, 305, -40, 0.7f}, {0, 314, 305, -40, 0.7f}, {1, 402, 305, 40, 0.8f},
        {2, 498, 305, 40, 0.3f},  {3, 726, 284, 0, 0.0f},   {3, 760, 284, 0, 1.0f},
        {3, 743, 284, 0, 0.5f},   {4, 731, 308, 0, 0.0f},   {5, 681, 340, 0, 1.0f},
        {7, 788, 340, 0, 1.0f},
    };
    OpenPanel open;
    SyntheticPointer pointer(open.window.display(), open.panel());
    for (const auto& c : cases) {
        open.edits.clear();
        if (c.drag != 0) {
            pointer.drag(c.x, c.y, c.drag);
        } else {
            pointer.click(c.x, c.y);
        }
        open.plugin.idleEditor();
        EXPECT_NEAR(open.plugin.parameter(c.index), c.expected, 1e-5) << "parameter " << c.index;
        ASSERT_GE(open.edits.size(), 3u) << "parameter " << c.index;
        EXPECT_EQ(open.edits.front(), (ParameterEdit{ParameterEdit::Kind::begin, c.index, 0.0f}));
        EXPECT_EQ(open.edits.back(), (ParameterEdit{ParameterEdit::Kind::end, c.index, 0.0f}));
        const auto& last = open.edits[open.edits.size() - 2];
        EXPECT_EQ(last.kind, ParameterEdit::Kind::automate);
        EXPECT_EQ(last.index, c.index);
        EXPECT_NEAR(last.value, c.expected, 1e-5);
    }
}

TEST(PluginEditor, AHostValueMovesTheKnobWithoutAnEditComingBack) {
    OpenPanel open;
    const auto before = open.pixels(281, 272, 66, 66);
    open.plugin.setParameter(0, 1.0f);
    open.settle();
    EXPECT_NE(open.pixels(281, 272, 66, 66), before);
    EXPECT_TRUE(open.edits.empty());
}

TEST(PluginEditor, OpensAndClosesAHundredTimesWhileAudioRunsAndLeavesNothing) {
    torvane::host::PluginHost plugin(pluginPath());
    torvane::host::HostWindow window(1000, 400, "Torvane test");
    plugin.prepare(48000.0, 256, torvane::host::ChannelLayout::stereo);
    plugin.resume();
    std::atomic<bool> stop{false};
    std::thread audio([&] {
        std::vector<float> left(256, 0.1f), right(256, 0.1f), outLeft(256), outRight(256);
        float* inputs[] = {left.data(), right.data()};
        float* outputs[] = {outLeft.data(), outRight.data()};
        for (int block = 0; !stop; ++block) {
            plugin.setParameter(block % 8 == 3 ? 0 : block % 8, static_cast<float>(block % 10) / 10);
            plugin.process(inputs, outputs, 256);
            // A block is 5.3 ms of audio: a real-time host leaves the rest of it idle.
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });
    ASSERT_TRUE(plugin.openEditor(window.id()));
    plugin.closeEditor();
    const int sockets = openSockets();
    const size_t heap = mallinfo2().uordblks;
    for (int round = 0; round < 100; ++round) {
        ASSERT_TRUE(plugin.openEditor(window.id())) << "round " << round;
        plugin.idleEditor();
        plugin.idleEditor();
        EXPECT_EQ(childWindows(window.display(), window.id()).size(), 1u);
        plugin.closeEditor();
        EXPECT_TRUE(childWindows(window.display(), window.id()).empty()) << "round " << round;
    }
    stop = true;
    audio.join();
    EXPECT_EQ(openSockets(), sockets);
    EXPECT_LT(mallinfo2().uordblks, heap + 256 * 1024) << "heap grew by "
                                                       << mallinfo2().uordblks - heap;
}

TEST(PluginEditor, AParentThatIsNoWindowIsRefusedAndAVanishedOneSurvived) {
    torvane::host::PluginHost plugin(pluginPath());
    torvane::host::HostWindow window(1000, 400, "Torvane test");
    Display* display = window.display();
    const Window gone = XCreateSimpleWindow(display, window.id(), 0, 0, 10, 10, 0, 0, 0);
    XDestroyWindow(display, gone);
    XSync(display, False);
    EXPECT_FALSE(plugin.openEditor(gone));
    // The host destroys the parent under an open panel; the panel must not take it down.
    const Window parent = XCreateSimpleWindow(display, window.id(), 0, 0, 1000, 400, 0, 0, 0);
    XMapWindow(display, parent);
    XSync(display, False);
    ASSERT_TRUE(plugin.openEditor(parent));
    XDestroyWindow(display, parent);
    XSync(display, False);
    plugin.idleEditor();
    plugin.closeEditor();
    EXPECT_TRUE(plugin.openEditor(window.id()));
}

TEST(PluginEditor, ALostDisplayEndsThePanelNotTheHost) {
    XvfbServer server;
    ASSERT_FALSE(server.display().empty());
    const std::string ours = std::getenv("DISPLAY");
    setenv("DISPLAY", server.display().c_str(), 1);
    torvane::host::PluginHost plugin(pluginPath());
    {
        torvane::host::HostWindow window(1000, 400, "Torvane test");
        ASSERT_TRUE(plugin.openEditor(window.id()));
        plugin.idleEditor();
    }
    server.stop();
    plugin.idleEditor();
    plugin.closeEditor();
    EXPECT_FALSE(plugin.openEditor(0)) << "no display to open on";
    setenv("DISPLAY", ours.c_str(), 1);
}

} // namespace
} // namespace nodara::testing
