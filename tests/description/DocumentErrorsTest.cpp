#include "support/Documents.h"
#include "support/FailureCheck.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

using failurecheck::invalid;

struct ErrorCase {
    std::string document;
    std::string message;
    const std::type_info& type = failurecheck::plain;
};

const std::string gain = element("Gain", "A", "Gain='1'", "Graph");

std::string graph(const std::string& attributes, const std::string& content) {
    return "<Graph " + attributes + ">" + content + "</Graph>";
}

std::string system(const std::string& graphs, const std::string& rest = "") {
    return "<System><Graphs>" + graphs + "</Graphs>" + rest + "</System>";
}

/// A system of one graph with `attributes` holding the gain A.
std::string graphWith(const std::string& attributes) { return system(graph(attributes, gain)); }

/// A system of one graph G holding `content`.
std::string inG(const std::string& content) {
    return system(graph("Name='G' Type='DSP'", content));
}

/// A system of one graph G holding the element `type` named A with `properties`.
std::string made(const std::string& type, const std::string& properties) {
    return inG(element(type, "A", properties, ""));
}

/// A circuit graph C of one resistor and the analysis `analysis`.
std::string circuit(const std::string& analysis) {
    return system(graph("Name='C' Type='MNA'", "<Element Type='Resistor' Name='R'><Properties "
                                               "Resistance='1'/><Node Name='a'/><Node Name='0'/></Element>" +
                                                   analysis));
}

const std::string newton = "<Solver Type='NewtonRaphson'><Properties MaxIterations='9'/></Solver>";

/// The circuit with an AC analysis whose initial condition is `condition`, solved by Newton.
std::string ac(const std::string& condition) {
    return circuit("<Analysis Type='AC'>" + condition + newton + "</Analysis>");
}

/// A circuit graph C whose only element is `element`, with a linear DC analysis.
std::string component(const std::string& element) {
    return system(graph("Name='C' Type='MNA'",
                        element + "<Analysis Type='DC'><Solver Type='Linear'/></Analysis>"));
}

/// The gain A in graph G, its one input with the attributes `input`.
std::string wired(const std::string& input) {
    return inG("<Element Type='Gain' Name='A'><Properties Gain='1'/><Inputs><Input " + input +
               "/></Inputs></Element>");
}

/// A two-input switch S whose one wire enters port `port`.
std::string switchReading(const std::string& port) {
    return inG("<Element Type='Switch' Name='S'><Properties NumberOfInputs='2'/><Inputs>"
               "<Input Port='" + port + "' Element='Graph' Output='0'/></Inputs></Element>");
}

/// The gain A of a one-input graph G, reading graph input `index`.
std::string graphInput(const std::string& index) {
    return oneGraphSystem("<Element Type='Gain' Name='A'><Properties Gain='1'/><Inputs><Input "
                          "Port='in' Element='Graph' Output='" + index + "'/></Inputs></Element>",
                          "A");
}

/// The gain A with the output node `node`.
std::string outputs(const std::string& node) { return inG(gain + "<Output>" + node + "</Output>"); }

const std::string plainGraph =
    graph("Name='G' Type='DSP'", gain + "<Output><Node Name='out' Element='A' Index='0'/></Output>"
                                        "<NumberOfInputs>1</NumberOfInputs>");

/// Graph `name` whose Gain A reads the graph inputs `inputs` and gives node "out".
std::string gainGraph(const std::string& name, const std::string& attributes,
                      const std::string& inputs, int count = 1) {
    return graph("Name='" + name + "' Type='DSP' " + attributes,
                 gain + "<Inputs>" + inputs + "</Inputs><Output><Node Name='out' Element='A' "
                        "Index='0'/></Output><NumberOfInputs>" + std::to_string(count) +
                        "</NumberOfInputs>");
}

/// An iterative graph with the given tolerances and limit; an empty one is left out.
std::string iterative(const std::string& relative, const std::string& absolute,
                      const std::string& limit) {
    const auto one = [](const char* name, const std::string& value) {
        return value.empty() ? "" : std::string(name) + "='" + value + "' ";
    };
    return inG("<Properties ProcessingMethod='Iterative' " + one("RelativeTollerance", relative) +
               one("AbsoluteTollerance", absolute) + one("MaxIterations", limit) + "/>" + gain +
               "<NumberOfInputs>1</NumberOfInputs>");
}

