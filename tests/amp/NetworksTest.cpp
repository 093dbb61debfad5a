#include "amp/networks/FilterWrapper.h"
#include "amp/networks/V2V3Coupling.h"
#include "amp/networks/V2V3PropertiesHandler.h"
#include "amp/networks/VolCtrlPropertiesHandler.h"
#include "amp/networks/VolumeControl.h"
#include "dsp/recursive/BiQuad.h"
#include "dsp/recursive/FirstOrderIIR.h"
#include "runtime/DSPContext.h"
#include "support/Documents.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

#include <complex>
#include <numbers>

namespace torvane {
namespace {

using Complex = std::complex<double>;
using nodara::testing::made;
using nodara::testing::messageOf;
using nodara::testing::props;
using nodara::testing::response;

constexpr double Rs = 41000.0, Rp = 1e6, C1 = 2.2e-8, C2 = 1.44e-10;

/// The volume network's H(s), written from the circuit, with grid conductance g.
Complex volumeNetwork(Complex s, double wiper, double g) {
    const double Rlow = wiper * Rp, Rup = (1.0 - wiper) * Rp;
    const Complex denominator =
        (1.0 + g * Rlow) + s * (C1 * (Rs + Rup + Rlow) + C2 * Rlow + g * Rlow * C1 * (Rs + Rup)) +
        s * s * C1 * C2 * Rlow * (Rs + Rup);
    return s * C1 * Rlow / denominator;
}

/// The coupling's H(s) with load conductance G.
Complex couplingNetwork(Complex s, double G) {
    constexpr double R = 69000.0, C = 2.2e-8;
    return s * C / (s * C * (1.0 + R * G) + G);
}

/// Compares the response of `filter` with H(s) at the bilinear image of the same points.
template <class F, class Analog>
void expectBilinearOf(const F& filter, double rate, Analog analog, double tolerance = 2e-4) {
    for (double frequency : {20.0, 100.0, 720.0, 3000.0, 12000.0}) {
        const Complex z = std::polar(1.0, 2.0 * std::numbers::pi * frequency / rate);
        const Complex s = 2.0 * rate * (1.0 - 1.0 / z) / (1.0 + 1.0 / z);
        const Complex expected = analog(s);
        const auto actual = response(filter.getA(), filter.getB(), frequency / rate);
        EXPECT_LT(std::abs(actual - expected),
                  tolerance * std::abs(expected) + 1e-7)
            << "at " << frequency << " Hz";
    }
}

/// A grid curve with an onset: 1e10 ohm below `onset` volts, falling as 1/(v − onset)².
std::vector<float> conductingGrid(size_t count, float first, float onset) {
    std::vector<float> ohms(count);
    for (size_t i = 0; i < count; ++i) {
        const float v = first + 0.02f * static_cast<float>(i);
        const float above = v - onset;
        ohms[i] = v <= onset ? 1e10f : std::min(1e10f, 2000.0f / (above * above) + 2000.0f);
    }
    return ohms;
}

TEST(VolumeControl, IsTheBilinearTransformOfTheNetwork) {
    for (double wiper : {1.0, 0.5, 0.1}) {
        VolumeControl control;
        control.init({{"Wiper", static_cast<scalar>(wiper)}});
        control.setSampleRate(96000.0f);
        expectBilinearOf(control, 96000.0, [&](Complex s) { return volumeNetwork(s, wiper, 0.0); });
        EXPECT_EQ(control.getB()[1], 0.0f);
        EXPECT_EQ(control.getB()[2], -control.getB()[0]);
    }
}

TEST(VolumeControl, WiperAtGroundIsSilentAndStable) {
    VolumeControl control;
    control.setSampleRate(48000.0f);
    control.propertyChanged("Wiper", 0.0f);
    EXPECT_EQ(control.getB()[0], 0.0f);
    EXPECT_TRUE(std::isfinite(control.getA()[0]) && std::isfinite(control.getA()[1]));
    EXPECT_EQ(messageOf([&] { control.propertyChanged("Gain", 1.0f); }),
              "VolumeControl: Unknown property Gain");
}

/// A handler H computing the coefficients of `filter` at `rate` over the grid curve `grid`.
template <class H, class F>
std::shared_ptr<H> handled(F& filter, const std::vector<float>& grid, float rate) {
    auto handler = std::make_shared<H>(&filter, grid);
    filter.setPropertiesHandler(handler);
    filter.setSampleRate(rate);
    return handler;
}

template <class Coefficients>
std::vector<scalar> values(const Coefficients& coefficients) {
    return {coefficients.begin(), coefficients.end()};
}

/// The grid conductance of conductingGrid() at `volts`.
double conductance(double volts, double onset) {
    return 1.0 / (2000.0 / ((volts - onset) * (volts - onset)) + 2000.0);
}

// Below the onset the wiper sees the network scaled by Gain; a prediction of 5 V loads it.
TEST(VolCtrlPropertiesHandler, IsTheNetworkScaledByGainAndLoadedByGridCurrent) {
    auto biquad = made<nodara::BiQuad>("A=0|0 B=0|0|0 Wiper=1.0 Gain=1.0", "VC");
    const auto grid = conductingGrid(1001, 0.0f, 1.42f);
    auto handler = handled<VolCtrlPropertiesHandler>(*biquad, grid, 96000.0f);
    biquad->propertyChanged("Wiper", 0.3f);
    biquad->propertyChanged("Gain", 0.61f);
    handler->update(0.0f, 0.5f);
    expectBilinearOf(*biquad, 96000.0,
                     [&](Complex s) { return 0.61 * volumeNetwork(s, 0.3, 0.0); });
    handler->update(0.0f, 2.75f); // predicts 2·2.75 − 0.5 = 5 V: g jumps, past the hysteresis
    expectBilinearOf(*biquad, 96000.0,
                     [](Complex s) { return 0.61 * volumeNetwork(s, 0.3, conductance(5.0, 1.42)); },
                     1e-3);
    EXPECT_EQ(messageOf([&] { handler->propertyChanged("Bias", 1.0f); }),
              "VolCtrlPropertiesHandler: Unknown property Bias");
}

TEST(VolCtrlPropertiesHandler, SmallChangesOfTheGridKeepTheCoefficients) {
    auto biquad = made<nodara::BiQuad>("A=0|0 B=0|0|0 Wiper=1.0 Gain=1.0", "VC");
    const auto grid = conductingGrid(1001, 0.0f, 1.42f);
    auto handler = handled<VolCtrlPropertiesHandler>(*biquad, grid, 48000.0f);
    handler->update(0.0f, 5.0f);
    handler->update(0.0f, 5.0f);
    const auto standing = values(biquad->getB());
    handler->update(0.0f, 5.01f); // g moves by well under 10 %
    EXPECT_EQ(values(biquad->getB()), standing);
    biquad->propertyChanged("Gain", 0.5f);
    handler->update(0.0f, 5.01f);
    EXPECT_NE(values(biquad->getB()), standing) << "a parameter change always recomputes";
}

TEST(V2V3Coupling, IsTheBilinearTransformOfTheHighPass) {
    V2V3Coupling coupling;
    coupling.setSampleRate(192000.0f);
    expectBilinearOf(coupling, 192000.0,
                     [](Complex s) { return couplingNetwork(s, 1.0 / 220000.0); });
    EXPECT_EQ(coupling.getB()[1], -coupling.getB()[0]);
}

// 1e-10 S next to the 220 kΩ grid resistor below the onset; above it the grid conducts.
TEST(V2V3PropertiesHandler, BelowTheOnsetItIsTheCouplingAndAboveItTheGridLoadsIt) {
    auto first = made<nodara::FirstOrderIIR>("A=0 B=0|0", "V2V3");
    const auto grid = conductingGrid(601, 18.0f, 18.3f);
    auto handler = handled<V2V3PropertiesHandler>(*first, grid, 96000.0f);
    handler->update(0.0f, 1.0f);
    expectBilinearOf(*first, 96000.0,
                     [](Complex s) { return couplingNetwork(s, 1.0 / 220000.0 + 1e-10); });
    handler->update(0.0f, 14.5f); // predicts 2·14.5 − 1 = 28 V
    const double g = conductance(28.0, 18.3);
    expectBilinearOf(*first, 96000.0,
                     [&](Complex s) { return couplingNetwork(s, 1.0 / 220000.0 + g); }, 1e-3);
}

/// A handler passed on, but for its say on running ahead: the filter it serves asks it before
/// every sample, as filters did before they ran ahead.
class AskedEverySample : public nodara::PropertiesHandler {
public:
    explicit AskedEverySample(std::shared_ptr<nodara::PropertiesHandler> inner)
        : inner(std::move(inner)) {}
    void init(const Properties& properties) override { inner->init(properties); }
    void propertyChanged(const std::string& name, scalar value) override {
        inner->propertyChanged(name, value);
    }
    void setSampleRate(scalar rate) override { inner->setSampleRate(rate); }
    bool needsSampleUpdate() override { return inner->needsSampleUpdate(); }
    void update(scalar input, scalar lastOutput) override { inner->update(input, lastOutput); }
    void reset() override { inner->reset(); }

private:
    std::shared_ptr<nodara::PropertiesHandler> inner;
};

/// `signal` through a filter F served by handler H, in blocks of the sizes in `blocks` taken
/// in turn; `everySample` has the filter ask the handler before every sample.
template <class F, class H>
std::vector<float> throughHandled(const std::vector<float>& grid, const std::vector<float>& signal,
                                  const std::vector<size_t>& blocks, bool everySample) {
    auto filter = made<F>(std::is_same_v<F, nodara::BiQuad> ? "A=0|0 B=0|0|0 Wiper=0.8 Gain=0.61"
                                                            : "A=0 B=0|0",
                          "net", 1024);
    auto handler = std::make_shared<H>(filter.get(), grid);
    if (everySample) {
        filter->setPropertiesHandler(std::make_shared<AskedEverySample>(handler));
    } else {
        filter->setPropertiesHandler(handler);
    }
    filter->setSampleRate(192000.0f);
    std::vector<float> out(signal.size());
    std::vector<scalar*> in{nullptr};
    for (size_t done = 0, turn = 0; done < signal.size(); ++turn) {
        const size_t frames = std::min(blocks[turn % blocks.size()], signal.size() - done);
        in[0] = const_cast<float*>(signal.data() + done);
        filter->process(in, frames);
        std::copy_n(filter->getOutput(0), frames, out.begin() + static_cast<long>(done));
        done += frames;
    }
    return out;
}

/// Bursts of a sine that drive the grid past its onset at every crest, between silences.
std::vector<float> bursts(double amplitude) {
    auto signal = nodara::testing::sine(1500.0, 192000.0, 20000, amplitude);
    for (size_t i = 0; i < signal.size(); ++i) {
        if ((i / 2500) % 2 == 1) {
            signal[i] *= 0.01f;
        }
    }
    return signal;
}

// The filters run ahead on their coefficients as far as the grid lets them stand, and give
// the bits of asking before every sample, in blocks of any size; the grid does load them.
TEST(GridLoad, RunningAheadGivesTheBitsOfUpdatingEverySample) {
    const std::vector<size_t> blocks = {1, 2, 5, 64, 333, 1024, 3, 17};
    using Samples = std::vector<float>;
    const auto check = [&](auto run, const Samples& grid, const Samples& unloaded,
                           const Samples& signal) {
        const auto reference = run(grid, signal, std::vector<size_t>{1024}, true);
        EXPECT_EQ(run(grid, signal, blocks, false), reference);
        EXPECT_EQ(run(grid, signal, std::vector<size_t>{1024}, false), reference);
        EXPECT_NE(run(unloaded, signal, std::vector<size_t>{1024}, false), reference);
    };
    check(throughHandled<nodara::BiQuad, VolCtrlPropertiesHandler>,
          conductingGrid(1001, 0.0f, 1.42f), conductingGrid(1001, 0.0f, 100.0f), bursts(8.0));
    check(throughHandled<nodara::FirstOrderIIR, V2V3PropertiesHandler>,
          conductingGrid(601, 18.0f, 18.3f), conductingGrid(601, 18.0f, 100.0f), bursts(25.0));
}

/// Counts what a calculator is told.
class CountingCalculator : public WrappedFilterPropertyCalculator {
public:
    CountingCalculator() { filter = std::make_shared<nodara::BiQuad>(); }
    void init(const std::map<std::string, scalar>& values) override {
        initialValues = values;
        ++inits;
    }
    void propertyChanged(const std::string&, scalar) override {}
    void setSampleRate(scalar) override {}
    std::map<std::string, scalar> initialValues;
    int inits = 0;
};

// Without parameters the calculator is not initialised at all. What the wrapper passes on once
// its calculator is there, the amplifier's tests hear.
TEST(FilterWrapper, KeepsParametersUntilItsCalculatorArrives) {
    auto context = std::make_shared<nodara::DSPContext>();
    FilterWrapper wrapper, bare;
    wrapper.init("VC", props("PropertyNames=Wiper|Tone Wiper=1.0 InputIndex=0"), context);
    EXPECT_EQ(wrapper.getValues(), (std::map<std::string, scalar>{{"Wiper", 1.0f}})) << "no Tone";
    EXPECT_EQ(messageOf([&] { wrapper.setMaxBlockSize(4); }),
              "FilterWrapper: VC has no coefficient calculator.");
    wrapper.propertyChanged("Wiper", 0.25f);
    auto calculator = std::make_shared<CountingCalculator>();
    wrapper.setCalculator(calculator);
    EXPECT_EQ(calculator->initialValues.at("Wiper"), 0.25f);
    bare.init("V2V3", props("InputIndex=0"), context);
    auto untouched = std::make_shared<CountingCalculator>();
    bare.setCalculator(untouched);
    EXPECT_EQ(untouched->inits, 0);
}

} // namespace
} // namespace torvane
