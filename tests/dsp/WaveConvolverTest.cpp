#include "dsp/WaveConvolver.h"
#include "description/DSPElementFactory.h"
#include "dsp/EmbeddedResources.h"
#include "dsp/ResponseResampler.h"
#include "runtime/Driver.h"

#include "dsp/ConvolutionReference.h"
#include "dsp/FailureCheck.h"
#include "dsp/WavBytes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <numeric>
#include <sstream>

using namespace nodara;

namespace {

std::shared_ptr<DSPContext> noContext;

using Samples = std::vector<float>;

std::shared_ptr<Samples> shared(const Samples& samples) {
    return std::make_shared<Samples>(samples);
}

/// A Memory cabinet holding response "a" at 48 kHz, and "b" at 44.1 kHz when given.
std::unique_ptr<WaveConvolver> makeCabinet(Properties properties, const Samples& a,
                                           const Samples& b = {1.0f}) {
    properties.insert({"Location", "Memory"});
    properties.insert({"ImpulseResponses", "a|b"});
    properties.insert({"MaxIRSize", "8192"});
    auto cabinet = std::make_unique<WaveConvolver>();
    cabinet->init("cab", properties, noContext);
    cabinet->addImpulseResponse("a", 48000.0f, shared(a));
    cabinet->addImpulseResponse("b", 44100.0f, shared(b));
    cabinet->setMaxBlockSize(64);
    return cabinet;
}

const Samples& responseOf(const WaveConvolver& cabinet) {
    return cabinet.getConvolver().getImpulseResponse();
}

Samples sine(size_t length, double frequency, double rate, double amplitude) {
    Samples out(length);
    for (size_t i = 0; i < length; ++i) {
        out[i] = static_cast<float>(amplitude * std::sin(2.0 * std::numbers::pi * frequency *
                                                         static_cast<double>(i) / rate));
    }
    return out;
}

/// |Σ h[k]·e^(−iωk)| at `frequency`.
double gainAt(const Samples& h, double frequency, double rate) {
    std::complex<double> sum = 0.0;
    for (size_t k = 0; k < h.size(); ++k) {
        sum += static_cast<double>(h[k]) *
               std::polar(1.0, -2.0 * std::numbers::pi * frequency * static_cast<double>(k) / rate);
    }
    return std::abs(sum);
}

/// A Hann-windowed sinc low pass at `cutoff`, unity gain at DC.
Samples lowPass(size_t taps, double cutoff, double rate) {
    Samples h(taps);
    const double middle = static_cast<double>(taps - 1) / 2.0;
    double sum = 0.0;
    for (size_t k = 0; k < taps; ++k) {
        const double t = static_cast<double>(k) - middle;
        const double x = 2.0 * cutoff / rate * t;
        const double sinc =
            t == 0.0 ? 1.0 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
        const double window = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * k / (taps - 1));
        h[k] = static_cast<float>(sinc * window);
        sum += h[k];
    }
    for (float& tap : h) {
        tap = static_cast<float>(tap / sum);
    }
    return h;
}

double peak(const Samples& x, size_t from, size_t to) {
    double largest = 0.0;
    for (size_t i = from; i < to; ++i) {
        largest = std::max(largest, std::fabs(static_cast<double>(x[i])));
    }
    return largest;
}

Samples runBlocks(Filter& filter, const Samples& input, size_t block) {
    Samples output;
    for (size_t at = 0; at < input.size(); at += block) {
        const size_t n = std::min(block, input.size() - at);
        std::vector<scalar*> in{const_cast<float*>(input.data() + at)};
        filter.process(in, n);
        output.insert(output.end(), filter.getOutput(0), filter.getOutput(0) + n);
    }
    return output;
}

} // namespace