/// An interpolator A with one of its settings replaced by `change`.
std::string resampler(const std::string& change) {
    std::string settings = "CornerFrequency='15000' Factor='2' Order='2' Cascade='4' Type='Butterworth' ";
    const std::string key = change.substr(0, change.find('=') + 1);
    const size_t at = settings.find(key);
    settings.erase(at, settings.find(' ', at) - at + 1);
    return made("IirInterpolator", settings + change);
}

/// The plain graph with one control whose attributes and content are `text`.
std::string control(const std::string& text) {
    return system(plainGraph, "<Controls><Control " + text + "</Control></Controls>");
}

/// The plain graph with a control "c" setting the properties `properties`.
std::string controlled(const std::string& properties) {
    return control("Name='c' DisplayName='d' Value='0'><Properties>" + properties +
                   "</Properties>");
}

/// The plain graph with the system output `output`.
std::string systemOut(const std::string& output) {
    return system(plainGraph, "<Outputs><Output " + output + "/></Outputs>");
}

std::vector<ErrorCase> errorCases() {
    const std::string loadFailed = "Cannot load xml document. Error: ";
    const std::string multiplier = "Invalid Graph Multiplier. Graph: G Multiplier: ";
    const std::string op = "<InitialCondition Type='OperatingPoint'";
    const std::string fromSystem = "<Input Graph='System' Node='0'/>";
    const std::string up = gainGraph("Up", "Multiplier='2.0'", fromSystem);
    return {
        {"<System><Graphs>", loadFailed + "Start-end tags mismatch"},
        {"", loadFailed + "No document element found"},
        {"<Amp><Graphs>" + plainGraph + "</Graphs></Amp>", "No graphs to parse."},
        {graphWith("Type='DSP'"), "Graph name is not specified"},
        {graphWith("Name='System' Type='DSP'"), "\"System\" is a reserved graph name."},
        {graphWith("Name='G'"), "Graph type is not specified"},
        {graphWith("Name='G' Type='dsp'"), "Graph type dsp is not a valid type. Graph: G"},
        {graphWith("Name='G' Type='DSP' Multiplier='0'"), multiplier + "0"},
        {graphWith("Name='G' Type='DSP' Multiplier='nan'"), multiplier + "nan"},
        {inG(""), "No elements in graph G"},
        {inG("<Element Type='Nope' Name='x'/>"), "Unknown element type: Nope"},
        {inG("<Element Type='Gain'><Properties Gain='1'/></Element>"),
         "Element name is not specified. Graph: G"},
        {inG(gain + gain), "DSPContext: Duplicate element name: A"},
        {made("Gain", ""), "Gain is not defined. Gain name=A"},
        {made("Switch", ""), "Switch: Number of inputs must be specified", invalid},
        {made("Switch", "NumberOfInputs='2' Position='2'"),
         "Switch: Invalid position 2. NumberOfInputs=2", invalid},
        {made("Mixer", ""), "Faders is not defined. Mixer name=A", invalid},
        {made("Mixer", "Faders='0.5|1.25'"), "Invalid fader value: 1.25", invalid},
        {made("Relaxation", ""), "Relaxation: Relaxation is not defined. Relaxation name=A"},
        {made("Relaxation", "Relaxation='-0.5'"),
         "Relaxation: Relaxation must be greater than 0. Relaxation=-0.5 Relaxation name=A",
         invalid},
        {made("LookupTableFilter", "VinMin='-1' VinMax='1'"),
         "DeltaV is not defined. LookupTableAmp name=A", invalid},
        {made("LookupTableFilter", "VinMin='-1' VinMax='1' DeltaV='0' DeltaV='1'"),
         "DeltaV must be greater than 0. LookupTableAmp name=A", invalid},
        {wired("Element='Graph' Output='0'"), "Input without a Port name."},
        {wired("Port='inn' Element='Graph' Output='0'"),
         "Invalid input port name: inn. Expected \"in\".", invalid},
        {switchReading("0"),
         "Invalid input port name: 0. INput port name must start with \"in_\" followed by a "
         "number.",
         invalid},
        {switchReading("in_2"), "SwitchMeta: Invalid input port in_2, NumberOfInputs=2", invalid},
        {switchReading("in_-1"), "SwitchMeta: Invalid input port in_-1, NumberOfInputs=2", invalid},
        {wired("Port='in' Output='0'"), "Input without an Element name."},
        {wired("Port='in' Element='B' Output='out'"), "Cannot find input filter with name B"},
        {wired("Port='in' Element='Graph'"), "Input without an Output port."},
        {inG(gain + element("Gain", "B", "Gain='1'", "A", "output")),
         "Invalid output port name: output. Expected \"out\".", invalid},
        {outputs("<Node Element='A' Index='0'/>"), "Output Node without a name."},
        {outputs("<Node Name='out' Index='0'/>"), "Output Node without an Element attribute."},
        {outputs("<Node Name='out' Element='Z' Index='0'/>"),
         "Cannot find output filter with name Z"},
        {outputs("<Node Name='out' Element='A'/>"),
         "Output Node without a Port or an Index attribute."},
        {outputs("<Node Name='out' Element='A' Index='1'/>"),
         "Output Node out: element A has no output with index 1", invalid},
        {inG(gain + "<Inputs><Input Node='0'/></Inputs>"), "Input without a graph name."},
        {inG(gain + "<Inputs><Input Graph='H' Node='out'/></Inputs>"), "Invalid input graph: H"},
        {inG(gain + "<Inputs><Input Graph='System'/></Inputs>"), "Input without a Node name."},
        {system(plainGraph + gainGraph("H", "", "<Input Graph='G' Node='nope'/>")),
         "Cannot find output node nope"},
        {system(graph("Name='G' Type='DSP'", gain) +
                gainGraph("H", "", "<Input Graph='G' Node='out'/>")),
         "Cannot find output node out"},
        {systemOut("Node='out'"), "Output without a Graph name."},
        {systemOut("Graph='X' Node='out'"), "Invalid system output graph name X"},
        {systemOut("Graph='G'"), "Output without a Node name."},
        {systemOut("Graph='G' Node='x'"), "Cannot find output node x for graph G"},
        {control("DisplayName='d' Value='0'>"), "Control without a name."},
        {control("Name='c' Value='0'>"), "Control without a display name. Control name: c"},
        {control("Name='c' DisplayName='d'>"), "Control without a Value. Control name: c"},
        {control("Name='c' DisplayName='d' Value='0'><UIProperties X='1'/>"),
         "Control without properties. Control name: c"},
        {controlled("<Property Graph='G'/>"), "Property without a name."},
        {controlled("<Property Name='Gain'/>"), "Property without a graph. Property name: Gain"},
        {controlled("<Property Name='Gain' Graph='G' Type='vector'/>"),
         "Unknown property type vector"},
        {controlled("<Property Name='Gain' Graph='X' Element='A'/>"),
         "Invalid Property: Invalid graph name X. Property, name=Gain"},
        {controlled("<Property Name='Gain' Graph='G' Element='B'/>"),
         "DSOContext: Cannot find element with name B", invalid},
        {controlled(target("Gain", "A") + target("Gain", "A")),
         "Driver: Multiple definitions of the same property. Property name: Gain graph: G "
         "element: A"},
        {graphInput("1"), "DSPGraph: Element A reads graph input 1 but graph G has 1 input(s)."},
        {graphInput("-2"), "DSPGraph: Element A reads graph input -2 but graph G has 1 input(s)."},
        {inG(gain), "Invalid number of outputs for DSPGraph G, number of outputs: 0"},
        {inG(gain + "<NumberOfInputs>-1</NumberOfInputs>"),
         "Number of inputs must be greater than zero. Number of inputs =-1", invalid},
        {inG(gain + "<NumberOfInputs>-2147483649</NumberOfInputs>"),
         "Number of inputs must be at most 65536. Number of inputs =2147483647", invalid},
        {inG(gain + "<Properties ProcessingMethod='Fast'/>"),
         "DSPGraph: Invalid ProcessingMethod property Fast", invalid},
        {iterative("", "1", "2"), "DSPGraph: RelativeTollerance is not defined."},
        {iterative("1", "", "2"), "DSPGraph: AbsoluteTollerance is not defined."},
        {iterative("1", "1", ""), "DSPGraph: MaxIterations is not defined."},
        {iterative("0", "1", "2"),
         "DSPGraph: RelativeTollerance must be greater than 0. relativeTollerance=0", invalid},
        {iterative("1", "-1", "2"),
         "DSPGraph: AbsoluteTollerance must be greater than 0. AbsoluteTollerance=-1", invalid},
        {iterative("1", "1", "0"),
         "DSPGraph: MaxIterations must be greater than 0. MaxIterations=0", invalid},
        {iterative("1", "1", "50000000"),
         "DSPGraph: MaxIterations must be at most 1000. MaxIterations=50000000", invalid},
        {resampler("Cascade='8000000'"),
         "IirInterpolator: Cascade must be at most 64. Cascade=8000000", invalid},
        {resampler("Factor='100'"), "IirInterpolator: Factor must be at most 16. Factor=100",
         invalid},
        {resampler("Order='11'"), "IirInterpolator: Order must be at most 10. Order=11", invalid},
        {made("Iir", "Order='65' A='0' B='1'"), "Iir A: Order must be at most 64. Order=65",
         invalid},
        {made("Convolver", "MaxIRSize='2000000000'"),
         "Convolver A: MaxIRSize must be at most 1048576. MaxIRSize=2000000000", invalid},
        {made("Switch", "NumberOfInputs='1000000000'"),
         "Element A: NumberOfInputs must be at most 65536. NumberOfInputs=1000000000", invalid},
        {system(up + gainGraph("Mix", "", "<Input Graph='Up' Node='out'/>" + fromSystem, 2)),
         "Invalid input multipliers for graph Mix"},
        {system(up, "<Outputs><Output Graph='Up' Node='out'/></Outputs>"),
         "Invalid multiplier. Expected 1 but got 2"},
        {system(gainGraph("Up", "Multiplier='1000'", fromSystem)),
         "Driver: graph Up: rate multiplier must be at most 256. rate multiplier=1000", invalid},
        {system(gainGraph("P", "", "<Input Graph='Q' Node='out'/>") +
         gainGraph("Q", "", "<Input Graph='P' Node='out'/>")), "Graphs do not form a DAG."},
        {system(graph("Name='C' Type='MNA'", "")), "No elements in graph C"},
        {component("<Element Type='Gain' Name='R'><Node Name='a'/></Element>"),
         "Unknown element type: Gain"},
        {component("<Element Type='Resistor'><Node Name='a'/></Element>"),
         "Element name is not specified in graph C"},
        {component("<Element Type='Resistor' Name='R'/>"), "Element: R. No Nodes specified."},
        {component("<Element Type='Resistor' Name='R'><Node Name='a'/><Node Name=''/></Element>"),
         "Element: R. Node without a name."},
        {circuit(""), "Analysis node is missing in the graph C"},
        {circuit("<Analysis>" + newton + "</Analysis>"),
         "Analysis Type attribute is missing in the graph C"},
        {circuit("<Analysis Type='TRAN'>" + newton + "</Analysis>"),
         "Invalid analysis Type attribute TRAN in the graph C"},
        {ac(""), "InitialCondition node is missing in the graph C"},
        {ac("<InitialCondition/>"), "InitialCondition Type attribute is missing in the graph C"},
        {ac("<InitialCondition Type='zero'/>"),
         "Invalid InitialCondition Type attribute zero in the graph C"},
        {ac(op + "/>"), "InitialCondition Solver is not defined."},
        {ac(op + "><Solver/></InitialCondition>"), "InitialCondition Solver type is not defined."},
        {ac(op + "><Solver Type='SimplifiedNewton'/></InitialCondition>"),
         "InitilaCondition Solver's properties are not defined."},
        {circuit("<Analysis Type='DC'/>"), "Analysis Solver is not defined."},
        {circuit("<Analysis Type='DC'><Solver/></Analysis>"),
         "Analysis Solver type is not defined."},
        {circuit("<Analysis Type='DC'><Solver Type='Gauss'/></Analysis>"),
         "Unknown solver type: Gauss"},
        {circuit("<Analysis Type='DC'><Solver Type='SuccessiveApproximations'/></Analysis>"),
         "InitilaCondition Solver's properties are not defined."},
    };
}

// Grammar faults found by the parser, then binding, graph and rate faults found as the system is
// built.
TEST(DocumentErrors, EveryFaultEndsWithItsExactMessageAndClass) {
    for (const auto& error : errorCases()) {
        SCOPED_TRACE(error.document);
        const auto load = [&] {
            std::istringstream stream(error.document);
            loadSystem(*std::make_shared<Driver>(), stream);
        };
        failurecheck::expectFailures({{load, error.type, error.message}});
    }
}

} // namespace
} // namespace nodara::testing
