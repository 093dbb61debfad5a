#include "dsp/convolution/WaveConvolver.h"
#include "dsp/io/EmbeddedResources.h"
#include "dsp/convolution/ResponseResampler.h"
#include "runtime/DSPGraph.h"
#include "support/Documents.h"

#include "dsp/ConvolutionReference.h"
#include "support/FailureCheck.h"
#include "dsp/WavBytes.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace failurecheck;
using namespace nodara;
using namespace wavbytes;
using nodara::testing::driverFor;
using nodara::testing::oneGraphSystem;
using nodara::testing::props;
using reference::noise;
using reference::run;

namespace {

std::shared_ptr<DSPContext> noContext;

using Samples = std::vector<float>;

std::shared_ptr<Samples> shared(const Samples& samples) {
    return std::make_shared<Samples>(samples);
}

/// A Memory cabinet holding response "a" at 48 kHz and "b" at 44.1 kHz, running at `rate`.
std::unique_ptr<WaveConvolver> makeCabinet(const std::string& properties, const Samples& a,
                                           const Samples& b = {1.0f}, float rate = 48000.0f) {
    auto cabinet = std::make_unique<WaveConvolver>();
    cabinet->init("cab", props(properties + " Location=Memory ImpulseResponses=a|b MaxIRSize=8192"),
                  noContext);
    cabinet->addImpulseResponse("a", 48000.0f, shared(a));
    cabinet->addImpulseResponse("b", 44100.0f, shared(b));
    cabinet->setMaxBlockSize(64);
    cabinet->setSampleRate(rate);
    return cabinet;
}

const Samples& responseOf(const WaveConvolver& cabinet) {
    return cabinet.getConvolver().getImpulseResponse();
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
        SCOPED_TRACE(::testing::Message() << from << " to " << to);
        const auto out = resampleResponse(nodara::testing::sine(1000.0, from, 9600, 0.5), from, to);
        // Away from the ends, where the converter starts from and returns to silence.
        const double middle = nodara::testing::peak(out, out.size() / 4, 3 * out.size() / 4);
        EXPECT_NEAR(middle, 0.5 * from / to, 1e-3);
    }
}

TEST(WaveConvolverTest, ConditioningWorksOnACopyOfTheStoredResponse) {
    const Samples a = noise(500, 1);
    auto stored = shared(a);
    auto cabinet = makeCabinet("Gain=0.5 Scale=true", a, {1.0f}, 44100.0f);
    cabinet->addImpulseResponse("a", 48000.0f, stored);
    cabinet->setSampleRate(48000.0f);
    EXPECT_EQ(*stored, a);
    EXPECT_EQ(responseOf(*makeCabinet("", a)), a) << "unconditioned at the running rate";
}

TEST(WaveConvolverTest, ResponsesAreConditionedBeforeTheHandOver) {
    const std::tuple<const char*, const char*, Samples, Samples> cases[] = {
        {"silent tail is trimmed", "", {0.5f, 0, -0.25f, 1.5e-15f, 1e-15f, -1e-15f, 0, 2e-16f},
         {0.5f, 0.0f, -0.25f, 1.5e-15f}},
        {"cut to MaxIRSize before the mean is removed", "MaxIRSize=4 Scale=true",
         {1, 2, 3, 6, 100, 100}, {-2, -1, 0, 3}},
        {"trimmed before the cut", "MaxIRSize=3", {1, 2, 0, 0, 0}, {1, 2}},
        {"a pre-delay does not count", "MaxIRSize=2", {0, 0, 0, 1, 2, 3}, {0, 0, 0, 1, 2}},
        {"gain", "Gain=0.25", {1, -2}, {0.25f, -0.5f}},
        {"mean removal, then gain", "Scale=true Gain=2", {1, 3}, {-2, 2}},
        {"Scale is true only for \"true\"", "Scale=True", {1, 3}, {1, 3}},
    };
    for (const auto& [label, properties, response, expected] : cases) {
        EXPECT_EQ(responseOf(*makeCabinet(properties, response)), expected) << label;
    }
}

TEST(WaveConvolverTest, OnlyANewRateReloadsAndForgetsPastInput) {
    const Samples a = noise(700, 3), first = noise(640, 4), next = noise(640, 5);
    auto steady = makeCabinet("", a), touched = makeCabinet("", a);
    EXPECT_TRUE(reference::matches(run(*steady, first, {64}), first, a));
    run(*touched, first, {64});
    touched->setSampleRate(48000.0f);
    EXPECT_EQ(run(*touched, next, {64}), run(*steady, next, {64}));

    touched->setSampleRate(44100.0f);
    touched->setSampleRate(48000.0f);
    EXPECT_EQ(run(*touched, next, {64}), run(*makeCabinet("", a), next, {64}));
}

