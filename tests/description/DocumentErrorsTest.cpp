#include "support/Documents.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

struct ErrorCase {
    const char* what;
    std::string document;
    std::string message;
};

const std::string gain = element("Gain", "A", "Gain=\"1\"", "Graph");

std::string graph(const std::string& attributes, const std::string& content) {
    return "<Graph " + attributes + ">" + content + "</Graph>";
}

std::string system(const std::string& graphs, const std::string& rest = "") {
    return "<System><Graphs>" + graphs + "</Graphs>" + rest + "</System>";
}

const std::string plainGraph =
    graph("Name=\"G\" Type=\"DSP\"",
          gain + "<Output><Node Name=\"out\" Element=\"A\" Index=\"0\"/></Output>"
                 "<NumberOfInputs>1</NumberOfInputs>");

std::string withControl(const std::string& control) {
    return system(plainGraph, "<Controls>" + control + "</Controls>");
}

std::vector<ErrorCase> grammarCases() {
    return {
        {"malformed xml", "<System><Graphs>", "Cannot load xml document. Error: Start-end tags mismatch"},
        {"no graphs", "<System><Graphs/></System>", "No graphs to parse."},
        {"graph without name", system(graph("Type=\"DSP\"", gain)), "Graph name is not specified"},
        {"reserved name", system(graph("Name=\"System\" Type=\"DSP\"", gain)),
         "\"System\" is a reserved graph name."},
        {"graph without type", system(graph("Name=\"G\"", gain)), "Graph type is not specified"},
        {"type in other case", system(graph("Name=\"G\" Type=\"dsp\"", gain)),
         "Graph type dsp is not a valid type. Graph: G"},
        {"zero multiplier", system(graph("Name=\"G\" Type=\"DSP\" Multiplier=\"0\"", gain)),
         "Invalid Graph Multiplier. Graph: G Multiplier: 0"},
        {"empty multiplier", system(graph("Name=\"G\" Type=\"DSP\" Multiplier=\"\"", gain)),
         "Invalid Graph Multiplier. Graph: G Multiplier: "},
        {"negative multiplier", system(graph("Name=\"G\" Type=\"DSP\" Multiplier=\"-2\"", gain)),
         "Invalid Graph Multiplier. Graph: G Multiplier: -2"},
        {"no elements", system(graph("Name=\"G\" Type=\"DSP\"", "")), "No elements in graph G"},
        {"unknown element type",
         system(graph("Name=\"G\" Type=\"DSP\"", "<Element Type=\"Nope\" Name=\"x\"/>")),
         "Unknown element type: Nope"},
        {"element without type",
         system(graph("Name=\"G\" Type=\"DSP\"", "<Element Name=\"x\"/>")), "Unknown element type: "},
        {"element without name",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      "<Element Type=\"Gain\"><Properties Gain=\"1\"/></Element>")),
         "Element name is not specified. Graph: G"},
        {"element with empty name",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      "<Element Type=\"Gain\" Name=\"\"><Properties Gain=\"1\"/></Element>")),
         "Element name is not specified. Graph: G"},
        {"duplicate element", system(graph("Name=\"G\" Type=\"DSP\"", gain + gain)),
         "DSPContext: Duplicate element name: A"},
        {"input without port",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      "<Element Type=\"Gain\" Name=\"A\"><Properties Gain=\"1\"/><Inputs>"
                      "<Input Element=\"Graph\" Output=\"0\"/></Inputs></Element>")),
         "Input without a Port name."},
        {"port refused by meta",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      "<Element Type=\"Gain\" Name=\"A\"><Properties Gain=\"1\"/><Inputs>"
                      "<Input Port=\"inn\" Element=\"Graph\" Output=\"0\"/></Inputs></Element>")),
         "Invalid input port name: inn. Expected \"in\"."},
        {"input without element",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      "<Element Type=\"Gain\" Name=\"A\"><Properties Gain=\"1\"/><Inputs>"
                      "<Input Port=\"in\" Output=\"0\"/></Inputs></Element>")),
         "Input without an Element name."},
        {"unknown source element",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      "<Element Type=\"Gain\" Name=\"A\"><Properties Gain=\"1\"/><Inputs>"
                      "<Input Port=\"in\" Element=\"B\" Output=\"out\"/></Inputs></Element>")),
         "Cannot find input filter with name B"},
        {"input without output",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      "<Element Type=\"Gain\" Name=\"A\"><Properties Gain=\"1\"/><Inputs>"
                      "<Input Port=\"in\" Element=\"Graph\"/></Inputs></Element>")),
         "Input without an Output port."},
        {"source output port refused",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      gain + element("Gain", "B", "Gain=\"1\"", "A", "output"))),
         "Invalid output port name: output. Expected \"out\"."},
        {"output node without name",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      gain + "<Output><Node Element=\"A\" Index=\"0\"/></Output>")),
         "Output Node without a name."},
        {"output node without element",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      gain + "<Output><Node Name=\"out\" Index=\"0\"/></Output>")),
         "Output Node without an Element attribute."},
        {"output node with unknown element",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      gain + "<Output><Node Name=\"out\" Element=\"Z\" Index=\"0\"/></Output>")),
         "Cannot find output filter with name Z"},
        {"output node without port or index",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      gain + "<Output><Node Name=\"out\" Element=\"A\"/></Output>")),
         "Output Node without a Port or an Index attribute."},
        {"graph input without graph",
         system(graph("Name=\"G\" Type=\"DSP\"", gain + "<Inputs><Input Node=\"0\"/></Inputs>")),
         "Input without a graph name."},
        {"graph input from unknown graph",
         system(graph("Name=\"G\" Type=\"DSP\"",
                      gain + "<Inputs><Input Graph=\"H\" Node=\"out\"/></Inputs>")),
         "Invalid input graph: H"},
        {"graph input without node",
         system(graph("Name=\"G\" Type=\"DSP\"", gain + "<Inputs><Input Graph=\"System\"/></Inputs>")),
         "Input without a Node name."},
        {"graph input from unknown node",
         system(plainGraph + graph("Name=\"H\" Type=\"DSP\"",
                                   gain + "<Inputs><Input Graph=\"G\" Node=\"nope\"/></Inputs>")),
         "Cannot find output node nope"},
        {"graph input from graph without outputs",
         system(graph("Name=\"G\" Type=\"DSP\"", gain) +
                graph("Name=\"H\" Type=\"DSP\"",
                      gain + "<Inputs><Input Graph=\"G\" Node=\"out\"/></Inputs>")),
         "Cannot find output node out"},
        {"system output without graph", system(plainGraph, "<Outputs><Output Node=\"out\"/></Outputs>"),
         "Output without a Graph name."},
        {"system output from unknown graph",
         system(plainGraph, "<Outputs><Output Graph=\"X\" Node=\"out\"/></Outputs>"),
         "Invalid system output graph name X"},
        {"system output without node", system(plainGraph, "<Outputs><Output Graph=\"G\"/></Outputs>"),
         "Output without a Node name."},
        {"system output from unknown node",
         system(plainGraph, "<Outputs><Output Graph=\"G\" Node=\"x\"/></Outputs>"),
         "Cannot find output node x for graph G"},
        {"control without name", withControl("<Control DisplayName=\"d\" Value=\"0\"/>"),
         "Control without a name."},
        {"control without display name", withControl("<Control Name=\"c\" Value=\"0\"/>"),
         "Control without a display name. Control name: c"},
        {"control without value", withControl("<Control Name=\"c\" DisplayName=\"d\"/>"),
         "Control without a Value. Control name: c"},
        {"control without properties",
         withControl("<Control Name=\"c\" DisplayName=\"d\" Value=\"0\"><UIProperties X=\"1\"/></Control>"),
         "Control without properties. Control name: c"},
        {"property without name",
         withControl("<Control Name=\"c\" DisplayName=\"d\" Value=\"0\"><Properties>"
                     "<Property Graph=\"G\"/></Properties></Control>"),
         "Property without a name."},
        {"property without graph",
         withControl("<Control Name=\"c\" DisplayName=\"d\" Value=\"0\"><Properties>"
                     "<Property Name=\"Gain\"/></Properties></Control>"),
         "Property without a graph. Property name: Gain"},
        {"property of unknown type",
         withControl("<Control Name=\"c\" DisplayName=\"d\" Value=\"0\"><Properties>"
                     "<Property Name=\"Gain\" Graph=\"G\" Type=\"vector\"/></Properties></Control>"),
         "Unknown property type vector"},
    };
}

