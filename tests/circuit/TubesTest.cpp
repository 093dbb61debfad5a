// Tube laws against an independent double-precision evaluation of Koren's equations, and tube
// circuits against hand calculations made with it.
#include "CircuitDocuments.h"
#include "support/AllocationCounter.h"

#include "circuit/Circuit.h"
#include "circuit/MNAContext.h"
#include "circuit/tubes/NKTriodeAnodeCurrent.h"
#include "description/ComponentFactory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>

namespace nodara::testing {
namespace {

// 12AX7 and EL34 parameters, as the built-in sets hold them.
constexpr double kp = 600.0, kvb = 300.0, mu = 100.0, ex = 1.4, kg = 1060.0;
const std::string ax7 = "Vct=0 Kp=600 Kvb=300 mu=100 Ex=1.4 Kg=1060 Vc=0.53 Igc=3.14e-4 N=3 ";

/// Koren's triode anode current (A) at Vgk, Vpk > 0.
double triodeCurrent(double vgk, double vpk) {
    const double e1 = vpk / kp * std::log1p(std::exp(kp * (1.0 / mu + vgk / std::sqrt(kvb + vpk * vpk))));
    return 2.0 * std::pow(e1, ex) / kg;
}

/// Koren's pentode anode current of the EL34 set (A).
double pentodeCurrent(double vgk, double vpk, double vsk) {
    const double e1 = vsk / 51.85 * std::log1p(std::exp(51.85 * (1.0 / 11.5 + vgk / vsk)));
    return std::atan(vpk / 25.4) * 2.0 * std::pow(e1, 1.35) / 650.2;
}

/// The root of f in [low, high], f(low) and f(high) of opposite signs.
double bisect(const std::function<double(double)>& f, double low, double high) {
    for (int i = 0; i < 200; ++i) {
        const double middle = 0.5 * (low + high);
        (f(low) > 0.0) == (f(middle) > 0.0) ? low = middle : high = middle;
    }
    return 0.5 * (low + high);
}

std::string example(const std::string& name) {
    std::ifstream file(std::string(TORVANE_SOURCE_DIR) + "/examples/" + name);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct LawPoint {
    double vgk;
    double vpk;
};

// Cut-off, class A and grid near the cathode, at low and high anode voltages.
const std::vector<LawPoint> lawPoints = {{-4.0, 250.0}, {-2.0, 100.0}, {-1.0, 20.0},
                                         {-1.0, 250.0}, {0.0, 150.0},  {0.5, 380.0}};

TEST(TriodeLaw, CurrentAndSlopesMatchTheDoubleLawAndItsFiniteDifferences) {
    NKTriodeAnodeCurrent law;
    law.setProperties(props(ax7 + "DoNotInterpolate=true"));
    const double h = 1e-4;
    for (const LawPoint& p : lawPoints) {
        SCOPED_TRACE(concat(p.vgk, " V, ", p.vpk, " V"));
        const double current = triodeCurrent(p.vgk, p.vpk);
        const double byVgk = (triodeCurrent(p.vgk + h, p.vpk) - triodeCurrent(p.vgk - h, p.vpk)) / (2 * h);
        const double byVpk = (triodeCurrent(p.vgk, p.vpk + h) - triodeCurrent(p.vgk, p.vpk - h)) / (2 * h);
        const auto vg = static_cast<scalar>(p.vgk), vp = static_cast<scalar>(p.vpk);
        EXPECT_NEAR(law.getCurrent(vg, vp), current, 1e-6 * current);
        const CurrentSlopes slopes = law.getDerivatives(vg, vp);
        EXPECT_NEAR(slopes.byVgk, byVgk, 1e-5 * byVgk);
        EXPECT_NEAR(slopes.byVpk, byVpk, 1e-5 * byVpk);
    }
}

// The bound the law's header states for the 12AX7 steps, from 10 V on the anode up: 1 % of the
// current plus 1.5 µA, 2 % of a slope plus 3 µA/V.
TEST(TriodeLaw, BilinearTableStaysWithinItsStatedErrorOfTheLaw) {
    NKTriodeAnodeCurrent table, law;
    table.setProperties(props(ax7 + "VgkMax=4 VgkMin=-8 VpMax=400 DeltaVpk=2 DeltaVgk=0.01"));
    law.setProperties(props(ax7 + "DoNotInterpolate=true"));
    const auto within = [](double read, double exact, double part, double floor) {
        return std::fabs(read - exact) <= part * std::fabs(exact) + floor;
    };
    for (double vgk = -7.993; vgk < 3.95; vgk += 0.0931) {
        for (double vpk = 10.37; vpk < 400.0; vpk += 7.13) {
            const auto vg = static_cast<scalar>(vgk), vp = static_cast<scalar>(vpk);
            const CurrentSlopes read = table.getDerivatives(vg, vp), slopes = law.getDerivatives(vg, vp);
            ASSERT_TRUE(within(table.getCurrent(vg, vp), law.getCurrent(vg, vp), 0.01, 1.5e-6) &&
                        within(read.byVgk, slopes.byVgk, 0.02, 3e-6) &&
                        within(read.byVpk, slopes.byVpk, 0.02, 3e-6))
                << vgk << " V, " << vpk << " V";
        }
    }
}

// The table is built four points at a time, the law point by point: at the table's own nodes
// the two agree to the rounding of the reading (the float weights of a node are off by up to
// 1e-4 at the low grid voltages), with Vct left out of the slope by Vpk alone, and currents
// below 1 nA held at 0.
TEST(TriodeLaw, TableNodesHoldTheLaw) {
    for (const std::string vct : {"0", "0.3"}) {
        SCOPED_TRACE("Vct " + vct);
        const std::string parameters = "Vct=" + vct + " Kp=600 Kvb=300 mu=100 Ex=1.4 Kg=1060 ";
        NKTriodeAnodeCurrent table, law;
        table.setProperties(props(parameters + "VgkMax=4 VgkMin=-8 VpMax=400 DeltaVpk=2 DeltaVgk=0.01"));
        law.setProperties(props(parameters + "DoNotInterpolate=true"));
        const auto near = [](double read, double exact) {
            return std::fabs(read - exact) <= 1e-4 * std::fabs(exact) + 1e-30;
        };
        for (int row = 0; row < 1200; row += 37) {
            for (int column = 1; column <= 200; column += 11) {
                const scalar vg = static_cast<scalar>(row) * 0.01f - 8.0f;
                const scalar vp = static_cast<scalar>(column) * 2.0f;
                const CurrentSlopes read = table.getDerivatives(vg, vp), slopes = law.getDerivatives(vg, vp);
                const scalar current = law.getCurrent(vg, vp);
                ASSERT_TRUE(near(table.getCurrent(vg, vp), current >= 1e-9f ? current : 0.0f) &&
                            near(read.byVgk, slopes.byVgk) && near(read.byVpk, slopes.byVpk))
                    << vg << " V, " << vp << " V";
            }
        }
    }
}

// The 250 V / 100 kOhm / 1.5 kOhm load line: Ip = I(−Ip·Rk, 250 − Ip·(RL + Rk)), the grid at
// 0 V through its leak.
TEST(TriodeStage, OperatingPointOfTheExampleMatchesTheLoadLine) {
    const double ip = bisect([](double i) { return triodeCurrent(-1.5e3 * i, 250.0 - 101.5e3 * i) - i; },
                             0.0, 2.5e-3);
    auto driver = driverFor(example("triode-stage.xml"));
    auto circuit = std::dynamic_pointer_cast<Circuit>(driver->getGraph("Stage"));
    const auto point = circuit->getOperatingPoint();
    EXPECT_TRUE(point.converged);
    const auto& nodes = circuit->getMNAContext()->getNodeMap();
    EXPECT_NEAR(point.x[nodes.at("plate")], 250.0 - 100e3 * ip, 0.02);
    EXPECT_NEAR(point.x[nodes.at("cathode")], 1.5e3 * ip, 1e-4);
    EXPECT_NEAR(point.x[nodes.at("grid")], 0.0, 1e-6);
}

// A stage of gain about 60 started with every node at 0 V: the anode may at most double per
// evaluation, so the first samples climb to the bias instead of overshooting, and the stage
// settles where its operating point is.
TEST(TriodeStage, ColdStartClimbsToTheBiasWithoutDiverging) {
    std::string document = example("triode-stage.xml");
    const auto start = document.find("<InitialCondition");
    const std::string end = "</InitialCondition>";
    document.replace(start, document.find(end) + end.size() - start, "<InitialCondition Type='Zero'/>");
    auto driver = driverFor(document, 256);
    const auto outputs = runBlocks(*driver, {std::vector<scalar>(48000, 0.0f)}, 256);
    const std::vector<scalar>& plate = outputs.at(1);
    for (size_t i = 0; i < plate.size(); ++i) {
        ASSERT_TRUE(plate[i] >= 0.0f && plate[i] <= 250.0f) << "sample " << i << ": " << plate[i];
    }
    EXPECT_NEAR(plate.back(), 170.1f, 0.1f);
}

// The limit on the anode acts on the proposal Newton makes: 1000 V after 100 V comes back as
// 200 V, a negative one as half the last value.
TEST(TriodeStage, AnodeProposalsAreHeldWithinAFactorOfTwo) {
    auto context = std::make_shared<MNAContext>();
    std::unique_ptr<Component> triode(ComponentFactory().create("Triode"));
    triode->init("V", props("Type=12AX7"), {"p", "g", "k"}, context);
    context->addComponent(triode.get());
    Component* stamped = triode.release();
    context->build();
    for (const auto& [proposal, held] : std::vector<std::pair<scalar, scalar>>{
             {100.0f, 100.0f}, {1000.0f, 200.0f}, {-50.0f, 100.0f}, {120.0f, 120.0f}}) {
        std::vector<scalar> x = {proposal, -1.0f, 1.0f};
        stamped->getRhs(x.data());
        EXPECT_EQ(x[0], held) << proposal;
        EXPECT_EQ(x[2], 1.0f);
    }
}

// An EL34 with grid, screen and supply fixed: the gain is −gm·(Ra ∥ rp), both slopes of the law
// at the operating point found on the load line.
TEST(PentodeStage, GainIsTheSlopeOfTheLawAcrossTheLoad) {
    const double ra = 2.5e3, supply = 450.0, screen = 250.0, bias = -12.0, step = 0.02;
    const double vp = bisect([&](double v) { return pentodeCurrent(bias, v, screen) * ra - (supply - v); },
                             0.0, supply);
    const double gm = (pentodeCurrent(bias + 1e-4, vp, screen) - pentodeCurrent(bias - 1e-4, vp, screen)) / 2e-4;
    const double gp = (pentodeCurrent(bias, vp + 1e-3, screen) - pentodeCurrent(bias, vp - 1e-3, screen)) / 2e-3;
    const double gain = -gm / (1.0 / ra + gp);
    const std::string parts =
        part("VoltageInputSource", "Vin", "InputNumber='0' UseFixedVoltage='true' DCOffset='-12'", {"grid", "0"}) +
        part("Battery", "B", "Voltage='450' UseFixedVoltage='true'", {"supply", "0"}) +
        part("Battery", "S", "Voltage='250' UseFixedVoltage='true'", {"screen", "0"}) +
        part("Resistor", "Ra", "Resistance='2500'", {"supply", "plate"}) +
        part("Pentode", "V", "Type='JJEL34'", {"plate", "screen", "grid", "0"});
    auto driver = driverFor(circuitSystem(parts, fromOperatingPoint(newton()), {"plate"}));
    const auto plate = runBlocks(*driver, {{0.0f, static_cast<scalar>(step), static_cast<scalar>(-step)}}, 3).at(0);
    EXPECT_NEAR(plate[0], vp, 1e-3 * vp);
    EXPECT_NEAR((plate[1] - plate[2]) / (2.0 * step), gain, 0.01 * std::fabs(gain));
}

// Every block of a running tube circuit, the knob of the preamp turned between blocks, goes
// without a heap allocation.
TEST(TubeCircuits, BlocksAllocateNothing) {
    const std::vector<scalar> input(256, 0.3f);
    const std::vector<scalar*> inputs = {const_cast<scalar*>(input.data())};
    for (const char* name : {"triode-stage.xml", "pentode-power-stage.xml", "three-stage-preamp.xml"}) {
        auto driver = driverFor(example(name), 256);
        driver->process(inputs, 256);
        const auto controls = driver->getControls();
        EXPECT_EQ(allocationsOf([&] {
                      for (int block = 0; block < 3; ++block) {
                          for (size_t c = 0; controls && c < controls->size(); ++c) {
                              (*controls)[c]->setValue(0.2f * static_cast<float>(block + 1));
                          }
                          driver->process(inputs, 256);
                      }
                  }),
                  0)
            << name;
    }
}

} // namespace
} // namespace nodara::testing
