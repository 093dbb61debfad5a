// The whole amplifier per host sample, and the plug-in through its C interface.
#include "amp/Amplifier.h"
#include "plugin/Vst2Abi.h"
#include "tools/demo/GuitarRiff.h"

#include <benchmark/benchmark.h>

#include <dlfcn.h>

#include <cmath>
#include <map>
#include <string>

namespace {

using nodara::scalar;
constexpr float rate = 48000.0f;

std::vector<scalar> guitarBlock(size_t frames) {
    std::vector<scalar> values(frames);
    for (size_t i = 0; i < frames; ++i) {
        values[i] = 0.3f * std::sin(0.0257f * static_cast<float>(i)) +
                    0.1f * std::sin(0.0771f * static_cast<float>(i));
    }
    return values;
}

/// The demo riff at the benchmark rate, made once: quiet and loud passages, chords and
/// palm-muted notes, so that the branches of the lookups and networks see what they see live.
const std::vector<scalar>& riff() {
    static const std::vector<scalar> samples = torvane::demo::guitarRiff(rate);
    return samples;
}

/// CPU time per host sample.
void reportPerSample(benchmark::State& state, int64_t block) {
    state.counters["ns_per_sample"] = benchmark::Counter(
        static_cast<double>(state.iterations() * block) * 1e-9,
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

/// The amplifier at 48 kHz with some knobs moved, playing the riff on in consecutive blocks
/// (and over again); mono, as a mono bus runs it.
void runAmplifier(benchmark::State& state, const std::map<std::string, float>& knobs) {
    const auto block = static_cast<int>(state.range(0));
    auto driver = torvane::makeAmplifier();
    driver->setSampleRate(rate);
    driver->setMaxBlockSize(block);
    for (const auto& control : *driver->getControls()) {
        if (auto found = knobs.find(control->getName()); found != knobs.end()) {
            control->setValue(found->second);
        }
    }
    auto* samples = const_cast<scalar*>(riff().data());
    const size_t length = riff().size();
    size_t at = 0;
    std::vector<scalar*> inputs = {samples, samples};
    const auto play = [&] {
        if (at + static_cast<size_t>(block) > length) {
            at = 0;
        }
        inputs[0] = inputs[1] = samples + at;
        driver->process(inputs, block);
        at += static_cast<size_t>(block);
    };
    // Past the start-up thump, so that the filters hold a playing state.
    for (int warm = 0; warm < 48000 / block; ++warm) {
        play();
    }
    for (auto _ : state) {
        play();
        benchmark::DoNotOptimize((*driver->getOutputs())[0]);
    }
    state.SetItemsProcessed(state.iterations() * block);
    reportPerSample(state, block);
}

// The three configurations whose speed we promise: the default (4x oversampling, the low-CPU
// stages, the cabinet), CPU at 1 (the full-quality stages) and the cabinet off.
void AmplifierDefault(benchmark::State& state) { runAmplifier(state, {}); }
void AmplifierFullQuality(benchmark::State& state) { runAmplifier(state, {{"CPU", 1.0f}}); }
void AmplifierCabinetOff(benchmark::State& state) { runAmplifier(state, {{"Cabinet", 0.0f}}); }
void AmplifierStereo(benchmark::State& state) { runAmplifier(state, {{"Stereo", 1.0f}}); }
void AmplifierOversampling8(benchmark::State& state) { runAmplifier(state, {{"Oversampling", 1.0f}}); }
BENCHMARK(AmplifierDefault)->Arg(64)->Arg(256)->Arg(1024)->Unit(benchmark::kMicrosecond);
BENCHMARK(AmplifierFullQuality)->Arg(64)->Arg(256)->Arg(1024)->Unit(benchmark::kMicrosecond);
BENCHMARK(AmplifierCabinetOff)->Arg(64)->Arg(256)->Arg(1024)->Unit(benchmark::kMicrosecond);
BENCHMARK(AmplifierStereo)->Arg(256)->Unit(benchmark::kMicrosecond);
BENCHMARK(AmplifierOversampling8)->Arg(256)->Unit(benchmark::kMicrosecond);

vst2::VstIntPtr benchHost(vst2::AEffect*, vst2::VstInt32 opcode, vst2::VstInt32, vst2::VstIntPtr, void*,
                          float) {
    return opcode == vst2::audioMasterVersion ? 2400 : 0;
}

/// build/Torvane.so, loaded once for the plug-in benchmarks.
vst2::PluginEntry pluginEntry() {
    static void* module = dlopen(TORVANE_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    return module ? reinterpret_cast<vst2::PluginEntry>(dlsym(module, "VSTPluginMain")) : nullptr;
}

/// Start-up: the entry point parses the document, designs the filters and builds the tables.
void PluginStartUp(benchmark::State& state) {
    const vst2::PluginEntry entry = pluginEntry();
    if (entry == nullptr) {
        state.SkipWithError("Torvane.so not found");
        return;
    }
    for (auto _ : state) {
        vst2::AEffect* effect = entry(benchHost);
        effect->dispatcher(effect, vst2::effClose, 0, 0, nullptr, 0.0f);
    }
}
BENCHMARK(PluginStartUp)->Unit(benchmark::kMillisecond);

/// An effect at 48 kHz, resumed, for blocks of `block` frames; null without Torvane.so.
vst2::AEffect* startedPlugin(benchmark::State& state, int block) {
    const vst2::PluginEntry entry = pluginEntry();
    if (entry == nullptr) {
        state.SkipWithError("Torvane.so not found");
        return nullptr;
    }
    vst2::AEffect* effect = entry(benchHost);
    effect->dispatcher(effect, vst2::effOpen, 0, 0, nullptr, 0.0f);
    effect->dispatcher(effect, vst2::effSetSampleRate, 0, 0, nullptr, rate);
    effect->dispatcher(effect, vst2::effSetBlockSize, 0, block, nullptr, 0.0f);
    effect->dispatcher(effect, vst2::effMainsChanged, 0, 1, nullptr, 0.0f);
    return effect;
}

void stopPlugin(vst2::AEffect* effect) {
    effect->dispatcher(effect, vst2::effMainsChanged, 0, 0, nullptr, 0.0f);
    effect->dispatcher(effect, vst2::effClose, 0, 0, nullptr, 0.0f);
}

/// One host block through processReplacing, default settings, at 48 kHz; "realtime" is how
/// many times faster than real time. A block of 1 frame shows the cost of each call.
void PluginBlock(benchmark::State& state) {
    const auto block = static_cast<int>(state.range(0));
    vst2::AEffect* effect = startedPlugin(state, block);
    if (effect == nullptr) {
        return;
    }
    auto input = guitarBlock(256);
    std::vector<float> left(256), right(256);
    float* inputs[] = {input.data(), input.data()};
    float* outputs[] = {left.data(), right.data()};
    effect->processReplacing(effect, inputs, outputs, block);
    for (auto _ : state) {
        effect->processReplacing(effect, inputs, outputs, block);
        benchmark::DoNotOptimize(left.data());
    }
    stopPlugin(effect);
    state.SetItemsProcessed(state.iterations() * block);
    state.counters["realtime"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * block / rate, benchmark::Counter::kIsRate);
}
BENCHMARK(PluginBlock)->Arg(1)->Arg(256)->Unit(benchmark::kMicrosecond);

/// A block of silence while the filters' tails die away after a loud one: with denormals
/// flushed it costs no more than a loud block (compare PluginBlock/256).
void PluginSilenceAfterLoudBlock(benchmark::State& state) {
    vst2::AEffect* effect = startedPlugin(state, 256);
    if (effect == nullptr) {
        return;
    }
    auto loud = guitarBlock(256);
    for (float& sample : loud) {
        sample *= 3.0f;
    }
    std::vector<float> silence(256), left(256), right(256);
    float* loudInputs[] = {loud.data(), loud.data()};
    float* silentInputs[] = {silence.data(), silence.data()};
    float* outputs[] = {left.data(), right.data()};
    for (auto _ : state) {
        state.PauseTiming();
        effect->processReplacing(effect, loudInputs, outputs, 256);
        state.ResumeTiming();
        effect->processReplacing(effect, silentInputs, outputs, 256);
        benchmark::DoNotOptimize(left.data());
    }
    stopPlugin(effect);
    state.SetItemsProcessed(state.iterations() * 256);
}
BENCHMARK(PluginSilenceAfterLoudBlock)->Unit(benchmark::kMicrosecond);

} // namespace
