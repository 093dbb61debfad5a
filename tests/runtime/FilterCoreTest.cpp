#include "dsp/Gain.h"
#include "runtime/DSPContext.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

std::unique_ptr<Gain> gainOf(scalar value, const std::string& name = "g") {
    auto gain = std::make_unique<Gain>();
    auto context = std::make_shared<DSPContext>();
    gain->init(name, {{"Gain", std::to_string(value)}}, context);
    return gain;
}

TEST(FilterCore, BlockSizesOnlyGrow) {
    auto gain = gainOf(1.0f);
    EXPECT_EQ(messageOf([&] { gain->setMaxBlockSize(0); }), "Gain: Invalid maxBlockSize0");
    gain->setMaxBlockSize(8);
    scalar* buffer = gain->getOutput(0);
    gain->setMaxBlockSize(4);
    EXPECT_EQ(gain->getOutput(0), buffer) << "a smaller size keeps the buffer";
    EXPECT_EQ(messageOf([&] { gain->getOutput(1); }), "Gain: Invalid output index: 1");
}

TEST(FilterCore, GainScalesBlocksInPlaceAndIterations) {
    auto gain = gainOf(0.5f);
    std::vector<scalar> block = {2.0f, -4.0f, 1.0f};
    gain->process(block.data(), block.data(), block.size());
    EXPECT_EQ(block, (std::vector<scalar>{1.0f, -2.0f, 0.5f}));
    gain->propertyChanged("Gain", 3.0f);
    EXPECT_EQ(messageOf([&] { gain->propertyChanged("Level", 1.0f); }),
              "Gain: Invalid property name Level");
    gain->setMaxBlockSize(4);
    auto inputs = std::make_shared<std::vector<scalar>>(1, 1.5f);
    EXPECT_FLOAT_EQ((*gain->iteration(inputs, 2, 0))[0], 4.5f);
    gain->endIteration(2);
    EXPECT_FLOAT_EQ(gain->getOutput(0)[2], 4.5f);
    EXPECT_THROW(gain->process(1.0f), OperationNotSupportedException);
    EXPECT_EQ(messageOf([] {
                  Gain missing;
                  auto context = std::make_shared<DSPContext>();
                  missing.init("m", Properties{}, context);
              }),
              "Gain is not defined. Gain name=m");
}

TEST(FilterCore, FiltersWithoutHandlersRefuseScalarProperties) {
    struct Plain : BufferedFilter {
        Plain() : BufferedFilter("Plain") {}
    } plain;
    auto context = std::make_shared<DSPContext>();
    plain.init("p", context);
    EXPECT_EQ(messageOf([&] { plain.propertyChanged("X", 1.0f); }),
              "propertyChanged(scalar) is not supported. Filter: p");
    EXPECT_EQ(messageOf([&] { plain.propertiesChanged({}); }),
              "propertiesChanged is not supported. Element: p");
    EXPECT_EQ(messageOf([&] { plain.propertyChanged("X", std::make_shared<std::vector<scalar>>()); }),
              "propertyChanged(vector) is not supported. Element: p");
}

TEST(FilterCore, ContextsFindAndOwnTheirFilters) {
    auto context = std::make_shared<DSPContext>();
    auto* gain = new Gain();
    gain->init("a", Properties{{"Gain", "1"}}, context);
    context->addElement(gain);
    EXPECT_EQ(context->getElement("a"), gain);
    EXPECT_EQ(messageOf([&] { context->getElement(""); }),
              "DSOContext: Cannot find element with name ");
    auto duplicate = gainOf(1.0f, "a");
    EXPECT_EQ(messageOf([&] { context->addElement(duplicate.get()); }),
              "DSPContext: Duplicate element name: a");
}

} // namespace
} // namespace nodara::testing