TEST(ResponseResamplerTest, LengthIsTheRoundedRateRatio) {
    struct Case {
        size_t length;
        double from, to;
        size_t expected;
    };
    const Case cases[] = {
        {8192, 48000, 44100, 7526},                       // 7526.4
        {813, 44100, 96000, 1770},                        // 1769.8
        {13, 96000, 44100, 6},                            // 5.97
        {1, 44100, 48000, 1},       {1, 96000, 44100, 0}, // 0.46: nothing is left
        {0, 44100, 48000, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(resampleResponse(Samples(c.length, 0.5f), c.from, c.to).size(), c.expected)
            << c.length << " samples from " << c.from << " to " << c.to;
    }
}

TEST(ResponseResamplerTest, ASineKeepsItsLevelUpToTheRateRatio) {
    for (auto [from, to] : {std::pair{48000.0, 44100.0}, std::pair{44100.0, 96000.0}}) {
        SCOPED_TRACE(testing::Message() << from << " to " << to);
        const auto out = resampleResponse(sine(9600, 1000.0, from, 0.5), from, to);
        // Away from the ends, where the converter starts from and returns to silence.
        const double middle = peak(out, out.size() / 4, 3 * out.size() / 4);
        EXPECT_NEAR(middle, 0.5 * from / to, 1e-3);
    }
}

TEST(WaveConvolverTest, AResponseAtTheRunningRateIsCopiedAndTheStoredOneStays) {
    const Samples a = reference::noise(500, 1);
    auto stored = shared(a);
    auto cabinet = makeCabinet({{"Gain", "0.5"}, {"Scale", "true"}}, {});
    cabinet->addImpulseResponse("a", 48000.0f, stored);
    cabinet->setMaxBlockSize(64);
    cabinet->setSampleRate(48000.0f);
    EXPECT_EQ(*stored, a);

    auto plain = makeCabinet({}, a);
    plain->setSampleRate(48000.0f);
    EXPECT_EQ(responseOf(*plain), a);
}

TEST(WaveConvolverTest, AResponseAtAnotherRateIsResampled) {
    const Samples a = lowPass(301, 5000.0, 48000.0);
    auto cabinet = makeCabinet({}, a);
    cabinet->setSampleRate(44100.0f);
    const Samples& response = responseOf(*cabinet);
    EXPECT_EQ(response.size(), 277u); // 301 · 44100 / 48000 = 276.6
    EXPECT_EQ(response, resampleResponse(a, 48000.0, 44100.0));
    EXPECT_NEAR(gainAt(response, 1000.0, 44100.0), gainAt(a, 1000.0, 48000.0), 1e-3);
}

TEST(WaveConvolverTest, ResponsesAreConditionedBeforeTheHandOver) {
    struct Case {
        const char* label;
        Properties properties;
        Samples response;
        Samples expected;
    };
    const Case cases[] = {
        {"silent tail is trimmed",
         {},
         {0.5f, 0.0f, -0.25f, 1.5e-15f, 1.0e-15f, -1.0e-15f, 0.0f, 2.0e-16f},
         {0.5f, 0.0f, -0.25f, 1.5e-15f}},
        {"cut to MaxIRSize before the mean is removed",
         {{"MaxIRSize", "4"}, {"Scale", "true"}},
         {1, 2, 3, 6, 100, 100},
         {-2, -1, 0, 3}},
        {"trimmed before the cut", {{"MaxIRSize", "3"}}, {1, 2, 0, 0, 0}, {1, 2}},
        {"gain", {{"Gain", "0.25"}}, {1, -2}, {0.25f, -0.5f}},
        {"mean removal, then gain", {{"Scale", "true"}, {"Gain", "2"}}, {1, 3}, {-2, 2}},
        {"Scale is true only for \"true\"", {{"Scale", "True"}}, {1, 3}, {1, 3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        auto cabinet = makeCabinet(c.properties, c.response);
        cabinet->setSampleRate(48000.0f);
        EXPECT_EQ(responseOf(*cabinet), c.expected);
    }
}

TEST(WaveConvolverTest, ScaleMakesTheStageBlockDc) {
    Samples a = reference::noise(8192, 2);
    for (float& tap : a) {
        tap += 0.3f;
    }
    const auto dcGain = [](const Samples& h) { return std::accumulate(h.begin(), h.end(), 0.0); };
    auto cabinet = makeCabinet({{"Scale", "true"}}, a);
    cabinet->setSampleRate(48000.0f);
    // What is left is the round-off of a mean taken in single precision.
    const double before = dcGain(a);
    EXPECT_LT(std::fabs(dcGain(responseOf(*cabinet))), 1e-5 * before);
    const Samples output = runBlocks(*cabinet, Samples(8192 + 640, 1.0f), 64);
    EXPECT_LT(peak(output, 8192, output.size()), 1e-5 * before);
}

TEST(WaveConvolverTest, OnlyANewRateReloadsAndForgetsPastInput) {
    const Samples a = reference::noise(700, 3);
    const Samples first = reference::noise(640, 4);
    const Samples next = reference::noise(640, 5);
    auto steady = makeCabinet({}, a);
    auto touched = makeCabinet({}, a);
    auto fresh = makeCabinet({}, a);
    for (auto* cabinet : {steady.get(), touched.get(), fresh.get()}) {
        cabinet->setSampleRate(48000.0f);
    }
    runBlocks(*steady, first, 64);
    runBlocks(*touched, first, 64);
    touched->setSampleRate(48000.0f);
    EXPECT_EQ(runBlocks(*touched, next, 64), runBlocks(*steady, next, 64));

    touched->setSampleRate(44100.0f);
    touched->setSampleRate(48000.0f);
    EXPECT_EQ(runBlocks(*touched, next, 64), runBlocks(*fresh, next, 64));
}

TEST(WaveConvolverTest, SelectedPicksAResponseByRoundedIndex) {
    auto cabinet = makeCabinet({}, {0.5f, 0.25f}, {0.75f});
    cabinet->setSampleRate(44100.0f);
    cabinet->propertyChanged("Selected", 0.5f);
    EXPECT_EQ(cabinet->getSelected(), 1);
    EXPECT_EQ(responseOf(*cabinet), Samples{0.75f});
    cabinet->propertyChanged("Selected", 0.49f);
    EXPECT_EQ(responseOf(*cabinet).size(), 2u); // "a" resampled to 44.1 kHz
    cabinet->propertyChanged("Unknown", 1.0f);
    EXPECT_EQ(cabinet->getSelected(), 0);
}

TEST(WaveConvolverTest, ASelectionEqualToTheCountIsASubscriptFailure) {
    auto cabinet = makeCabinet({}, {0.5f});
    cabinet->setSampleRate(48000.0f);
    EXPECT_THROW(cabinet->propertyChanged("Selected", 2.0f), std::out_of_range);
}

TEST(WaveConvolverTest, FailuresCarryTheirMessages) {
    using failurecheck::Case;
    const auto initWith = [](Properties properties) {
        return [properties] { WaveConvolver().init("cab", properties, noContext); };
    };
    auto cabinet = makeCabinet({}, {0.5f});
    cabinet->setSampleRate(48000.0f);
    auto silent = makeCabinet({}, Samples(100, 0.0f));
    const Case cases[] = {
        {"no ImpulseResponses", initWith({{"Location", "Memory"}, {"MaxIRSize", "8"}}),
         typeid(NodaraException),
         "WaveConvolver: ImpulseResponses is not defined. WaveConvolver name=cab"},
        {"no Location", initWith({{"ImpulseResponses", "a"}, {"MaxIRSize", "8"}}),
         typeid(NodaraException), "WaveConvolver: Missing Location property."},
        {"unknown Location", initWith({{"ImpulseResponses", "a"}, {"Location", "memory"}}),
         typeid(InvalidArgumentException), "WaveConvolver: Invalid Location property memory"},
        {"Dll without type", initWith({{"ImpulseResponses", "a"}, {"Location", "Dll"}}),
         typeid(NodaraException), "WaveConvolver: Missing DllResourceType property."},
        {"no MaxIRSize", initWith({{"ImpulseResponses", "a"}, {"Location", "File"}}),
         typeid(NodaraException), "MaxIRSize is not defined. Convolver name=cab"},
        {"selection above the count", [&] { cabinet->propertyChanged("Selected", 3.0f); },
         typeid(NodaraException), "WaveConvolver: Invalid selection: 3 max selection value 2"},
        {"silent response", [&] { silent->setSampleRate(48000.0f); },
         typeid(InvalidArgumentException), "Convolver: Invalid impulse response. IR is empty."},
        {"two-argument init", [] { WaveConvolver().init("cab", noContext); },
         typeid(OperationNotSupportedException),
         "WaveConvolver: init(name, context) is not yet implemented."},
        {"iteration", [&] { cabinet->iteration(nullptr, 0, 0); },
         typeid(OperationNotSupportedException), "WaveConvolver: Iteration is not supported."},
        {"last results", [&] { cabinet->getLastIterationResults(); },
         typeid(OperationNotSupportedException),
         "WaveConvolver: getLastIterationResults is not supported."},
        {"end iteration", [&] { cabinet->endIteration(0); }, typeid(OperationNotSupportedException),
         "WaveConvolver: endIteration is not supported."},
        {"in place", [&] { cabinet->process(nullptr, 4); }, typeid(OperationNotSupportedException),
         ""},
    };
    for (const Case& c : cases) {
        failurecheck::expectFailure(c);
    }
}

TEST(WaveConvolverTest, DllLocationReadsAnEmbeddedWav) {
    const Samples a = reference::noise(300, 6);
    static const std::string bytes = wavbytes::floatWav(a, 44100);
    EmbeddedResources::add("cabinet-ir", "IR", bytes.data(), bytes.size());
    auto cabinet = std::make_unique<WaveConvolver>();
    cabinet->init("cab",
                  {{"Location", "Dll"},
                   {"DllResourceType", "IR"},
                   {"ImpulseResponses", "cabinet-ir"},
                   {"MaxIRSize", "1024"}},
                  noContext);
    cabinet->setMaxBlockSize(64);
    cabinet->setSampleRate(44100.0f);
    EXPECT_EQ(responseOf(*cabinet), a);
    cabinet->setSampleRate(48000.0f);
    EXPECT_EQ(responseOf(*cabinet).size(), 327u); // 300 · 48000 / 44100 = 326.5
}

TEST(WaveConvolverTest, FileLocationRunsInADriverLikeDirectConvolution) {
    const Samples h = reference::noise(813, 7);
    const auto path = std::filesystem::temp_directory_path() / "cabinet-driver-ir.wav";
    std::ofstream(path, std::ios::binary) << wavbytes::floatWav(h, 48000);
    std::istringstream document(R"(<?xml version="1.0" encoding="UTF-8"?>
<System>
  <Graphs>
    <Graph Name="Cabinet" Type="DSP">
      <Element Type="WaveConvolver" Name="Speaker">
        <Properties Location="File" ImpulseResponses=")" +
                                path.string() + R"(" MaxIRSize="8192"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Inputs><Input Graph="System" Node="0"/></Inputs>
      <Output><Node Name="out" Element="Speaker" Port="out"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
  </Graphs>
  <Outputs><Output Graph="Cabinet" Node="out"/></Outputs>
</System>)");
    auto driver = std::make_shared<Driver>();
    driver->init(document);
    driver->setSampleRate(48000.0f);
    driver->setMaxBlockSize(256);
    std::filesystem::remove(path);

    const Samples x = reference::noise(3000, 8);
    Samples y;
    for (size_t at = 0, block = 256; at < x.size(); at += block, block = block == 256 ? 37 : 256) {
        const size_t n = std::min(block, x.size() - at);
        driver->process({const_cast<float*>(x.data() + at)}, static_cast<int32>(n));
        const scalar* out = (*driver->getOutputs())[0];
        y.insert(y.end(), out, out + n);
    }
    EXPECT_LT(reference::maxError(y, reference::convolve(x, h)), reference::tolerance(h));
}

TEST(WaveConvolverTest, FactoryMakesBothConvolvers) {
    DSPElementFactory factory;
    std::unique_ptr<Filter> convolver(factory.create("Convolver"));
    std::unique_ptr<Filter> cabinet(factory.create("WaveConvolver"));
    EXPECT_NE(dynamic_cast<Convolver*>(convolver.get()), nullptr);
    EXPECT_NE(dynamic_cast<WaveConvolver*>(cabinet.get()), nullptr);
}
