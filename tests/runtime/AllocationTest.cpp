// Counts heap allocations on the audio path: steady-state blocks must allocate nothing. The
// block after a change of rate, which may allocate, is counted through the plug-in.
#include "support/AllocationCounter.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

/// Allocations of `count` blocks of 256 frames.
long allocationsOfBlocks(Driver& driver, int count) {
    static std::vector<scalar> input = testSignal(256);
    static const std::vector<scalar*> inputs = {input.data()};
    return allocationsOf([&] {
        for (int block = 0; block < count; ++block) {
            driver.process(inputs, 256);
        }
    });
}

TEST(Allocation, SteadyStateBlocksAllocateNothing) {
    if (!callsAreCounted()) {
        GTEST_SKIP() << "a sanitizer's build counts nothing";
    }
    const std::string controls =
        controlOf("0.5", target("Gain", "A") + target("Position", "S") + target("Bypass_2"));
    const std::string elements =
        element("Gain", "A", "Gain='2'", "Graph") +
        element("LookupTableFilter", "T", "VinMin='-1' VinMax='1' DeltaV='1' Vout='-1|0|1'", "A") +
        "<Element Type='Switch' Name='S'><Properties NumberOfInputs='2'/><Inputs>"
        "<Input Port='in_0' Element='T' Output='out'/><Input Port='in_1' Element='A' "
        "Output='out'/></Inputs></Element>";
    for (const std::string method : {"Block", "Sequential"}) {
        const auto properties = "<Properties ProcessingMethod='" + method + "'/>";
        auto driver = driverFor(oneGraphSystem(elements, "S", properties, controls), 256);
        allocationsOfBlocks(*driver, 1);
        (*driver->getControls())[0]->setValue(0.25f);
        EXPECT_EQ(allocationsOfBlocks(*driver, 10), 0) << method;
    }
}

} // namespace
} // namespace nodara::testing
