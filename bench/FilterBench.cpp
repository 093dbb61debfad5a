// Recursive and finite filters per sample, and the amplifier's recursive oversampling pair per
// input sample beside the designed polyphase pair.
#include "dsp/fir/Fir.h"
#include "dsp/recursive/BiQuad.h"
#include "dsp/resampling/IirDecimator.h"
#include "dsp/resampling/IirInterpolator.h"
#include "dsp/resampling/polyphase/ResamplingDecimator.h"
#include "dsp/resampling/polyphase/ResamplingUpsampler.h"
#include "dsp/recursive/Iir.h"
#include "filterdesign/Design.h"
#include "filterdesign/IirDesignContext.h"
#include "runtime/DSPContext.h"

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

using nodara::scalar;
constexpr size_t block = 256;

std::vector<scalar> testBlock(size_t frames) {
    std::vector<scalar> values(frames);
    for (size_t i = 0; i < frames; ++i) {
        values[i] = 0.5f * std::sin(0.03f * static_cast<float>(i));
    }
    return values;
}

std::string list(const std::vector<scalar>& values) {
    std::string text;
    for (scalar v : values) {
        text += (text.empty() ? "" : "|") + std::to_string(v);
    }
    return text;
}

template <class T>
void runFilter(benchmark::State& state, const nodara::Properties& properties) {
    T filter;
    auto context = std::make_shared<nodara::DSPContext>();
    filter.init("f", properties, context);
    filter.setMaxBlockSize(block);
    const auto in = testBlock(block);
    std::vector<scalar> out(block);
    for (auto _ : state) {
        filter.process(in.data(), out.data(), block);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(block));
}

void BiQuadPerSample(benchmark::State& state) {
    runFilter<nodara::BiQuad>(state, {{"A", "-1.1430|0.4128"}, {"B", "0.0675|0.1349|0.0675"}});
}
BENCHMARK(BiQuadPerSample);

void IirOrder8PerSample(benchmark::State& state) {
    nodara::filterdesign::IirDesignContext design(nodara::filterdesign::Options::Butterworth, 8, 0.1);
    nodara::filterdesign::design(design);
    runFilter<nodara::Iir>(state, {{"Order", "8"}, {"A", list(*design.getA())}, {"B", list(*design.getB())}});
}
BENCHMARK(IirOrder8PerSample);

/// Times `up` raising a 48 kHz block by 4 and `down` bringing it back, per input sample.
void upAndDownBy4(benchmark::State& state, nodara::Filter& up, nodara::Filter& down) {
    up.setMaxBlockSize(block);
    down.setMaxBlockSize(4 * block);
    up.setSampleRate(48000.0f);
    down.setSampleRate(4 * 48000.0f);
    auto in = testBlock(block);
    const std::vector<scalar*> inputs = {in.data()};
    std::vector<scalar*> high = {nullptr};
    for (auto _ : state) {
        up.process(inputs, block);
        high[0] = up.getOutput(0);
        down.process(high, 4 * block);
        benchmark::DoNotOptimize(down.getOutput(0));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(block));
}

/// Interpolate by 4 and decimate by 4 with the amplifier's settings, per host sample at 48 kHz.
void OversamplingBy4PerInputSample(benchmark::State& state) {
    auto context = std::make_shared<nodara::DSPContext>();
    nodara::IirInterpolator up;
    up.init("up", {{"CornerFrequency", "15000"}, {"Factor", "4"}, {"Order", "2"}, {"Cascade", "4"},
                   {"Type", "Butterworth"}}, context);
    nodara::IirDecimator down;
    down.init("down", {{"CornerFrequency", "20000"}, {"Factor", "4"}, {"Order", "2"},
                       {"Cascade", "8"}, {"Type", "Butterworth"}}, context);
    upAndDownBy4(state, up, down);
}
BENCHMARK(OversamplingBy4PerInputSample);

void FirPerSample(benchmark::State& state) {
    const auto taps = testBlock(static_cast<size_t>(state.range(0)));
    nodara::Fir fir;
    auto context = std::make_shared<nodara::DSPContext>();
    fir.init("fir", {}, context);
    fir.setCoefficients(taps.data(), taps.size());
    fir.setMaxBlockSize(block);
    const auto in = testBlock(block);
    std::vector<scalar> out(block);
    for (auto _ : state) {
        fir.process(in.data(), out.data(), block);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(block));
}
BENCHMARK(FirPerSample)->Arg(64)->Arg(256);

/// Up by 4 and down by 4 with the settings of examples/fir-oversampled-lookup.xml (192 taps
/// each, 80 dB, corner 18 kHz), per host sample at 48 kHz.
void PolyphaseBy4PerInputSample(benchmark::State& state) {
    auto context = std::make_shared<nodara::DSPContext>();
    const nodara::Properties design = {{"Factor", "4"},
                                       {"Order", "192"},
                                       {"Attenuation", "80"},
                                       {"AbsoluteCornerFrequency", "18000"}};
    nodara::ResamplingUpsampler up;
    nodara::ResamplingDecimator down;
    up.init("up", design, context);
    down.init("down", design, context);
    upAndDownBy4(state, up, down);
}
BENCHMARK(PolyphaseBy4PerInputSample);

} // namespace
