#include "dsp/elements/Gain.h"
#include "support/Documents.h"

#include "support/FailureCheck.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

using namespace failurecheck;

TEST(FilterCore, BlockSizesOnlyGrow) {
    auto gain = made<Gain>("Gain=1", "g", 8);
    scalar* buffer = gain->getOutput(0);
    gain->setMaxBlockSize(4);
    EXPECT_EQ(gain->getOutput(0), buffer) << "a smaller size keeps the buffer";
}

// Gain's own refusals, and those of a filter that handles no properties at all.
TEST(FilterCore, FaultsGiveTheirClassAndMessage) {
    struct Plain : BufferedFilter {
        Plain() : BufferedFilter("Plain") {}
    } bare;
    auto context = std::make_shared<DSPContext>();
    bare.init("p", context);
    auto gain = made<Gain>("Gain=1", "g");
    expectFailures({
        {[&] { gain->setMaxBlockSize(0); }, plain, "Gain: Invalid maxBlockSize0"},
        {[&] { gain->getOutput(1); }, invalid, "Gain: Invalid output index: 1"},
        {[&] { gain->propertyChanged("Level", 1.0f); }, invalid, "Gain: Invalid property name Level"},
        {[&] { bare.propertyChanged("X", 1.0f); }, unsupported,
         "propertyChanged(scalar) is not supported. Filter: p"},
    });
}

} // namespace
} // namespace nodara::testing
