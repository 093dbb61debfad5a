#include "description/DSPElementFactory.h"
#include "dsp/elements/ElementMetas.h"
#include "description/NewParser.h"
#include "dsp/convolution/Convolver.h"
#include "dsp/elements/Gain.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

const std::string twoGraphs = R"(<?xml version="1.0"?>
<!-- graphs may read from graphs that stand later in the document -->
<System><Graphs>
  <Graph Name="Late reader" Type="DSP">
    <Element Type="Gain" Name="1"><Properties Gain="2"/>
      <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs></Element>
    <Inputs><Input Graph="Source" Node="b"/></Inputs>
    <Output><Node Name="out" Element="1" Port="out"/></Output><NumberOfInputs>1</NumberOfInputs>
  </Graph>
  <Graph Name="Source" Type="DSP" Multiplier="1.0">
    <Element Type="Gain" Name="A"><Properties Gain="1"/>
      <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs></Element>
    <Element Type="Gain" Name="A2"><Properties Gain="3"/>
      <Inputs><Input Port="in" Element="A" Output="out"/></Inputs></Element>
    <Inputs><Input Graph="System" Node="x"/></Inputs><NumberOfInputs>1</NumberOfInputs>
    <Output><Node Name="a" Element="A" Index="0"/><Node Name="b" Element="A2" Index="0"/></Output>
  </Graph></Graphs>
  <Outputs><Output Graph="Late reader" Node="out"/><Output Graph="System" Node="0"/></Outputs>
  <Controls><Control Name="Drive" DisplayName="Drive" Value="0.25">
    <UIProperties Image="knob.png" ControlType="CAnimKnob" X="10" Y="20" Width="66" Height="66"
                  NumberOfImages="3" HeightOfOneImage="20.0"/>
    <Properties><Property Name="Gain" Graph="Source" Element="A"/>
      <Property Name="Bypass_1" Graph="Late reader"/></Properties>
  </Control></Controls>
</System>)";

TEST(Parser, BuildsGraphsWiresOutputsAndControls) {
    NewParser parser;
    parser.parse(twoGraphs);
    ASSERT_EQ(parser.getGraphs()->size(), 2u);
    EXPECT_EQ((*parser.getGraphs())[0]->getName(), "Late reader");
    EXPECT_EQ(*(*parser.getInputGraphs())[0], std::vector<int32>{1});
    EXPECT_EQ(*(*parser.getInputNodes())[0], std::vector<int32>{1}) << "node b is output 1";
    EXPECT_EQ(*(*parser.getInputNodes())[1], std::vector<int32>{0}) << "\"x\" converts to input 0";
    EXPECT_EQ(*parser.getOutputGraphs(), (std::vector<int32>{0, -1}));
    EXPECT_EQ(*parser.getOutputNodes(), (std::vector<int32>{0, 0}));

    const auto& control = *(*parser.getControls())[0];
    EXPECT_EQ(control.getName(), "Drive");
    EXPECT_EQ(control.getImage(), "knob.png");
    EXPECT_DOUBLE_EQ(control.getHeightOfOneImage(), 20.0);
    const auto& targets = *control.getProperties();
    ASSERT_EQ(targets.size(), 2u);
    EXPECT_EQ(targets[1]->elementName, "") << "a graph property";
    EXPECT_EQ(targets[1]->index, -1) << "bound later by the driver";
    EXPECT_FLOAT_EQ(targets[0]->value, 0.25f);
}

TEST(Parser, OptionalPartsMayBeAbsent) {
    NewParser parser;
    parser.parse(oneGraphSystem(element("Gain", "A", "Gain='1'", "Graph"), "A"));
    EXPECT_EQ(parser.getControls(), nullptr);

    NewParser bare;
    bare.parse("<System><Graphs><Graph Name='G' Type='DSP'><Element Type='Gain' Name='A'>"
               "<Properties Gain='1'/></Element><NumberOfInputs/></Graph></Graphs></System>");
    EXPECT_EQ(bare.getOutputGraphs(), nullptr);
    EXPECT_EQ((*bare.getInputGraphs())[0], nullptr);
    EXPECT_EQ((*bare.getGraphs())[0]->getNumberOfInputs(), 0) << "empty NumberOfInputs is 0";
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

TEST(Parser, ASourceMayStandLaterInTheGraph) {
    auto driver = driverFor(oneGraphSystem(element("Gain", "B", "Gain='5'", "A") +
                                               element("Gain", "A", "Gain='2'", "Graph"),
                                           "B"));
    EXPECT_EQ(runBlocks(*driver, {{1.0f, -1.0f}}, 2)[0], (std::vector<scalar>{10.0f, -10.0f}));
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
