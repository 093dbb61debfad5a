#include "support/Documents.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

struct ErrorCase {
    const char* what;
    std::string document;
    std::string message;
    const std::type_info& type = typeid(NodaraException);
};

const std::type_info& invalidArgument = typeid(InvalidArgumentException);

const std::string gain = element("Gain", "A", "Gain=\"1\"", "Graph");

std::string graph(const std::string& attributes, const std::string& content) {
    return "<Graph " + attributes + ">" + content + "</Graph>";
}

std::string system(const std::string& graphs, const std::string& rest = "") {
    return "<System><Graphs>" + graphs + "</Graphs>" + rest + "</System>";
}

/// A system of one graph G holding `content`.
std::string inG(const std::string& content) {
    return system(graph("Name=\"G\" Type=\"DSP\"", content));
}

/// A system of one graph G holding the element `type` named A with `properties`.
std::string made(const std::string& type, const std::string& properties) {
    return inG("<Element Type=\"" + type + "\" Name=\"A\"><Properties " + properties +
               "/></Element>");
}

/// A circuit graph C of one resistor and the analysis `analysis`.
std::string circuit(const std::string& analysis) {
    return system(graph("Name=\"C\" Type=\"MNA\"",
                        "<Element Type=\"Resistor\" Name=\"R\"><Properties R=\"1\"/>"
                        "<Node Name=\"a\"/><Node Name=\"0\"/></Element>" + analysis));
}

/// A circuit graph C whose only element is `element`, with a linear DC analysis.
std::string circuitElement(const std::string& element) {
    return system(graph("Name=\"C\" Type=\"MNA\"",
                        element + "<Analysis Type=\"DC\"><Solver Type=\"Linear\"/></Analysis>"));
}

const std::string newton = "<Solver Type=\"NewtonRaphson\"><Properties MaxIterations=\"9\"/></Solver>";

/// A system of one Gain element A whose single input has the attributes `input`.
std::string gainReading(const std::string& input) {
    return inG("<Element Type=\"Gain\" Name=\"A\"><Properties Gain=\"1\"/><Inputs><Input " + input +
               "/></Inputs></Element>");
}

const std::string plainGraph =
    graph("Name=\"G\" Type=\"DSP\"",
          gain + "<Output><Node Name=\"out\" Element=\"A\" Index=\"0\"/></Output>"
                 "<NumberOfInputs>1</NumberOfInputs>");

/// Graph `name` whose Gain A reads the graph inputs `inputs` and gives node "out".
std::string gainGraph(const std::string& name, const std::string& attributes,
                      const std::string& inputs, int count = 1) {
    return graph("Name=\"" + name + "\" Type=\"DSP\" " + attributes,
                 gain + "<Inputs>" + inputs + "</Inputs><Output><Node Name=\"out\" Element=\"A\" "
                 "Index=\"0\"/></Output><NumberOfInputs>" + std::to_string(count) + "</NumberOfInputs>");
}

/// An iterative graph with the given settings.
std::string iterative(const std::string& settings) {
    return inG("<Properties ProcessingMethod=\"Iterative\" " + settings + "/>" + gain +
               "<NumberOfInputs>1</NumberOfInputs>");
}

/// The plain graph with one control whose attributes and content are `control`.
std::string withControl(const std::string& control) {
    return system(plainGraph, "<Controls><Control " + control + "</Control></Controls>");
}

/// The plain graph with a control "c" setting the properties `properties`.
std::string controlSetting(const std::string& properties) {
    return withControl("Name=\"c\" DisplayName=\"d\" Value=\"0\"><Properties>" + properties +
                       "</Properties>");
}

