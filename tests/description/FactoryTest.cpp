#include "description/DSPElementFactory.h"
#include "description/ElementMetas.h"
#include "dsp/Convolver.h"
#include "dsp/Gain.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

/// A product factory that claims "Gain" and one type of its own.
class ProductFactory : public PluginDSPElementFactory {
public:
    Filter* create(const std::string& type) override {
        ++created;
        if (type == "Special") {
            return new Gain();
        }
        throw NodaraException("Unknown element type: " + type);
    }
    bool hasType(const std::string& type) override { return type == "Special" || type == "Gain"; }
    int created = 0;
};

// No document here uses the plain convolver, so its type is checked directly.
TEST(Factory, BuiltInTypesWinOverPluginTypes) {
    DSPElementFactory factory;
    auto product = std::make_shared<ProductFactory>();
    factory.addPluginFactory(product);
    std::unique_ptr<Filter> gain(factory.create("Gain")), convolver(factory.create("Convolver"));
    EXPECT_EQ(product->created, 0);
    EXPECT_NE(dynamic_cast<Convolver*>(convolver.get()), nullptr);
    std::unique_ptr<Filter> special(factory.create("Special"));
    EXPECT_EQ(product->created, 1);
    EXPECT_EQ(messageOf([&] { factory.create("Other"); }), "Unknown element type: Other");
}

// The ports that documents name wrongly are refused by the document table; these are the rest.
TEST(Metas, RefusedPortNamesGiveTheirMessages) {
    auto selector = std::make_shared<SwitchMeta>();
    selector->setNumberOfInputs(2);
    EXPECT_EQ(messageOf([&] { MixerMeta::instance()->getInputIndex("in_0"); }),
              "Invalid input port name: in_0. Expected \"in\".");
    EXPECT_EQ(messageOf([&] { selector->getInputIndex("in_-1"); }),
              "SwitchMeta: Invalid input port in_-1, NumberOfInputs=2");
    for (const auto& meta : {BasicFilterMeta::instance(), MixerMeta::instance(),
                             DifferentialFilterMeta::instance(),
                             std::shared_ptr<ElementMeta>(selector)}) {
        EXPECT_EQ(messageOf([&] { meta->getOutputIndex("in"); }),
                  "Invalid output port name: in. Expected \"out\".");
        EXPECT_EQ(meta->getOutputIndex("out"), 0);
        EXPECT_EQ(meta->getNumberOfOutputs(), 1);
    }
}

} // namespace
} // namespace nodara::testing
