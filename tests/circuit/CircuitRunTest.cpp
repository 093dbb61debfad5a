// Circuits run through the driver, against closed forms and independent computations.
#include "CircuitDocuments.h"
#include "support/AllocationCounter.h"

#include "circuit/Circuit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

namespace nodara::testing {
namespace {

std::vector<scalar> run(const std::string& document, const std::vector<scalar>& input,
                        size_t block = 64) {
    auto driver = driverFor(document, static_cast<int32>(block));
    return runBlocks(*driver, {input}, block).at(0);
}

std::vector<scalar> sine(size_t frames, double amplitude, double hertz, double rate = 48000.0) {
    std::vector<scalar> values(frames);
    for (size_t i = 0; i < frames; ++i) {
        values[i] = static_cast<scalar>(amplitude * std::sin(2.0 * M_PI * hertz * i / rate));
    }
    return values;
}

const std::string opAmpStage =
    inputSource("UseFixedVoltage='true'") +
    part("Resistor", "Rin", "Resistance='10e3'", {"in", "minus"}) +
    part("Potentiometer", "P", "Resistance='100e3' Wiper='0.5'", {"minus", "out", "out"}) +
    part("Capacitor", "Cf", "Capacitance='100e-12'", {"minus", "out"}) +
    part("Resistor", "Rref", "Resistance='10e3'", {"ref", "0"}) +
    part("OpAmp", "U", "Gain='1e5'", {"ref", "out", "minus"});

const std::vector<std::string> solvers = {
    linear(), newton(), newton("FixedPointSteps='1' Relaxation='1'"),
    solverOf("SimplifiedNewton", "RelativeTollerance='1e-6' AbsoluteTollerance='1e-7' "
                                 "MaxIterations='50'"),
    solverOf("SuccessiveApproximations",
             "RelativeTollerance='1e-6' AbsoluteTollerance='1e-7' InitialRelaxation='1' "
             "MinRelaxation='0.1' MaxRelaxation='1' Growth='1.1' Reduction='0.5' "
             "MaxIterations='50'")};

// The trapezoidal capacitor (g = 2·C·rate) and the bilinear transform (k = 2·rate) are the
// same discretisation: the RC circuit is the first-order filter H(s) = 1/(1 + s·R·C).
TEST(CircuitRun, RcLowPassEqualsTheBilinearFirstOrderFilter) {
    const double rc = 1000.0 * 1e-7, k = 2.0 * 48000.0;
    const double b = 1.0 / (1.0 + k * rc), a1 = (1.0 - k * rc) / (1.0 + k * rc);
    const std::string filter = oneGraphSystem(
        element("FirstOrderIIR", "F", concat("A='", a1, "' B='", b, "|", b, "'"), "Graph"), "F");
    const auto input = testSignal(2000);
    const auto expected = run(filter, input);
    const auto circuit =
        run(circuitSystem(rcLowPass(), fromOperatingPoint(linear()), {"out"}), input);
    for (size_t i = 0; i < input.size(); ++i) {
        ASSERT_NEAR(circuit[i], expected[i], 2e-6f) << "sample " << i;
    }
}

TEST(CircuitRun, FourSolversAgreeOnLinearCircuitsAtEveryBlockSize) {
    const auto input = sine(3000, 0.5, 1000.0);
    for (const std::string& parts : {rcLowPass(), opAmpStage}) {
        const auto reference =
            run(circuitSystem(parts, fromOperatingPoint(linear()), {"out"}), input, 1);
        for (const std::string& solver : solvers) {
            SCOPED_TRACE(solver);
            const std::string document =
                circuitSystem(parts, fromOperatingPoint(solver), {"out"});
            const auto output = run(document, input, 64);
            for (size_t i = 0; i < input.size(); ++i) {
                ASSERT_NEAR(output[i], reference[i], 1e-4f * 5.0f) << "sample " << i;
            }
            for (size_t block : {1, 7, 256}) {
                EXPECT_EQ(run(document, input, block), output) << "block " << block;
            }
        }
    }
}

struct OperatingPointCase {
    std::string parts;
    std::string analysis;
    std::map<std::string, double> expected;
};

// Hand-computed bias points; currents are counted into the source's plus terminal.
TEST(CircuitRun, OperatingPointMatchesHandCalculation) {
    const std::string divider = part("Battery", "B", "Voltage='10'", {"top", "0"}) +
                                part("Resistor", "R1", "Resistance='1000'", {"top", "mid"}) +
                                part("Resistor", "R2", "Resistance='3000'", {"mid", "0"}) +
                                part("Capacitor", "C", "Capacitance='1e-6'", {"mid", "0"});
    // Gain −5 with a loop gain of 1e5: out = −5·v·(1 − 6/1e5) to first order.
    const std::string offsetStage =
        opAmpStage + part("Battery", "Bias", "Voltage='0.1'", {"bias", "0"}) +
        part("Resistor", "Rb", "Resistance='10e3'", {"bias", "minus"});
    const std::string dc = "<Analysis Type='DC'>" + linear() + "</Analysis>";
    const std::string zero =
        "<Analysis Type='AC'><InitialCondition Type='Zero'/>" + newton() + "</Analysis>";
    const std::vector<OperatingPointCase> cases = {
        {divider, fromOperatingPoint(newton()), {{"mid", 7.5}, {"I(B)", -2.5e-3}}},
        {divider, dc, {{"mid", 7.5}, {"top", 10.0}}},
        {divider, zero, {{"mid", 7.5}, {"I(B)", -2.5e-3}}},
        {offsetStage, fromOperatingPoint(linear()), {{"out", -0.5 * (1.0 - 11e-5)}, {"in", 0}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.analysis);
        auto driver = driverFor(circuitSystem(c.parts, c.analysis, {}, 0));
        auto circuit = std::dynamic_pointer_cast<Circuit>(driver->getGraph("C"));
        const auto point = circuit->getOperatingPoint();
        EXPECT_TRUE(point.converged);
        const auto& context = *circuit->getMNAContext();
        for (const auto& [name, value] : c.expected) {
            const bool current = name.rfind("I(", 0) == 0;
            const int32 index = current ? context.getExtraMap().at(name.substr(2, name.size() - 3))
                                        : context.getNodeMap().at(name);
            EXPECT_NEAR(point.x[index], value, 1e-5 * std::fabs(value) + 1e-7) << name;
        }
    }
}

// A knob on a circuit: the new wiper position is assembled at the head of the next block.
TEST(CircuitRun, PotentiometerMovedWhileRunningTakesEffectAtTheNextBlock) {
    const std::string parts =
        inputSource("UseFixedVoltage='true'") +
        part("Potentiometer", "P", "Resistance='10e3' Wiper='0.5'", {"0", "wiper", "in"});
    const std::string document =
        circuitSystem(parts, "<Analysis Type='DC'>" + linear() + "</Analysis>", {"wiper"}, 1,
                      "<Controls><Control Name='Level' DisplayName='Level' Value='0.5'>"
                      "<Properties><Property Name='Wiper' Graph='C' Element='P'/></Properties>"
                      "</Control></Controls>");
    auto driver = driverFor(document, 4);
    const std::vector<scalar> ones(4, 1.0f);
    const std::vector<scalar*> inputs = {const_cast<scalar*>(ones.data())};
    driver->process(inputs, 4);
    EXPECT_FLOAT_EQ((*driver->getOutputs())[0][3], 0.5f);
    (*driver->getControls())[0]->setValue(0.2f);
    driver->process(inputs, 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR((*driver->getOutputs())[0][i], 0.2f, 1e-6f);
    }
    (*driver->getControls())[0]->setValue(0.0f);
    driver->process(inputs, 4);
    EXPECT_NEAR((*driver->getOutputs())[0][0], 0.001f, 1e-6f) << "the wiper stops at 0.001";
}

// A charged capacitor: from the operating point the output starts at the battery's voltage,
// from zero it starts to charge.
TEST(CircuitRun, FirstSampleStartsFromTheInitialCondition) {
    const std::string parts = part("Battery", "B", "Voltage='5'", {"top", "0"}) +
                              part("Resistor", "R", "Resistance='1000'", {"top", "out"}) +
                              part("Capacitor", "C", "Capacitance='1e-6'", {"out", "0"});
    const std::vector<scalar> silence(4, 0.0f);
    const auto charged = run(circuitSystem(parts, fromOperatingPoint(linear()), {"out"}, 0),
                             silence);
    EXPECT_FLOAT_EQ(charged[0], 5.0f);
    const auto empty = run(circuitSystem(parts, "<Analysis Type='AC'><InitialCondition "
                                                "Type='Zero'/>" + linear() + "</Analysis>",
                                         {"out"}, 0),
                           silence);
    // One trapezoidal step: v = 5·g/(g + 2·C·rate), g = 1 mS.
    EXPECT_NEAR(empty[0], 5.0 * 1e-3 / (1e-3 + 2e-6 * 48000.0), 1e-6);
}

// Off gives silence and stops time; bypass copies the input; both leave the state alone.
TEST(CircuitRun, OffAndBypassLeaveTheStateWhereItWas) {
    const std::string document = circuitSystem(rcLowPass(), fromOperatingPoint(linear()), {"out"});
    const auto input = sine(64, 0.5, 1000.0);
    const auto straight = run(document, input, 32);
    for (const char* state : {"Off", "Bypass"}) {
        auto driver = driverFor(document, 32);
        std::vector<scalar*> inputs = {const_cast<scalar*>(input.data())};
        driver->process(inputs, 32);
        auto graph = driver->getGraph("C");
        graph->setProperty(state, 1.0f);
        driver->process(inputs, 32);
        const scalar* out = (*driver->getOutputs())[0];
        EXPECT_EQ(out[5], std::string(state) == "Off" ? 0.0f : input[5]) << state;
        graph->setProperty(state, 0.0f);
        inputs[0] += 32;
        driver->process(inputs, 32);
        for (int i = 0; i < 32; ++i) {
            ASSERT_EQ((*driver->getOutputs())[0][i], straight[32 + i]) << state;
        }
    }
}

// Moving a knob reassembles and refactors at the head of a block, into the same storage.
TEST(CircuitRun, BlocksAllocateNothingWithEverySolverNotEvenAfterAKnobMoved) {
    const auto input = sine(256, 0.5, 1000.0);
    const std::vector<scalar*> inputs = {const_cast<scalar*>(input.data())};
    const std::string knob = "<Controls><Control Name='Gain' DisplayName='Gain' Value='0.5'>"
                             "<Properties><Property Name='Wiper' Graph='C' Element='P'/>"
                             "</Properties></Control></Controls>";
    for (const std::string& solver : solvers) {
        auto driver =
            driverFor(circuitSystem(opAmpStage, fromOperatingPoint(solver), {"out"}, 1, knob), 256);
        driver->process(inputs, 256);
        EXPECT_EQ(allocationsOf([&] {
                      for (int block = 0; block < 4; ++block) {
                          (*driver->getControls())[0]->setValue(0.1f * static_cast<float>(block));
                          driver->process(inputs, 256);
                      }
                  }),
                  0)
            << solver;
    }
}

} // namespace
} // namespace nodara::testing
