// Every fault a circuit document can hold ends in its exact message and exception class.
#include "CircuitDocuments.h"

#include <gtest/gtest.h>

#include <typeinfo>

namespace nodara::testing {
namespace {

struct MessageCase {
    std::string document;
    std::string message;
    bool invalidArgument = true;
};

const std::string ground = "<Node Name='0'/>";
const std::string dc = "<Analysis Type='DC'><Solver Type='Linear'/></Analysis>";
const std::string resistor = part("Resistor", "R", "Resistance='1'", {"a", "0"});

/// A circuit of the resistor and `parts`, with a linear DC analysis.
std::string with(const std::string& parts) { return circuitSystem(resistor + parts, dc, {}); }

/// The resistor circuit with `solver` as the solver of a DC analysis.
std::string solvedBy(const std::string& type, const std::string& properties) {
    return circuitSystem(resistor, "<Analysis Type='DC'>" + solverOf(type, properties) +
                                       "</Analysis>", {});
}

const std::string tolerances = "RelativeTollerance='1' AbsoluteTollerance='1' ";
const std::string relaxations =
    "InitialRelaxation='1' MinRelaxation='1' MaxRelaxation='1' Growth='1' Reduction='1' ";

std::vector<MessageCase> componentCases() {
    const std::vector<std::string> two = {"a", "b"}, three = {"a", "b", "c"};
    return {
        {with(part("Resistor", "R2", "", two)), "Resistance is not defined. Resistor name=R2"},
        {with(part("Resistor", "R2", "Resistance='-1'", two)),
         "Resistance cannot be negative. Resistor name=R2, value=-1"},
        {with(part("Resistor", "R2", "Resistance='1'", {"a"})), "Resistor must have two nodes"},
        {with(part("Potentiometer", "P", "Wiper='0.5'", three)),
         "Resistance is not defined. Potentiometer name=P"},
        {with(part("Potentiometer", "P", "Resistance='0' Wiper='0.5'", three)),
         "Resistance cannot be negative or zero. Potentiometer name=P, value=0"},
        {with(part("Potentiometer", "P", "Resistance='1'", three)),
         "Wiper is not defined. Potentiometer name=P"},
        {with(part("Potentiometer", "P", "Resistance='1' Wiper='1.5'", three)),
         "Wiper value must be between 0 and 1. Potentiometer name=P, value=1.5"},
        {with(part("Capacitor", "C", "", two)), "Capacitance is not defined. Capacitor name=C"},
        {with(part("Capacitor", "C", "Capacitance='-1'", two)),
         "propertyChanged: Capacitance cannot be negative. Capacitor name=C, value=-1"},
        {with(part("Battery", "B", "", two)), "Voltage is not defined. Battery name=B"},
        {with(part("Battery", "B", "Voltage='1'", three)), "Battery must have two nodes"},
        {with(part("VoltageInputSource", "V", "", two)),
         "InputNumber is not defined. VoltageInputSource name=V"},
        {with(part("VoltageInputSource", "V", "InputNumber='0'", {"a"})),
         "VoltageInputSource must have two nodes"},
        {circuitSystem(resistor + part("VoltageInputSource", "V", "InputNumber='1'", two), dc,
                       {}, 1),
         "InputNumber is out of range. VoltageInputSource name=V, InputNumber=1, number of "
         "inputs=1"},
        {with(part("IdealAmplifier", "A", "", two)), "Gain is not defined. IdealAmplifier name=A"},
        {with(part("IdealAmplifier", "A", "Gain='1'", three)),
         "IdealAmplifier must have two nodes"},
        {with(part("IdealAmplifier", "A", "Gain='1'", {"a", "GND"})),
         "IdealAmplifier cannot have a grounded node. IdealAmplifier name=A"},
        {with(part("IdealDifferentialAmplifier", "A", "", three)),
         "Gain is not defined. IdealDifferentialAmplifier name=A"},
        {with(part("IdealDifferentialAmplifier", "A", "Gain='1'", two)),
         "IdealDifferentialAmplifier must have three nodes"},
        {with(part("IdealDifferentialAmplifier", "A", "Gain='1'", {"a", "0", "c"})),
         "IdealDifferentialAmplifier cannot have a grounded node. IdealDifferentialAmplifier "
         "name=A"},
        {with(part("OpAmp", "U", "", three)), "Gain is not defined. OpAmp name=U"},
        {with(part("OpAmp", "U", "Gain='1'", two)), "OpAmp must have three nodes"},
        {with(part("OpAmp", "U", "Gain='1'", {"0", "b", "c"})),
         "OpAmp cannot have a grounded node. OpAmp name=U"},
        {with(part("LookupTableAmp", "L", "VinMax='1' DeltaV='1'", two)),
         "VinMin is not defined. LookupTableAmp name=L"},
        {with(part("LookupTableAmp", "L", "VinMin='1' DeltaV='1'", two)),
         "VinMax is not defined. LookupTableAmp name=L"},
        {with(part("LookupTableAmp", "L", "VinMin='1' VinMax='1'", two)),
         "DeltaV is not defined. LookupTableAmp name=L"},
        {with(part("LookupTableAmp", "L", "VinMin='1' VinMax='1' DeltaV='0'", two)),
         "DeltaV must be greater than 0. LookupTableAmp name=L"},
        {with(part("LookupTableAmp", "L", "VinMin='1' VinMax='1' DeltaV='1'", three)),
         "LookupTableAmp must have two nodes"},
        {with(part("LookupTableAmp", "L", "VinMin='1' VinMax='1' DeltaV='1'", {"0", "b"})),
         "LookupTableAmp cannot have a grounded node. LookupTableAmp name=L"},
    };
}

// The tubes' laws read their parameters at init; the grid law before the anode law.
std::vector<MessageCase> tubeCases() {
    const std::vector<std::string> triode = {"p", "g", "k"}, pentode = {"p", "s", "g", "k"};
    const std::string grid = "Vc='0.53' Igc='3e-4' N='3' ";
    const std::string anode = "Vct='0' Kp='600' Kvb='300' mu='100' Ex='1.4' ";
    const std::string koren = "Vct='0' Kp='50' Kvb='25' mu='11' Ex='1.35' Kg1='650' ";
    return {
        {with(part("Triode", "V", "Type='6L6'", triode)), "Invalid built-in triode type: 6L6"},
        {with(part("Pentode", "V", "Type='12AX7'", pentode)), "Invalid built-in pentode type: 12AX7"},
        {with(part("Triode", "V", "", triode)), "PowerLawGridCurrent: Vc is not defined."},
        {with(part("Triode", "V", "Vc='0.53' Igc='3e-4'", triode)), "PowerLawGridCurrent: A is not defined."},
        {with(part("Triode", "V", grid + anode, triode)), "NKTriodeAnodeCurrent: Kg is not defined."},
        {with(part("Triode", "V", grid + anode + "Kg='1060' VgkMin='-8' VpMax='400'", triode)),
         "NKTriodeAnodeCurrent: VgkMax is not defined."},
        {with(part("Triode", "V", "Type='12AX7' Kp='-1'", triode)),
         "Triode: Kp must be greater than or equal to 0. Kp=-1"},
        {with(part("Triode", "V", "Type='12AX7' VgkMin='5'", triode)),
         "VgkMax must be greater than VgkMin. VgkMax=4 VgkMin=5"},
        {with(part("Triode", "V", "Type='12AX7' VpMax='0'", triode)),
         "Triode: VpMax must be greater than 0. VpMax=0"},
        {with(part("Pentode", "V", grid + koren, pentode)), "NKPentodeAnodeCurrent: Kg2 is not defined."},
        {with(part("Pentode", "V", "Type='KT66' Kg2='-2'", pentode)),
         "Triode: Kg2 must be greater than or equal to 0. Kg2=-2"},
    };
}

std::vector<MessageCase> systemCases() {
    return {
        {with(part("Resistor", "R", "Resistance='2'", {"b", "0"})), "Duplicate component name: R",
         false},
        {circuitSystem(part("Resistor", "R", "Resistance='1'", {"0", "GND"}), dc, {}),
         "No MNA nodes.", false},
        {circuitSystem(resistor, dc, {"b"}), "Output node with name b does not exist.", false},
        {circuitSystem(resistor, "<Analysis Type='AC'><InitialCondition Type='User'/>" +
                                     solverOf("Linear") + "</Analysis>", {}),
         "Invalid initial condition for Circuit C", false},
        {solvedBy("Newton", ""), "Unknown solver type: Newton", false},
    };
}

std::vector<MessageCase> solverCases() {
    const std::string newton = "NewtonRaphson", simplified = "SimplifiedNewton";
    const std::string successive = "SuccessiveApproximations";
    return {
        {solvedBy(newton, "AbsoluteTollerance='1' MaxIterations='1'"),
         "NewtonSolver: RelativeTollerance is not defined."},
        {solvedBy(newton, "RelativeTollerance='1' MaxIterations='1'"),
         "NewtonSolver: AbsoluteTollerance is not defined."},
        {solvedBy(newton, tolerances), "NewtonSolver: MaxIterations is not defined."},
        {solvedBy(newton, "RelativeTollerance='0' AbsoluteTollerance='1' MaxIterations='1'"),
         "NewtonSolver: RelativeTollerance must be greater than 0. relativeTollerance=0"},
        {solvedBy(newton, "RelativeTollerance='1' AbsoluteTollerance='-2' MaxIterations='1'"),
         "NewtonSolver: AbsoluteTollerance must be greater than 0. AbsoluteTollerance=-2"},
        {solvedBy(newton, tolerances + "Relaxation='1.5' MaxIterations='1'"),
         "NewtonSolver: Relaxation must be greater than 0 and less than or equal to 1. "
         "InitialRelaxation=1.5"},
        {solvedBy(newton, tolerances + "FixedPointSteps='-1' MaxIterations='1'"),
         "NewtonSolver: FixedPointSteps must be greater than or equal to 0. FixedPointSteps=-1"},
        {solvedBy(newton, tolerances + "MaxIterations='0'"),
         "NewtonSolver: MaxIterations must be greater than 0. MaxIterations=0"},
        {solvedBy(simplified, "AbsoluteTollerance='1' MaxIterations='1'"),
         "SimplifiedNewtonSolver: RelativeTollerance is not defined."},
        {solvedBy(simplified, tolerances),
         "SimplifiedNewtonSolver: MaxIterations is not defined."},
        {solvedBy(simplified, "RelativeTollerance='1' AbsoluteTollerance='0' MaxIterations='1'"),
         "SimplifiedNewtonSolver: AbsoluteTollerance must be greater than 0. "
         "AbsoluteTollerance=0"},
        {solvedBy(successive, tolerances + "MinRelaxation='1'"),
         "SuccessiveApproximations: InitialRelaxation is not defined."},
        {solvedBy(successive, tolerances + relaxations),
         "SuccessiveApproximations: MaxIterations is not defined."},
        {solvedBy(successive, "RelativeTollerance='-1'"),
         "SuccessiveApproximations: RelativeTollerance must be greater than 0. "
         "relativeTollerance=-1"},
        {solvedBy(successive, tolerances + "InitialRelaxation='1' MinRelaxation='1' "
                                           "MaxRelaxation='1' Growth='0'"),
         "SuccessiveApproximations: Growth must be greater than 0. Growth=0"},
    };
}

void expectMessages(const std::vector<MessageCase>& cases) {
    for (const MessageCase& c : cases) {
        SCOPED_TRACE(c.document);
        try {
            driverFor(c.document);
            ADD_FAILURE() << "no exception; expected: " << c.message;
        } catch (const NodaraException& thrown) {
            EXPECT_EQ(thrown.getMessage(), c.message);
            EXPECT_EQ(dynamic_cast<const InvalidArgumentException*>(&thrown) != nullptr,
                      c.invalidArgument);
        }
    }
}

TEST(CircuitMessages, ComponentFaults) { expectMessages(componentCases()); }
TEST(CircuitMessages, SystemFaults) { expectMessages(systemCases()); }
TEST(CircuitMessages, TubeParameters) { expectMessages(tubeCases()); }

// A grid so far below cut-off that Koren's E1 is 0 makes the pentode's slope 0/0: the solve
// stops at once, naming the voltages.
TEST(CircuitMessages, PentodeSlopeThatIsNotANumberStopsTheSolve) {
    const std::string parts =
        part("Battery", "G", "Voltage='-10000' UseFixedVoltage='true'", {"g", "0"}) +
        part("Battery", "B", "Voltage='300' UseFixedVoltage='true'", {"b", "0"}) +
        part("Resistor", "R", "Resistance='1000'", {"b", "p"}) +
        part("Pentode", "V", "Type='JJEL34'", {"p", "b", "g", "0"});
    const std::string message =
        messageOf([&] { driverFor(circuitSystem(parts, fromOperatingPoint(newton()), {"p"}, 0)); });
    EXPECT_EQ(message.rfind("Pentode: dIpdVgk is not a valid number: ", 0), 0u) << message;
    EXPECT_NE(message.find(", vg=-10000, vp="), std::string::npos) << message;
    EXPECT_NE(message.find(", vs=300"), std::string::npos) << message;
}
TEST(CircuitMessages, SolverSettings) { expectMessages(solverCases()); }

} // namespace
} // namespace nodara::testing
