#include "dsp/elements/Mixer.h"
#include "dsp/elements/Relaxation.h"
#include "dsp/elements/Switch.h"
#include "support/Documents.h"

#include "support/FailureCheck.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

using namespace failurecheck;

std::shared_ptr<std::vector<scalar>> values(std::initializer_list<scalar> list) {
    return std::make_shared<std::vector<scalar>>(list);
}

// A missing input count and a position past the inputs are refused by the document table.
TEST(Switch, ValidatesItsPortsAndPosition) {
    auto selector = made<Switch>("NumberOfInputs=3", "e");
    selector->propertyChanged("Position", 1.5f);
    EXPECT_EQ(selector->getPosition(), 2) << "rounds half up";
    EXPECT_THROW(selector->process(1.0f), OperationNotSupportedException);
    expectFailures({
        {[] { made<Switch>("NumberOfInputs=1"); }, invalid,
         "Switch: NumberOfInputs must be greater than 1."},
        {[&] { selector->propertyChanged("Pos", 1.0f); }, invalid, "Switch: Unknown property Pos"},
    });
}

// The document must not set a negative position; if it does, both forms give silence.
TEST(Switch, PassesTheSelectedInputInBlocksAndIterations) {
    std::vector<scalar> a = {1.0f, 2.0f}, b = {3.0f, 4.0f};
    const std::tuple<const char*, std::vector<scalar>, scalar> cases[] = {
        {"Position=1", b, 6.0f}, {"Position=-1", {0.0f, 0.0f}, 0.0f}};
    for (const auto& [position, block, iterated] : cases) {
        auto selector = made<Switch>(std::string("NumberOfInputs=2 ") + position, "e", 2);
        selector->process({a.data(), b.data()}, 2);
        EXPECT_EQ(std::vector<scalar>(selector->getOutput(0), selector->getOutput(0) + 2), block);
        EXPECT_EQ((*selector->iteration(values({5.0f, 6.0f}), 0, 0))[0], iterated) << position;
    }
}

TEST(Mixer, SumsWeightedInputs) {
    auto mixer = made<Mixer>("Faders=0.5|0.5", "e", 2);
    std::vector<scalar> a = {0.8f, -2.0f};
    mixer->process({a.data(), a.data()}, 2);
    EXPECT_EQ(mixer->getOutput(0)[0], 0.8f) << "two halves of one signal give that signal";
    EXPECT_EQ(mixer->getOutput(0)[1], -2.0f);
    mixer->propertyChanged("1", 0.0f);
    mixer->process({a.data(), a.data()}, 2);
    EXPECT_EQ(mixer->getOutput(0)[0], 0.4f);
}

TEST(Mixer, IterationsAccumulateWithoutClearing) {
    auto mixer = made<Mixer>("Faders=0.5|0.25");
    const auto inputs = values({2.0f, 4.0f});
    EXPECT_EQ((*mixer->iteration(inputs, 0, 0))[0], 2.0f);
    EXPECT_EQ((*mixer->iteration(inputs, 0, 1))[0], 4.0f);
}

// Missing faders and a fader above one are refused by the document table.
TEST(Mixer, RefusesBadFaders) {
    auto mixer = made<Mixer>("Faders=0.5|0.5", "e");
    expectFailures({
        {[] { made<Mixer>("Faders=0.5", "m"); }, invalid,
         "Number of Faders must be at least 2. Number of Faders: 1 Mixer name=m"},
        {[&] { mixer->propertyChanged("2", 0.1f); }, invalid, "Mixer: Invalid fader index 2"},
        {[&] { mixer->propertyChanged("x", 0.1f); }, invalid, "Mixer: Invalid fader index x"},
    });
}

TEST(Relaxation, BlendsTowardsTheInputAndExtrapolates) {
    auto unity = made<Relaxation>("Relaxation=1");
    EXPECT_EQ((*unity->iteration(values({0.7f}), 0, 0))[0], 0.7f) << "r = 1 passes the input";

    auto half = made<Relaxation>("Relaxation=0.5 Extrapolate=true");
    EXPECT_EQ((*half->iteration(values({1.0f}), 0, 0))[0], 0.5f);
    EXPECT_EQ((*half->iteration(values({1.0f}), 0, 1))[0], 0.75f);
    half->endIteration(0);
    EXPECT_EQ((*half->getLastIterationResults())[0], 1.5f) << "2·0.75 − 0";
    half->reset();
    EXPECT_EQ((*half->iteration(values({1.0f}), 1, 0))[0], 0.5f) << "reset clears the last value";
    EXPECT_EQ(half->process(3.0f), 0.0f);
}

// A missing or non-positive factor is refused by the document table.
TEST(Relaxation, RefusesBlocks) {
    auto relaxation = made<Relaxation>("Relaxation=1", "r");
    std::vector<scalar> block(2);
    expectFailures({
        {[&] { relaxation->process({block.data()}, 2); }, unsupported,
         "Relaxation: Block processing mode is not supported. Name: r"},
        {[&] { relaxation->getOutput(0); }, unsupported,
         "Relaxation: Block processing mode is not supported. Name: r"},
    });
}

} // namespace
} // namespace nodara::testing
