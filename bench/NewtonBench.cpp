// Newton per sample on a loop of two elements: a soft-clipping table forward, a gain back.
#include "amp/Newton.h"
#include "dsp/elements/Gain.h"
#include "dsp/elements/LookupTableFilter.h"
#include "runtime/DSPContext.h"
#include "runtime/Exceptions.h"

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

using nodara::scalar;
constexpr size_t block = 256;

/// A table over [−2, 2] in steps of 0.01 of f.
template <class F>
std::shared_ptr<nodara::Filter> table(const char* name, F f,
                                      std::shared_ptr<nodara::DSPContext>& context) {
    std::string values;
    for (int i = 0; i <= 400; ++i) {
        values += (i ? "|" : "") + nodara::concat(f(-2.0 + 0.01 * i));
    }
    auto filter = std::make_shared<nodara::LookupTableFilter>();
    filter->init(name, {{"VinMin", "-2"}, {"VinMax", "2"}, {"DeltaV", "0.01"}, {"Vout", values}},
                 context);
    return filter;
}

/// y = T(x − 0.5·y), T(u) = 0.5·tanh(4u): a loop gain of 1 for small signals.
void NewtonTwoElementLoopPerSample(benchmark::State& state) {
    auto context = std::make_shared<nodara::DSPContext>();
    torvane::Newton newton;
    newton.init("loop",
                {{"RelativeError", "1e-6"},
                 {"AbsoluteError", "1e-6"},
                 {"MaxIterations", "50"},
                 {"FeedbackType", "Negative"}},
                context);
    newton.addForward(table(
        "stage", [](double u) { return 0.5 * std::tanh(4 * u); }, context));
    newton.addForwardDerivative(table(
        "slope", [](double u) { return 2 / std::pow(std::cosh(4 * u), 2); }, context));
    auto beta = std::make_shared<nodara::Gain>();
    beta->init("beta", {{"Gain", "0.5"}}, context);
    newton.addFeedback(beta);
    newton.addFeedbackDerivative(table(
        "beta slope", [](double) { return 0.5; }, context));
    newton.setMaxBlockSize(block);
    std::vector<scalar> in(block);
    for (size_t i = 0; i < block; ++i) {
        in[i] = 0.8f * std::sin(0.05f * static_cast<float>(i));
    }
    std::vector<scalar> out(block);
    for (auto _ : state) {
        newton.process(in.data(), out.data(), block);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(block));
}
BENCHMARK(NewtonTwoElementLoopPerSample);

} // namespace
