#include "support/Documents.h"
#include "support/Recorder.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

/// Up (x2) feeds Down (x0.5) which is the system output; a control switches both graphs.
std::string rateChain(const std::string& controlTargets) {
    return systemOf(graphOf("Up", "System", "Multiplier='2.0'") +
                        graphOf("Down", "Up", "Multiplier='0.5'"),
                    "Down",
                    "<Controls><Control Name='Switch' DisplayName='Switch' Value='0'>"
                    "<Properties>" + controlTargets + "</Properties></Control></Controls>");
}

struct RecordedSystem {
    std::shared_ptr<Driver> driver;
    std::shared_ptr<RecorderFactory> factory;
};

RecordedSystem recordedSystem(const std::string& document, int32 block = 64) {
    RecordedSystem system{std::make_shared<Driver>(), std::make_shared<RecorderFactory>()};
    std::istringstream stream(document);
    loadSystem(*system.driver, stream, {system.factory});
    system.driver->setSampleRate(48000.0f);
    system.driver->setMaxBlockSize(block);
    return system;
}

// Half a block of 63 frames is 31.5, rounded to 32.
TEST(Driver, GraphsRunAtTheRateOfTheirMultipliersInBlocksRoundedToTheNearestFrame) {
    auto up = recordedSystem(rateChain(""));
    auto half = recordedSystem(systemOf(graphOf("Half", "System", "Multiplier='0.5'") +
                                            graphOf("Back", "Half", "Multiplier='2.0'"),
                                        "Back"));
    EXPECT_EQ(up.driver->getMultipliers(), (std::vector<double>{1.0, 2.0}));
    std::vector<scalar> input = testSignal(63);
    up.driver->process({input.data()}, 63);
    half.driver->process({input.data()}, 63);
    EXPECT_EQ(up.factory->made[0]->blocks, std::vector<size_t>{63});
    EXPECT_EQ(up.factory->made[1]->blocks, std::vector<size_t>{126});
    EXPECT_EQ(up.factory->made[1]->rates.back(), 96000.0f);
    EXPECT_EQ(half.factory->made[1]->blocks, std::vector<size_t>{32});
}

TEST(Driver, SwitchingRateChangingGraphsMovesTheRatesAtTheNextBlock) {
    auto system = recordedSystem(rateChain("<Property Name='Bypass' Graph='Up'/>"
                                           "<Property Name='Bypass' Graph='Down'/>"));
    auto& down = *system.factory->made[1];
    runBlocks(*system.driver, {testSignal(10)}, 10);
    (*system.driver->getControls())[0]->setValue(1.0f);
    const auto input = testSignal(10);
    const auto output = runBlocks(*system.driver, {input}, 10)[0];
    EXPECT_EQ(system.driver->getMultipliers()[1], 1.0);
    EXPECT_EQ(down.rates.back(), 96000.0f)
        << "a bypassed graph keeps the rate it runs at when switched back in: no redesign";
    EXPECT_EQ(down.blocks.size(), 1u) << "a bypassed graph runs no filter";
    EXPECT_EQ(output, input);
}

TEST(Driver, SuspendingARateChangingGraphFailsOnTheAudioThread) {
    auto system = recordedSystem(rateChain("<Property Name='Suspend' Graph='Down'/>"));
    EXPECT_EQ(messageOf([&] { runBlocks(*system.driver, {testSignal(4)}, 4); }),
              "Graph: Cannot suspend a graph with the multiplier not equal to 1. multiplier=0.5");
    system.driver->setSuspended(true);
    EXPECT_TRUE(system.driver->isSuspended()) << "a failed block does not wedge suspend";
    EXPECT_FALSE(system.driver->isProcessing());
}

TEST(Driver, RefusesBlocksItCannotRun) {
    auto unset = std::make_shared<Driver>();
    std::istringstream document(oneGraphSystem(element("Gain", "A", "Gain='1'", "Graph"), "A"));
    loadSystem(*unset, document);
    std::vector<scalar> input(4, 0.0f);
    EXPECT_EQ(messageOf([&] { unset->process({input.data()}, 4); }),
              "Driver: Cannot process. maxBlockSize is not set.");
    EXPECT_EQ(messageOf([&] { unset->setMaxBlockSize(0); }),
              "Driver: maxBlockSize must be greater than zero. maxBlockSize=0");
    unset->setMaxBlockSize(4);
    unset->setSuspended(true);
    EXPECT_EQ(messageOf([&] { unset->process({input.data()}, 4); }),
              "Driver: Cannot process. Driver is in the suspend state.");
    unset->setSuspended(false);
    EXPECT_NO_THROW(unset->process({input.data()}, 4));
    for (int32 frames : {-1, 5}) {
        EXPECT_EQ(messageOf([&] { unset->process({input.data()}, frames); }),
                  concat("Driver: Cannot process a block of ", frames, " frames. maxBlockSize=4"));
    }
    EXPECT_EQ(messageOf([&] { unset->process({}, 4); }),
              "Driver: the system reads input 0 but 0 input(s) were given.");
}

