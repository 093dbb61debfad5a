#include "dsp/Mixer.h"
#include "dsp/Relaxation.h"
#include "dsp/Switch.h"
#include "runtime/DSPContext.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

template <class T>
std::unique_ptr<T> made(const Properties& properties, const std::string& name = "e") {
    auto element = std::make_unique<T>();
    auto context = std::make_shared<DSPContext>();
    element->init(name, properties, context);
    return element;
}

std::shared_ptr<std::vector<scalar>> values(std::initializer_list<scalar> list) {
    return std::make_shared<std::vector<scalar>>(list);
}

TEST(Switch, ValidatesItsPortsAndPosition) {
    EXPECT_EQ(messageOf([] { made<Switch>({}); }), "Switch: Number of inputs must be specified");
    EXPECT_EQ(messageOf([] { made<Switch>({{"NumberOfInputs", "1"}}); }),
              "Switch: NumberOfInputs must be greater than 1.");
    EXPECT_EQ(messageOf([] { made<Switch>({{"NumberOfInputs", "2"}, {"Position", "2"}}); }),
              "Switch: Invalid position 2. NumberOfInputs=2");
    auto selector = made<Switch>({{"NumberOfInputs", "3"}});
    selector->propertyChanged("Position", 1.5f);
    EXPECT_EQ(selector->getPosition(), 2) << "rounds half up";
    EXPECT_EQ(messageOf([&] { selector->propertyChanged("Pos", 1.0f); }), "Switch: Unknown property Pos");
    EXPECT_EQ(messageOf([&] { selector->setMaxBlockSize(0); }), "Switch: Invalid maxBlockSize0");
    EXPECT_EQ(messageOf([&] { selector->getOutput(1); }), "Switch: Invalid output index: 1");
    EXPECT_THROW(selector->process(1.0f), OperationNotSupportedException);
}

TEST(Switch, PassesTheSelectedInputInBlocksAndIterations) {
    auto selector = made<Switch>({{"NumberOfInputs", "2"}, {"Position", "1"}});
    selector->setMaxBlockSize(2);
    std::vector<scalar> a = {1.0f, 2.0f}, b = {3.0f, 4.0f};
    selector->process({a.data(), b.data()}, 2);
    EXPECT_EQ(std::vector<scalar>(selector->getOutput(0), selector->getOutput(0) + 2), b);
    EXPECT_EQ((*selector->iteration(values({5.0f, 6.0f}), 0, 0))[0], 6.0f);
}

// The document must not set a negative position; if it does, both forms give silence.
TEST(Switch, ANegativePositionGivesSilence) {
    auto selector = made<Switch>({{"NumberOfInputs", "2"}, {"Position", "-1"}});
    selector->setMaxBlockSize(2);
    std::vector<scalar> a = {1.0f, 2.0f};
    selector->process({a.data(), a.data()}, 2);
    EXPECT_EQ(std::vector<scalar>(selector->getOutput(0), selector->getOutput(0) + 2),
              std::vector<scalar>(2, 0.0f));
    EXPECT_EQ((*selector->iteration(values({5.0f, 6.0f}), 0, 0))[0], 0.0f);
}

TEST(Mixer, SumsWeightedInputs) {
    auto mixer = made<Mixer>({{"Faders", "0.5|0.5"}});
    mixer->setMaxBlockSize(2);
    std::vector<scalar> a = {0.8f, -2.0f};
    mixer->process({a.data(), a.data()}, 2);
    EXPECT_EQ(mixer->getOutput(0)[0], 0.8f) << "two halves of one signal give that signal";
    EXPECT_EQ(mixer->getOutput(0)[1], -2.0f);
    mixer->propertyChanged("1", 0.0f);
    mixer->process({a.data(), a.data()}, 2);
    EXPECT_EQ(mixer->getOutput(0)[0], 0.4f);
}

TEST(Mixer, IterationsAccumulateWithoutClearing) {
    auto mixer = made<Mixer>({{"Faders", "0.5|0.25"}});
    const auto inputs = values({2.0f, 4.0f});
    EXPECT_EQ((*mixer->iteration(inputs, 0, 0))[0], 2.0f);
    EXPECT_EQ((*mixer->iteration(inputs, 0, 1))[0], 4.0f);
}

TEST(Mixer, RefusesBadFaders) {
    EXPECT_EQ(messageOf([] { made<Mixer>({}, "m"); }), "Faders is not defined. Mixer name=m");
    EXPECT_EQ(messageOf([] { made<Mixer>({{"Faders", "0.5"}}, "m"); }),
              "Number of Faders must be at least 2. Number of Faders: 1 Mixer name=m");
    EXPECT_EQ(messageOf([] { made<Mixer>({{"Faders", "0.5|1.5"}}); }), "Invalid fader value: 1.5");
    auto mixer = made<Mixer>({{"Faders", "0.5|0.5"}});
    EXPECT_EQ(messageOf([&] { mixer->propertyChanged("2", 0.1f); }), "Mixer: Invalid fader index 2");
    EXPECT_EQ(messageOf([&] { mixer->propertyChanged("x", 0.1f); }), "Mixer: Invalid fader index x");
    EXPECT_EQ(messageOf([&] { mixer->propertiesChanged({}); }),
              "propertiesChanged is not supported. Element: e");
}

TEST(Relaxation, BlendsTowardsTheInputAndExtrapolates) {
    auto unity = made<Relaxation>({{"Relaxation", "1"}});
    EXPECT_EQ((*unity->iteration(values({0.7f}), 0, 0))[0], 0.7f) << "r = 1 passes the input";

    auto half = made<Relaxation>({{"Relaxation", "0.5"}, {"Extrapolate", "true"}});
    EXPECT_EQ((*half->iteration(values({1.0f}), 0, 0))[0], 0.5f);
    EXPECT_EQ((*half->iteration(values({1.0f}), 0, 1))[0], 0.75f);
    half->endIteration(0);
    EXPECT_EQ((*half->getLastIterationResults())[0], 1.5f) << "2·0.75 − 0";
    half->reset();
    EXPECT_EQ((*half->iteration(values({1.0f}), 1, 0))[0], 0.5f) << "reset clears the previous value";
    EXPECT_EQ(half->process(3.0f), 0.0f);
}

TEST(Relaxation, RefusesBlocksAndBadFactors) {
    EXPECT_EQ(messageOf([] { made<Relaxation>({}, "r"); }),
              "Relaxation: Relaxation is not defined. Relaxation name=r");
    EXPECT_EQ(messageOf([] { made<Relaxation>({{"Relaxation", "0"}}, "r"); }),
              "Relaxation: Relaxation must be greater than 0. Relaxation=0 Relaxation name=r");
    auto relaxation = made<Relaxation>({{"Relaxation", "1"}}, "r");
    std::vector<scalar> block(2);
    EXPECT_EQ(messageOf([&] { relaxation->process({block.data()}, 2); }),
              "Relaxation: Block processing mode is not supported. Name: r");
    EXPECT_EQ(messageOf([&] { relaxation->getOutput(0); }),
              "Relaxation: Block processing mode is not supported. Name: r");
}

} // namespace
} // namespace nodara::testing