TEST(DocumentErrors, EveryGrammarFaultEndsWithItsExactMessage) {
    for (const auto& error : grammarCases()) {
        EXPECT_EQ(initError(error.document), error.message) << error.what;
    }
}

TEST(DocumentErrors, BindingFaultsNameTheMissingTarget) {
    auto control = [](const std::string& property) {
        return withControl("<Control Name=\"c\" DisplayName=\"d\" Value=\"0\"><Properties>" +
                           property + "</Properties></Control>");
    };
    EXPECT_EQ(initError(control("<Property Name=\"Gain\" Graph=\"X\" Element=\"A\"/>")),
              "Invalid Property: Invalid graph name X. Property, name=Gain");
    EXPECT_EQ(initError(control("<Property Name=\"Gain\" Graph=\"G\" Element=\"B\"/>")),
              "DSOContext: Cannot find element with name B");
    EXPECT_EQ(initError(control("<Property Name=\"Gain\" Graph=\"G\" Element=\"A\"/>"
                                "<Property Name=\"Gain\" Graph=\"G\" Element=\"A\"/>")),
              "Driver: Multiple definitions of the same property. Property name: Gain graph: G "
              "element: A");
}

TEST(DocumentErrors, GraphFaultsFoundWhenTheSystemIsBuilt) {
    const std::string loop = element("Gain", "A", "Gain=\"1\"", "B") +
                             element("Gain", "B", "Gain=\"1\"", "A");
    EXPECT_EQ(initError(system(graph("Name=\"G\" Type=\"DSP\"",
                                     loop + "<NumberOfInputs>1</NumberOfInputs>"))),
              "Filters do not form a DAG.");
    EXPECT_EQ(initError(system(graph("Name=\"G\" Type=\"DSP\"", gain))),
              "Invalid number of outputs for DSPGraph G, number of outputs: 0");
    EXPECT_EQ(initError(system(graph("Name=\"G\" Type=\"DSP\"",
                                     gain + "<NumberOfInputs>-1</NumberOfInputs>"))),
              "Number of inputs must be greater than zero. Number of inputs =-1");
    EXPECT_EQ(initError(system(graph("Name=\"G\" Type=\"DSP\"",
                                     gain + "<Properties ProcessingMethod=\"Fast\"/>"))),
              "DSPGraph: Invalid ProcessingMethod property Fast");
}

