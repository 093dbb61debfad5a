// The panel's costs as a host sees them: opening it in a window, and an idle call. They need
// an X display (DISPLAY); without one they are skipped.

#include "tools/host/HostWindow.h"
#include "tools/host/PluginHost.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>

namespace {

using torvane::host::HostWindow;
using torvane::host::PluginHost;

/// The plug-in and a host window for it, or a reason to skip.
struct Workbench {
    std::unique_ptr<PluginHost> plugin;
    std::unique_ptr<HostWindow> window;

    explicit Workbench(benchmark::State& state) {
        const char* display = std::getenv("DISPLAY");
        if (display == nullptr || *display == '\0') {
            state.SkipWithError("no X display: run under Xvfb (DISPLAY)");
            return;
        }
        plugin = std::make_unique<PluginHost>(TORVANE_PLUGIN_PATH);
        window = std::make_unique<HostWindow>(1000, 400, "Torvane bench");
        window->waitUntilShown(2.0);
    }
    bool ready() const { return plugin != nullptr; }
};

/// effEditOpen: display connection, pictures decoded, widgets built, window mapped.
void EditorOpen(benchmark::State& state) {
    Workbench bench(state);
    if (!bench.ready()) {
        return;
    }
    for (auto _ : state) {
        bench.plugin->openEditor(bench.window->id());
        state.PauseTiming();
        bench.plugin->closeEditor();
        state.ResumeTiming();
    }
}
BENCHMARK(EditorOpen)->Unit(benchmark::kMillisecond);

/// effEditClose: the window off the server, everything freed.
void EditorClose(benchmark::State& state) {
    Workbench bench(state);
    if (!bench.ready()) {
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        bench.plugin->openEditor(bench.window->id());
        state.ResumeTiming();
        bench.plugin->closeEditor();
    }
}
BENCHMARK(EditorClose)->Unit(benchmark::kMillisecond);

/// effEditIdle with nothing changed: events looked for, nothing drawn.
void EditorIdle(benchmark::State& state) {
    Workbench bench(state);
    if (!bench.ready()) {
        return;
    }
    bench.plugin->openEditor(bench.window->id());
    for (int i = 0; i < 10; ++i) {
        bench.plugin->idleEditor();
    }
    for (auto _ : state) {
        bench.plugin->idleEditor();
    }
    bench.plugin->closeEditor();
}
BENCHMARK(EditorIdle)->Unit(benchmark::kMicrosecond);

/// effEditIdle after the host moved a knob: one knob redrawn.
void EditorIdleWithAHostValue(benchmark::State& state) {
    Workbench bench(state);
    if (!bench.ready()) {
        return;
    }
    bench.plugin->openEditor(bench.window->id());
    float value = 0.0f;
    for (auto _ : state) {
        value = value > 0.99f ? 0.0f : value + 0.01f;
        bench.plugin->setParameter(0, value);
        bench.plugin->idleEditor();
    }
    bench.plugin->closeEditor();
}
BENCHMARK(EditorIdleWithAHostValue)->Unit(benchmark::kMicrosecond);

} // namespace
