#include "description/DSPElementFactory.h"
#include "dsp/elements/Gain.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

// A graph reads another that stands later in the document, from its second output node; the
// system outputs are that graph and the system input itself. The control's start value sets an
// element's property and a graph's bypass bit.
const std::string twoGraphs = R"(<?xml version="1.0"?>
<System><Graphs>
  <Graph Name="Late reader" Type="DSP">
    <Element Type="Gain" Name="1"><Properties Gain="2"/>
      <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs></Element>
    <Inputs><Input Graph="Source" Node="b"/></Inputs>
    <Output><Node Name="out" Element="1" Port="out"/></Output><NumberOfInputs>1</NumberOfInputs>
  </Graph>
  <Graph Name="Source" Type="DSP" Multiplier="1.0">
    <Element Type="Gain" Name="A"><Properties Gain="5"/>
      <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs></Element>
    <Element Type="Gain" Name="A2"><Properties Gain="3"/>
      <Inputs><Input Port="in" Element="A" Output="out"/></Inputs></Element>
    <Inputs><Input Graph="System" Node="x"/></Inputs><NumberOfInputs>1</NumberOfInputs>
    <Output><Node Name="a" Element="A" Index="0"/><Node Name="b" Element="A2" Index="0"/></Output>
  </Graph></Graphs>
  <Outputs><Output Graph="Late reader" Node="out"/><Output Graph="System" Node="0"/></Outputs>
  <Controls><Control Name="Drive" DisplayName="Drive" Value="1">
    <Properties><Property Name="Gain" Graph="Source" Element="A"/>
      <Property Name="Bypass_1" Graph="Late reader"/></Properties>
  </Control></Controls>
</System>)";

TEST(Parser, WiresGraphsOutputNodesAndControlsByName) {
    auto driver = driverFor(twoGraphs);
    const auto outputs = runBlocks(*driver, {{1.0f, -2.0f}}, 2);
    EXPECT_EQ(outputs[0], (std::vector<scalar>{3.0f, -6.0f})) << "gain A 1, A2 3, reader bypassed";
    EXPECT_EQ(outputs[1], (std::vector<scalar>{1.0f, -2.0f}));
}

TEST(Parser, SwitchPortsFollowItsInputCountAndUnwiredPortsAreSilent) {
    const std::string selector =
        "<Element Type='Switch' Name='S'><Properties NumberOfInputs='3'/><Inputs>"
        "<Input Port='in_2' Element='Twice' Output='out'/>"
        "<Input Port='in_' Element='Graph' Output='0'/></Inputs></Element>";
    auto driver = driverFor(oneGraphSystem(element("Gain", "Twice", "Gain='2'", "Graph") + selector,
                                           "S", "", controlOf("0", target("Position", "S"))));
    auto& pick = *(*driver->getControls())[0];
    const std::vector<std::vector<scalar>> input = {{1.0f, 2.0f}};
    EXPECT_EQ(runBlocks(*driver, input, 2)[0], (std::vector<scalar>{1.0f, 2.0f})) << "in_ is in_0";
    pick.setValue(1.0f);
    EXPECT_EQ(runBlocks(*driver, input, 2)[0], (std::vector<scalar>{0.0f, 0.0f})) << "in_1 unwired";
    pick.setValue(2.0f);
    EXPECT_EQ(runBlocks(*driver, input, 2)[0], (std::vector<scalar>{2.0f, 4.0f}));
    EXPECT_EQ(messageOf([&] {
                  pick.setValue(3.0f);
                  runBlocks(*driver, input, 2);
              }),
              "Switch: Invalid position 3. NumberOfInputs=3");
}

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

// The built-in table's entries show in the documents' messages; this is the order of lookup.
TEST(Factory, BuiltInTypesWinOverPluginTypes) {
    DSPElementFactory factory;
    auto product = std::make_shared<ProductFactory>();
    factory.addPluginFactory(product);
    std::unique_ptr<Filter> gain(factory.create("Gain"));
    EXPECT_EQ(product->created, 0);
    std::unique_ptr<Filter> special(factory.create("Special"));
    EXPECT_EQ(product->created, 1);
    EXPECT_EQ(messageOf([&] { factory.create("Other"); }), "Unknown element type: Other");
}

} // namespace
} // namespace nodara::testing