TEST(WaveConvolverTest, SelectedPicksAResponseByRoundedIndex) {
    auto cabinet = makeCabinet("", {0.5f, 0.25f}, {0.75f}, 44100.0f);
    cabinet->propertyChanged("Selected", 0.5f);
    EXPECT_EQ(cabinet->getSelected(), 1);
    EXPECT_EQ(responseOf(*cabinet), Samples{0.75f});
    cabinet->propertyChanged("Selected", 0.49f);
    EXPECT_EQ(responseOf(*cabinet).size(), 2u); // "a" resampled to 44.1 kHz
    cabinet->propertyChanged("Unknown", 1.0f);
    EXPECT_EQ(cabinet->getSelected(), 0);
    EXPECT_THROW(cabinet->propertyChanged("Selected", 2.0f), std::out_of_range)
        << "a selection equal to the count is a subscript failure";
}

TEST(WaveConvolverTest, FailuresCarryTheirMessages) {
    const auto initWith = [](std::string properties) {
        return [properties] { WaveConvolver().init("cab", props(properties), noContext); };
    };
    // Its data chunk claims 16 MB; the file ends after two reads' worth of 8-bit samples.
    const std::string cutPath = temporaryFile(
        "cabinet-cut.wav",
        riff(fmtChunk(1, 1, 48000, 8) + "data" + le32(1u << 24) + std::string(100000, '\x90')));
    const auto loadFile = [&] {
        WaveConvolver fromFile;
        fromFile.init("cab", props("Location=File MaxIRSize=8 ImpulseResponses=" + cutPath),
                      noContext);
        fromFile.setMaxBlockSize(64);
        fromFile.setSampleRate(48000.0f);
    };
    auto owner = makeCabinet("", {0.5f});
    WaveConvolver& c = *owner;
    expectFailures({
        {initWith("Location=Memory MaxIRSize=8"), plain,
         "WaveConvolver: ImpulseResponses is not defined. WaveConvolver name=cab"},
        {initWith("ImpulseResponses=a MaxIRSize=8"), plain,
         "WaveConvolver: Missing Location property."},
        {initWith("ImpulseResponses=a Location=memory"), invalid,
         "WaveConvolver: Invalid Location property memory"},
        {initWith("ImpulseResponses=a Location=Dll"), plain,
         "WaveConvolver: Missing DllResourceType property."},
        {initWith("ImpulseResponses=a Location=File"), plain,
         "MaxIRSize is not defined. Convolver name=cab"},
        {[&] { c.propertyChanged("Selected", 3.0f); }, plain,
         "WaveConvolver: Invalid selection: 3 max selection value 2"},
        {[] { makeCabinet("", Samples(100, 0.0f)); }, invalid,
         "Convolver: Invalid impulse response. IR is empty."},
        {[&] { c.iteration(nullptr, 0, 0); }, unsupported,
         "WaveConvolver: Iteration is not supported."},
        {[&] { c.getLastIterationResults(); }, unsupported,
         "WaveConvolver: getLastIterationResults is not supported."},
        {[&] { c.process(nullptr, 4); }, unsupported, ""},
        {loadFile, plain,
         "AudioFileRead" + cutPath + "Error while trying to read from the stream."},
    });
    std::filesystem::remove(cutPath);
}

// A document names an embedded response or a file; one at another rate is resampled. A file
// is read in pieces: a long stereo one gives its whole first channel.
TEST(WaveConvolverTest, DocumentsNameEmbeddedAndFileResponses) {
    const Samples a = noise(300, 6), h = noise(813, 7), left = noise(40000, 8);
    static const std::string bytes = floatWav(a, 44100);
    EmbeddedResources::add("cabinet-ir", "IR", bytes.data(), bytes.size());
    Samples interleaved;
    for (float sample : left) {
        interleaved.insert(interleaved.end(), {sample, 0.5f});
    }
    const std::string mono = temporaryFile("cabinet-driver-ir.wav", floatWav(h, 48000));
    const std::string stereo = temporaryFile(
        "cabinet-driver-stereo.wav",
        riff(fmtChunk(3, 2, 48000, 32) + chunk("data", floatData(interleaved))));
    const auto cabinet = [](const std::string& properties, float rate = 48000.0f) -> Samples {
        const auto element = nodara::testing::element("WaveConvolver", "S",
                                                      properties + " MaxIRSize='65536'", "Graph");
        auto driver = driverFor(oneGraphSystem(element, "S"), 64, rate);
        return responseOf(dynamic_cast<WaveConvolver&>(
            *driver->getGraph("G")->getContext()->getElement("S")));
    };
    const std::string embedded =
        "Location='Dll' DllResourceType='IR' ImpulseResponses='cabinet-ir'";
    EXPECT_EQ(cabinet(embedded, 44100.0f), a);
    EXPECT_EQ(cabinet(embedded), resampleResponse(a, 44100.0, 48000.0));
    EXPECT_EQ(cabinet("Location='File' ImpulseResponses='" + mono + "'"), h);
    EXPECT_EQ(cabinet("Location='File' ImpulseResponses='" + stereo + "'"), left);
    std::filesystem::remove(mono);
    std::filesystem::remove(stereo);
}