TEST(DocumentErrors, IterativeGraphsNeedTheirThreeSettings) {
    auto iterative = [](const std::string& settings) {
        return initError(system(graph(
            "Name=\"G\" Type=\"DSP\"",
            "<Properties ProcessingMethod=\"Iterative\" " + settings + "/>" + gain +
                "<NumberOfInputs>1</NumberOfInputs>")));
    };
    EXPECT_EQ(iterative("AbsoluteTollerance=\"1\" MaxIterations=\"2\""),
              "DSPGraph: RelativeTollerance is not defined.");
    EXPECT_EQ(iterative("RelativeTollerance=\"1\" MaxIterations=\"2\""),
              "DSPGraph: AbsoluteTollerance is not defined.");
    EXPECT_EQ(iterative("RelativeTollerance=\"1\" AbsoluteTollerance=\"1\""),
              "DSPGraph: MaxIterations is not defined.");
    EXPECT_EQ(iterative("RelativeTollerance=\"0\" AbsoluteTollerance=\"1\" MaxIterations=\"2\""),
              "DSPGraph: RelativeTollerance must be greater than 0. relativeTollerance=0");
    EXPECT_EQ(iterative("RelativeTollerance=\"1\" AbsoluteTollerance=\"-1\" MaxIterations=\"2\""),
              "DSPGraph: AbsoluteTollerance must be greater than 0. AbsoluteTollerance=-1");
    EXPECT_EQ(iterative("RelativeTollerance=\"1\" AbsoluteTollerance=\"1\" MaxIterations=\"0\""),
              "DSPGraph: MaxIterations must be greater than 0. MaxIterations=0");
}

TEST(DocumentErrors, MultipliersMustAgreeAcrossTheNet) {
    const std::string up = graph("Name=\"Up\" Type=\"DSP\" Multiplier=\"2.0\"",
                                 gain + "<Inputs><Input Graph=\"System\" Node=\"0\"/></Inputs>"
                                        "<Output><Node Name=\"out\" Element=\"A\" Index=\"0\"/></Output>"
                                        "<NumberOfInputs>1</NumberOfInputs>");
    const std::string mix =
        graph("Name=\"Mix\" Type=\"DSP\"",
              gain + "<Inputs><Input Graph=\"Up\" Node=\"out\"/><Input Graph=\"System\" Node=\"0\"/>"
                     "</Inputs><Output><Node Name=\"out\" Element=\"A\" Index=\"0\"/></Output>"
                     "<NumberOfInputs>2</NumberOfInputs>");
    EXPECT_EQ(initError(system(up + mix)), "Invalid input multipliers for graph Mix");
    EXPECT_EQ(initError(system(up, "<Outputs><Output Graph=\"Up\" Node=\"out\"/></Outputs>")),
              "Invalid multiplier. Expected 1 but got 2");
}

TEST(DocumentErrors, GraphsThatFeedEachOtherAreRefused) {
    auto looped = [&](const std::string& name, const std::string& source) {
        return graph("Name=\"" + name + "\" Type=\"DSP\"",
                     gain + "<Inputs><Input Graph=\"" + source + "\" Node=\"out\"/></Inputs>"
                            "<Output><Node Name=\"out\" Element=\"A\" Index=\"0\"/></Output>"
                            "<NumberOfInputs>1</NumberOfInputs>");
    };
    EXPECT_EQ(initError(system(looped("P", "Q") + looped("Q", "P"))), "Graphs do not form a DAG.");
}

TEST(DocumentErrors, CircuitGraphsReachTheCircuitParser) {
    const std::string message =
        initError(system(graph("Name=\"C\" Type=\"MNA\"", "<Element Type=\"Resistor\" Name=\"R\"/>")));
    EXPECT_NE(message.find("MNA"), std::string::npos) << message;
    EXPECT_NE(message.find("Graph: C"), std::string::npos) << message;
}

} // namespace
} // namespace nodara::testing