std::vector<ErrorCase> errorCases() {
    return {
        {"malformed xml", "<System><Graphs>", "Cannot load xml document. Error: Start-end tags mismatch"},
        {"empty document", "", "Cannot load xml document. Error: No document element found"},
        {"text that is not xml", "Gain=1", "Cannot load xml document. Error: No document element found"},
        {"another root", "<Amp><Graphs>" + plainGraph + "</Graphs></Amp>", "No graphs to parse."},
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
        {"multiplier that is not a number", system(graph("Name=\"G\" Type=\"DSP\" Multiplier=\"nan\"", gain)),
         "Invalid Graph Multiplier. Graph: G Multiplier: nan"},
        {"no elements", inG(""), "No elements in graph G"},
        {"unknown element type", inG("<Element Type=\"Nope\" Name=\"x\"/>"),
         "Unknown element type: Nope"},
        {"element without type", inG("<Element Name=\"x\"/>"), "Unknown element type: "},
        {"element without name", inG("<Element Type=\"Gain\"><Properties Gain=\"1\"/></Element>"),
         "Element name is not specified. Graph: G"},
        {"element with empty name",
         inG("<Element Type=\"Gain\" Name=\"\"><Properties Gain=\"1\"/></Element>"),
         "Element name is not specified. Graph: G"},
        {"duplicate element", inG(gain + gain), "DSPContext: Duplicate element name: A"},
        {"gain without gain", made("Gain", ""), "Gain is not defined. Gain name=A"},
        {"switch without inputs", made("Switch", ""), "Switch: Number of inputs must be specified",
         invalidArgument},
        {"switch past its inputs", made("Switch", "NumberOfInputs=\"2\" Position=\"2\""),
         "Switch: Invalid position 2. NumberOfInputs=2", invalidArgument},
        {"mixer without faders", made("Mixer", ""), "Faders is not defined. Mixer name=A",
         invalidArgument},
        {"mixer fader above one", made("Mixer", "Faders=\"0.5|1.25\""), "Invalid fader value: 1.25",
         invalidArgument},
        {"relaxation without factor", made("Relaxation", ""),
         "Relaxation: Relaxation is not defined. Relaxation name=A"},
        {"negative relaxation", made("Relaxation", "Relaxation=\"-0.5\""),
         "Relaxation: Relaxation must be greater than 0. Relaxation=-0.5 Relaxation name=A",
         invalidArgument},
        {"table without spacing", made("LookupTableFilter", "VinMin=\"-1\" VinMax=\"1\""),
         "DeltaV is not defined. LookupTableAmp name=A", invalidArgument},
        {"repeated attribute keeps the first", made("LookupTableFilter", "VinMin=\"-1\" VinMax=\"1\" DeltaV=\"0\" DeltaV=\"1\""),
         "DeltaV must be greater than 0. LookupTableAmp name=A", invalidArgument},
        {"input without port", gainReading("Element=\"Graph\" Output=\"0\""),
         "Input without a Port name."},
        {"port refused by meta", gainReading("Port=\"inn\" Element=\"Graph\" Output=\"0\""),
         "Invalid input port name: inn. Expected \"in\".", invalidArgument},
        {"switch port without prefix",
         inG("<Element Type=\"Switch\" Name=\"S\"><Properties NumberOfInputs=\"2\"/><Inputs><Input "
             "Port=\"0\" Element=\"Graph\" Output=\"0\"/></Inputs></Element>"),
         "Invalid input port name: 0. INput port name must start with \"in_\" followed by a number.",
         invalidArgument},
        {"switch port past its inputs",
         inG("<Element Type=\"Switch\" Name=\"S\"><Properties NumberOfInputs=\"2\"/><Inputs><Input "
             "Port=\"in_2\" Element=\"Graph\" Output=\"0\"/></Inputs></Element>"),
         "SwitchMeta: Invalid input port in_2, NumberOfInputs=2", invalidArgument},
        {"input without element", gainReading("Port=\"in\" Output=\"0\""),
         "Input without an Element name."},
        {"unknown source element", gainReading("Port=\"in\" Element=\"B\" Output=\"out\""),
         "Cannot find input filter with name B"},
        {"input without output", gainReading("Port=\"in\" Element=\"Graph\""),
         "Input without an Output port."},
        {"source output port refused", inG(gain + element("Gain", "B", "Gain=\"1\"", "A", "output")),
         "Invalid output port name: output. Expected \"out\".", invalidArgument},
        {"output node without name", inG(gain + "<Output><Node Element=\"A\" Index=\"0\"/></Output>"),
         "Output Node without a name."},
        {"output node without element", inG(gain + "<Output><Node Name=\"out\" Index=\"0\"/></Output>"),
         "Output Node without an Element attribute."},
        {"output node with unknown element",
         inG(gain + "<Output><Node Name=\"out\" Element=\"Z\" Index=\"0\"/></Output>"),
         "Cannot find output filter with name Z"},
        {"output node without port or index",
         inG(gain + "<Output><Node Name=\"out\" Element=\"A\"/></Output>"),
         "Output Node without a Port or an Index attribute."},
        {"output node past the element's outputs",
         inG(gain + "<Output><Node Name=\"out\" Element=\"A\" Index=\"1\"/></Output>"),
         "Output Node out: element A has no output with index 1", invalidArgument},
        {"graph input without graph", inG(gain + "<Inputs><Input Node=\"0\"/></Inputs>"),
         "Input without a graph name."},
        {"graph input from unknown graph",
         inG(gain + "<Inputs><Input Graph=\"H\" Node=\"out\"/></Inputs>"), "Invalid input graph: H"},
        {"graph input without node", inG(gain + "<Inputs><Input Graph=\"System\"/></Inputs>"),
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
        {"control without name", withControl("DisplayName=\"d\" Value=\"0\">"), "Control without a name."},
        {"control without display name", withControl("Name=\"c\" Value=\"0\">"),
         "Control without a display name. Control name: c"},
        {"control without value", withControl("Name=\"c\" DisplayName=\"d\">"),
         "Control without a Value. Control name: c"},
        {"control without properties",
         withControl("Name=\"c\" DisplayName=\"d\" Value=\"0\"><UIProperties X=\"1\"/>"),
         "Control without properties. Control name: c"},
        {"property without name", controlSetting("<Property Graph=\"G\"/>"), "Property without a name."},
        {"property without graph", controlSetting("<Property Name=\"Gain\"/>"),
         "Property without a graph. Property name: Gain"},
        {"property of unknown type", controlSetting("<Property Name=\"Gain\" Graph=\"G\" Type=\"vector\"/>"),
         "Unknown property type vector"},
        {"property of an unknown graph",
         controlSetting("<Property Name=\"Gain\" Graph=\"X\" Element=\"A\"/>"),
         "Invalid Property: Invalid graph name X. Property, name=Gain"},
        {"property of an unknown element",
         controlSetting("<Property Name=\"Gain\" Graph=\"G\" Element=\"B\"/>"),
         "DSOContext: Cannot find element with name B", invalidArgument},
        {"property set twice",
         controlSetting("<Property Name=\"Gain\" Graph=\"G\" Element=\"A\"/>"
                        "<Property Name=\"Gain\" Graph=\"G\" Element=\"A\"/>"),
         "Driver: Multiple definitions of the same property. Property name: Gain graph: G element: A"},
        {"a wire from a missing graph input",
         oneGraphSystem("<Element Type=\"Gain\" Name=\"A\"><Properties Gain=\"1\"/><Inputs><Input "
                        "Port=\"in\" Element=\"Graph\" Output=\"1\"/></Inputs></Element>", "A"),
         "DSPGraph: Element A reads graph input 1 but graph G has 1 input(s)."},
        {"a wire from a negative graph input",
         oneGraphSystem("<Element Type=\"Gain\" Name=\"A\"><Properties Gain=\"1\"/><Inputs><Input "
                        "Port=\"in\" Element=\"Graph\" Output=\"-2\"/></Inputs></Element>", "A"),
         "DSPGraph: Element A reads graph input -2 but graph G has 1 input(s)."},
        {"no outputs", inG(gain), "Invalid number of outputs for DSPGraph G, number of outputs: 0"},
        {"negative input count", inG(gain + "<NumberOfInputs>-1</NumberOfInputs>"),
         "Number of inputs must be greater than zero. Number of inputs =-1", invalidArgument},
        {"unknown processing method", inG(gain + "<Properties ProcessingMethod=\"Fast\"/>"),
         "DSPGraph: Invalid ProcessingMethod property Fast", invalidArgument},
        {"no relative tolerance", iterative("AbsoluteTollerance=\"1\" MaxIterations=\"2\""),
         "DSPGraph: RelativeTollerance is not defined."},
        {"no absolute tolerance", iterative("RelativeTollerance=\"1\" MaxIterations=\"2\""),
         "DSPGraph: AbsoluteTollerance is not defined."},
        {"no iteration limit", iterative("RelativeTollerance=\"1\" AbsoluteTollerance=\"1\""),
         "DSPGraph: MaxIterations is not defined."},
        {"zero relative tolerance",
         iterative("RelativeTollerance=\"0\" AbsoluteTollerance=\"1\" MaxIterations=\"2\""),
         "DSPGraph: RelativeTollerance must be greater than 0. relativeTollerance=0", invalidArgument},
        {"negative absolute tolerance",
         iterative("RelativeTollerance=\"1\" AbsoluteTollerance=\"-1\" MaxIterations=\"2\""),
         "DSPGraph: AbsoluteTollerance must be greater than 0. AbsoluteTollerance=-1", invalidArgument},
        {"zero iteration limit",
         iterative("RelativeTollerance=\"1\" AbsoluteTollerance=\"1\" MaxIterations=\"0\""),
         "DSPGraph: MaxIterations must be greater than 0. MaxIterations=0", invalidArgument},
        {"inputs at two rates",
         system(gainGraph("Up", "Multiplier=\"2.0\"", "<Input Graph=\"System\" Node=\"0\"/>") +
                gainGraph("Mix", "",
                          "<Input Graph=\"Up\" Node=\"out\"/><Input Graph=\"System\" Node=\"0\"/>", 2)),
         "Invalid input multipliers for graph Mix"},
        {"system output at another rate",
         system(gainGraph("Up", "Multiplier=\"2.0\"", "<Input Graph=\"System\" Node=\"0\"/>"),
                "<Outputs><Output Graph=\"Up\" Node=\"out\"/></Outputs>"),
         "Invalid multiplier. Expected 1 but got 2"},
        {"graphs that feed each other",
         system(gainGraph("P", "", "<Input Graph=\"Q\" Node=\"out\"/>") +
                gainGraph("Q", "", "<Input Graph=\"P\" Node=\"out\"/>")),
         "Graphs do not form a DAG."},
        {"circuit without elements", system(graph("Name=\"C\" Type=\"MNA\"", "")), "No elements in graph C"},
        {"unknown component", circuitElement("<Element Type=\"Gain\" Name=\"R\"><Node Name=\"a\"/></Element>"),
         "Unknown element type: Gain"},
        {"component without name", circuitElement("<Element Type=\"Resistor\"><Node Name=\"a\"/></Element>"),
         "Element name is not specified in graph C"},
        {"component without terminals", circuitElement("<Element Type=\"Resistor\" Name=\"R\"/>"),
         "Element: R. No Nodes specified."},
        {"terminal with empty name",
         circuitElement("<Element Type=\"Resistor\" Name=\"R\"><Node Name=\"a\"/><Node Name=\"\"/></Element>"),
         "Element: R. Node without a name."},
        {"circuit without analysis", circuit(""), "Analysis node is missing in the graph C"},
        {"analysis without type", circuit("<Analysis>" + newton + "</Analysis>"),
         "Analysis Type attribute is missing in the graph C"},
        {"analysis of another type", circuit("<Analysis Type=\"TRAN\">" + newton + "</Analysis>"),
         "Invalid analysis Type attribute TRAN in the graph C"},
        {"AC without initial condition", circuit("<Analysis Type=\"AC\">" + newton + "</Analysis>"),
         "InitialCondition node is missing in the graph C"},
        {"initial condition without type",
         circuit("<Analysis Type=\"AC\"><InitialCondition/>" + newton + "</Analysis>"),
         "InitialCondition Type attribute is missing in the graph C"},
        {"initial condition of another type",
         circuit("<Analysis Type=\"AC\"><InitialCondition Type=\"zero\"/>" + newton + "</Analysis>"),
         "Invalid InitialCondition Type attribute zero in the graph C"},
        {"operating point without solver",
         circuit("<Analysis Type=\"AC\"><InitialCondition Type=\"OperatingPoint\"/>" + newton + "</Analysis>"),
         "InitialCondition Solver is not defined."},
        {"operating point solver without type",
         circuit("<Analysis Type=\"AC\"><InitialCondition Type=\"OperatingPoint\"><Solver/></InitialCondition>" +
                 newton + "</Analysis>"),
         "InitialCondition Solver type is not defined."},
        {"operating point solver without settings",
         circuit("<Analysis Type=\"AC\"><InitialCondition Type=\"OperatingPoint\"><Solver "
                 "Type=\"SimplifiedNewton\"/></InitialCondition>" + newton + "</Analysis>"),
         "InitilaCondition Solver's properties are not defined."},
        {"analysis without solver", circuit("<Analysis Type=\"DC\"/>"), "Analysis Solver is not defined."},
        {"analysis solver without type", circuit("<Analysis Type=\"DC\"><Solver/></Analysis>"),
         "Analysis Solver type is not defined."},
        {"unknown solver", circuit("<Analysis Type=\"DC\"><Solver Type=\"Gauss\"/></Analysis>"),
         "Unknown solver type: Gauss"},
        {"analysis solver without settings",
         circuit("<Analysis Type=\"DC\"><Solver Type=\"SuccessiveApproximations\"/></Analysis>"),
         "InitilaCondition Solver's properties are not defined."},
    };
}

// Grammar faults found by the parser, then binding, graph and rate faults found as the system is
// built.
TEST(DocumentErrors, EveryFaultEndsWithItsExactMessageAndClass) {
    for (const auto& error : errorCases()) {
        SCOPED_TRACE(error.what);
        try {
            auto driver = std::make_shared<Driver>();
            std::istringstream stream(error.document);
            driver->init(stream);
            ADD_FAILURE() << "no exception; expected: " << error.message;
        } catch (const NodaraException& thrown) {
            EXPECT_EQ(thrown.getMessage(), error.message);
            EXPECT_EQ(std::string(typeid(thrown).name()), std::string(error.type.name()));
        }
    }
}

// Circuits are checked as far as the document goes; the engine that would run them is not built.
TEST(DocumentErrors, SoundCircuitGraphsReachTheEndOfTheCircuitParser) {
    for (const std::string& analysis :
         {std::string("<Analysis Type=\"DC\"><Solver Type=\"Linear\"/></Analysis>"),
          "<Analysis Type=\"AC\"><InitialCondition Type=\"OperatingPoint\">" + newton + "</InitialCondition>" +
              newton + "</Analysis>",
          "<Analysis Type=\"DC\"><InitialCondition Type=\"bad\"/>" + newton + "</Analysis>"}) {
        const std::string message = initError(circuit(analysis));
        EXPECT_NE(message.find("MNA"), std::string::npos) << message;
        EXPECT_NE(message.find("Graph: C"), std::string::npos) << message;
    }
}

} // namespace
} // namespace nodara::testing