TEST(Driver, SystemOutputsCanPassTheHostInputThrough) {
    const std::string document =
        "<System><Graphs><Graph Name='G' Type='DSP'>" + element("Gain", "A", "Gain='2'", "Graph") +
        "<Inputs><Input Graph='System' Node='1'/></Inputs><NumberOfInputs>1</NumberOfInputs>"
        "</Graph></Graphs><Outputs><Output Graph='System' Node='1'/></Outputs></System>";
    auto driver = driverFor(document, 8);
    EXPECT_EQ(driver->getNumberOfSystemInputs(), 2);
    std::vector<scalar> left(8), right(8);
    driver->process({left.data(), right.data()}, 8);
    EXPECT_EQ((*driver->getOutputs())[0], right.data());
}

TEST(Driver, TwoWiresFromOneSourceGraphAreOneDependency) {
    const std::string document =
        "<System><Graphs><Graph Name='Sum' Type='DSP'><Element Type='Switch' Name='S'>"
        "<Properties NumberOfInputs='2' Position='1'/><Inputs><Input Port='in_0' Element='Graph' "
        "Output='0'/><Input Port='in_1' Element='Graph' Output='1'/></Inputs></Element><Inputs>"
        "<Input Graph='Pre' Node='a'/><Input Graph='Pre' Node='b'/></Inputs><Output><Node "
        "Name='out' Element='S' Port='out'/></Output><NumberOfInputs>2</NumberOfInputs></Graph>"
        "<Graph Name='Pre' Type='DSP'>" + element("Gain", "A", "Gain='2'", "Graph") +
        element("Gain", "B", "Gain='3'", "Graph") + "<Inputs><Input Graph='System' Node='0'/>"
        "</Inputs><Output><Node Name='a' Element='A' Index='0'/><Node Name='b' Element='B' "
        "Index='0'/></Output><NumberOfInputs>1</NumberOfInputs></Graph></Graphs><Outputs>"
        "<Output Graph='Sum' Node='out'/></Outputs></System>";
    auto driver = driverFor(document, 4);
    EXPECT_EQ(driver->getOrder(), (std::vector<int32>{1, 0}));
    EXPECT_EQ(runBlocks(*driver, {{1.0f, 2.0f}}, 2)[0], (std::vector<scalar>{3.0f, 6.0f}));
}

TEST(Driver, ControlValuesApplyAtTheHeadOfTheNextBlock) {
    const auto gain = element("Gain", "A", "Gain='5'", "Graph");
    auto driver = driverFor(oneGraphSystem(gain, "A", "", controlOf("1", target("Gain", "A"))), 4);
    EXPECT_EQ(runBlocks(*driver, {{1.0f, 1.0f}}, 2)[0], (std::vector<scalar>{1.0f, 1.0f}))
        << "the control's initial value replaces the document's";
    (*driver->getControls())[0]->setValue(0.25f);
    EXPECT_EQ(runBlocks(*driver, {{1.0f, 1.0f, 1.0f}}, 3)[0], std::vector<scalar>(3, 0.25f));
}

// A chain of graphs, and one that changes the rate up and down around a curve.
TEST(Driver, OutputDoesNotDependOnTheBlockSize) {
    const std::string lookup = "VinMin='-1' VinMax='1' DeltaV='0.5' Vout='-1|-0.9|0|0.9|1'";
    const std::string up = "CornerFrequency='15000' Factor='4' Order='2' Cascade='4' Type='Butterworth'";
    const std::string down = "CornerFrequency='20000' Factor='4' Order='3' Cascade='2' Type='Bessel'";
    const std::string documents[] = {
        systemOf(graphOf("Pre", "System", "", "Gain", "Gain='0.5'") +
                     graphOf("Post", "Pre", "", "LookupTableFilter", lookup), "Post"),
        systemOf(graphOf("Up", "System", "Multiplier='4.0'", "IirInterpolator", up) +
                     graphOf("Shape", "Up", "", "LookupTableFilter", lookup) +
                     graphOf("Down", "Shape", "Multiplier='0.25'", "IirDecimator", down),
                 "Down"),
    };
    const auto input = testSignal(600);
    for (const auto& document : documents) {
        const auto expected = runBlocks(*driverFor(document, 600), {input}, 600)[0];
        for (size_t block : {1u, 7u, 64u, 256u}) {
            EXPECT_EQ(runBlocks(*driverFor(document, int32(block)), {input}, block)[0], expected)
                << "block " << block;
        }
    }
}

// A stage whose output sits at 5 V for silence feeds a coupling high pass: from rest, the
// first block would carry the whole step. Settling brings it to its operating point, also
// while the graph is off, so that neither a start nor switching the graph in thumps.
TEST(Driver, SettlingStartsEveryGraphAtItsOperatingPoint) {
    const std::string elements =
        element("LookupTableFilter", "T", "VinMin='-1' VinMax='1' DeltaV='1' Vout='5|5|5'",
                "Graph") +
        element("FirstOrderIIR", "H", "A='-0.999' B='1|-1'", "T");
    for (const std::string off : {"0", "1"}) {
        auto driver = driverFor(oneGraphSystem(elements, "H", "", controlOf(off, target("Off"))));
        driver->settle();
        (*driver->getControls())[0]->setValue(0.0f);
        const auto out = runBlocks(*driver, {std::vector<scalar>(64)}, 64)[0];
        EXPECT_LT(peak(out), 1e-6) << "off " << off;
    }
}

} // namespace
} // namespace nodara::testing
