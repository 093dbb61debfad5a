#include "amp/Amplifier.h"
#include "amp/Newton.h"
#include "support/AllocationCounter.h"
#include "support/Documents.h"
#include "support/Signals.h"

#include "support/FailureCheck.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>

namespace torvane {
namespace {

using namespace failurecheck;
using nodara::concat;
using nodara::testing::made;
using nodara::testing::messageOf;
using nodara::testing::oneGraphSystem;
using nodara::testing::runBlocks;

const std::string tolerances = "RelativeError='1e-6' AbsoluteError='1e-6' FeedbackType='Negative' ";

std::string member(const std::string& type, const std::string& name,
                   const std::string& properties) {
    return "<Element Type='" + type + "' Name='" + name + "'><Properties " + properties +
           "/></Element>";
}

/// The slope of a gain: a table that gives `value` for any input.
std::string constant(const std::string& name, const std::string& value) {
    return member(
        "LookupTableFilter", name,
        "VinMin='-1' VinMax='1' DeltaV='1' Vout='" + value + "|" + value + "|" + value + "'");
}

/// A system whose one graph is the Newton element "N" on system input 0.
std::string newtonSystem(const std::string& properties, const std::string& chains) {
    return oneGraphSystem("<Element Type='Newton' Name='N'><Properties " + properties + "/>" +
                              chains +
                              "<Inputs><Input Port='in' Element='Graph' Output='0'/></Inputs>"
                              "</Element>",
                          "N");
}

std::shared_ptr<nodara::Driver> driverOf(const std::string& document, int block = 64) {
    auto driver = makeProductDriver(document);
    driver->setSampleRate(48000.0f);
    driver->setMaxBlockSize(block);
    return driver;
}

/// u³ over [−2, 2] and its slope 3u², as lookup tables.
std::string cubeTables(const std::string& name) {
    std::string cube, slope;
    for (int i = 0; i <= 800; ++i) {
        const double u = -2.0 + 0.005 * i;
        cube += (i ? "|" : "") + concat(u * u * u);
        slope += (i ? "|" : "") + concat(3 * u * u);
    }
    const std::string range = "VinMin='-2' VinMax='2' DeltaV='0.005' Vout='";
    return "<Forward>" + member("Gain", "drive", "Gain='2'") +
           member("LookupTableFilter", name, range + cube + "'") + "</Forward><ForwardDerivative>" +
           constant("drive-slope", "2") +
           member("LookupTableFilter", name + "-slope", range + slope + "'") +
           "</ForwardDerivative>";
}

// y = (2·(x − y/2))³: for any y, x = y/2 + ∛y / 2.
TEST(Newton, SolvesANonLinearLoopToItsClosedFormInAnyBlocks) {
    const std::string document =
        newtonSystem(tolerances + "MaxIterations='50'",
                     cubeTables("cube") + "<Feedback>" + member("Gain", "beta", "Gain='0.5'") +
                         "</Feedback><FeedbackDerivative>" + constant("beta-slope", "0.5") +
                         "</FeedbackDerivative>");
    std::vector<float> y(500), x(500);
    for (size_t i = 0; i < y.size(); ++i) {
        y[i] =
            static_cast<float>(0.9 * std::sin(0.05 * double(i)) + 0.05 * std::sin(1.3 * double(i)));
        x[i] = static_cast<float>(y[i] / 2.0 + std::cbrt(double(y[i])) / 2.0);
    }
    for (int block : {1, 7, 64}) {
        const auto out = runBlocks(*driverOf(document), {x}, size_t(block))[0];
        double worst = 0.0;
        for (size_t i = 0; i < y.size(); ++i) {
            worst = std::max(worst, std::fabs(double(out[i]) - y[i]));
        }
        EXPECT_LT(worst, 1e-4) << block;
    }
}

TEST(Newton, EmptyChainsNoIterationsAndLimits) {
    const std::vector<float> x = {1.0f, -0.5f, 0.25f};
    const auto run = [&](const std::string& properties) {
        return runBlocks(*driverOf(newtonSystem(tolerances + properties, "")), {x}, 3)[0];
    };
    // Without chains the loop is y = x − y, and the first step is half the error.
    EXPECT_EQ(run("MaxIterations='5'"), (std::vector<float>{0.5f, -0.25f, 0.125f}));
    EXPECT_EQ(run("MaxIterations='0'"), (std::vector<float>{0.0f, 0.0f, 0.0f}));
    // The estimate is held at 0.1, and each pass steps from there back to x/2: the output is
    // the value before the limit.
    EXPECT_FLOAT_EQ(run("MaxIterations='3' MaxValue='0.1'")[0], 0.5f);
    // Half steps: 0.25 after one pass, then 0.375 from there.
    EXPECT_EQ(run("MaxIterations='2' Relaxation='0.5'")[0], 0.375f);
}

// The two examples of the finite resamplers and of Newton: only the block after a change of
// Factor, which redesigns and grows buffers, may allocate.
TEST(Newton, ExamplesAllocateOnlyAtAChangeOfRate) {
    for (const char* name : {"newton-feedback.xml", "fir-oversampled-lookup.xml"}) {
        std::ifstream file(std::string(TORVANE_SOURCE_DIR) + "/examples/" + name);
        std::stringstream text;
        text << file.rdbuf();
        auto driver = driverOf(text.str(), 256);
        auto input = nodara::testing::noise(256, 1);
        const std::vector<float*> inputs = {input.data()};
        const auto blocks = [&](int count) {
            return nodara::testing::allocationsOf([&] {
                for (int block = 0; block < count; ++block) {
                    driver->process(inputs, 256);
                }
            });
        };
        blocks(1);
        EXPECT_EQ(blocks(10), 0) << name;
        (*driver->getControls())[0]->setValue(8.0f);
        blocks(1);
        EXPECT_EQ(blocks(10), 0) << name;
    }
}

TEST(Newton, FaultsGiveTheirClassAndMessage) {
    const auto withSettings = [](const std::string& settings) {
        return [settings] { made<Newton>(settings, "N"); };
    };
    const std::string errors = "RelativeError=1e-6 AbsoluteError=1e-6 ";
    auto newton = made<Newton>(errors + "MaxIterations=5 FeedbackType=Positive", "N");
    const auto load = [](const std::string& chains) {
        return
            [chains] { makeProductDriver(newtonSystem(tolerances + "MaxIterations='5'", chains)); };
    };
    const std::string gain = member("Gain", "g", "Gain='1'");
    expectFailures({
        {withSettings("AbsoluteError=1 MaxIterations=5 FeedbackType=Negative"), plain,
         "Newton: N missing RelativeError"},
        {withSettings(errors + "MaxIterations=5"), plain, "Newton: FeedbackType must be specified"},
        {withSettings(errors + "MaxIterations=5 FeedbackType=Inverted"), invalid,
         "Newton: Unknown FeedbackType: Inverted"},
        {[&] { newton->process(1.0f); }, unsupported, "Newton: Newton::process Not supported."},
        {load("<Forward>" + gain + gain + "</Forward><ForwardDerivative>" + gain +
              "</ForwardDerivative>"),
         invalid,
         "Newton: N has 2 Forward elements and 1 ForwardDerivative elements; each needs one "
         "derivative element beside it."},
        {load("<FeedbackDerivative>" + gain + "</FeedbackDerivative>"), invalid,
         "Newton: N has 0 Feedback elements and 1 FeedbackDerivative elements; each needs one "
         "derivative element beside it."},
        {load("<Feedback><Element Type='Gain' Name='g'><Properties Gain='1'/><Inputs/></Element>"
              "</Feedback><FeedbackDerivative>" +
              gain + "</FeedbackDerivative>"),
         plain, "Element g in the Feedback list of N has Inputs: a chain is wired in its order."},
        {load("<Forward>" + member("Gian", "g", "") + "</Forward>"), plain,
         "Unknown element type: Gian"},
    });
}

} // namespace
} // namespace torvane
