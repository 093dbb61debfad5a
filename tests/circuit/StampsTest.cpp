#include "support/Documents.h"

#include "circuit/MNAContext.h"
#include "description/ComponentFactory.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace nodara::testing {
namespace {

struct Part {
    std::string type;
    std::string name;
    std::string properties;
    std::vector<std::string> nodes;
};

std::shared_ptr<MNAContext> built(const std::vector<Part>& parts, int32 mode) {
    auto context = std::make_shared<MNAContext>();
    ComponentFactory factory;
    for (const Part& p : parts) {
        std::unique_ptr<Component> component(factory.create(p.type));
        component->init(p.name, props(p.properties), p.nodes, context);
        context->addComponent(component.get());
        component.release();
    }
    context->setAnalysisMode(mode);
    context->build();
    context->assembleStaticMatrix();
    return context;
}

struct StampCase {
    const char* what;
    std::vector<Part> parts;
    int32 mode;
    /// The iterate at which rhs and the Jacobian are taken, and the expected results.
    std::vector<scalar> x;
    std::vector<std::vector<scalar>> a;
    std::vector<scalar> rhs;
    std::vector<std::vector<scalar>> jacobian;
};

const Part r1k{"Resistor", "R1", "Resistance=1000", {"a", "b"}};
const Part r2kToGround{"Resistor", "R2", "Resistance=2000", {"b", "0"}};
const Part r1kToGround{"Resistor", "R", "Resistance=1000", {"a", "0"}};

// Hand-derived: node numbers follow first appearance; extra unknowns follow the nodes; fixed
// nodes come last, their rows the identity.
std::vector<StampCase> stampCases() {
    const scalar g1 = 1.0f / 2500.0f, g2 = 1.0f / 7500.0f;
    const scalar gc = 2.0f * 1e-6f * 48000.0f;
    return {
        {"two resistors", {r1k, r2kToGround}, 1, {0, 0},
         {{1e-3f, -1e-3f}, {-1e-3f, 1e-3f + 5e-4f}}, {0, 0}, {}},
        {"a short is 1e12 S", {{"Resistor", "R", "Resistance=0", {"a", "0"}}}, 1, {0},
         {{999999995904.0f}}, {0}, {}},
        {"potentiometer, end b grounded, wiper at 0.25",
         {{"Potentiometer", "P", "Resistance=10000 Wiper=0.25", {"a", "w", "0"}}}, 1, {0, 0},
         {{g1, -g1}, {-g1, g1 + g2}}, {0, 0}, {}},
        {"potentiometer corners stay 0",
         {{"Potentiometer", "P", "Resistance=10000 Wiper=0.25", {"a", "w", "b"}}}, 1, {0, 0, 0},
         {{g1, -g1, 0}, {-g1, g1 + g2, -g2}, {0, -g2, g2}}, {0, 0, 0}, {}},
        {"capacitor after a step from 1 V: g = 2·C·rate, history −g·v",
         {r1kToGround, {"Capacitor", "C", "Capacitance=1e-6", {"a", "0"}}}, 1, {1},
         {{1e-3f + gc}}, {gc}, {}},
        {"capacitor is open at DC", {r1kToGround, {"Capacitor", "C", "Capacitance=1e-6",
                                                   {"a", "0"}}}, 0, {1}, {{1e-3f}}, {0}, {}},
        {"battery with a branch current",
         {r1kToGround, {"Battery", "B", "Voltage=5", {"a", "0"}}}, 1, {0, 0},
         {{1e-3f, 1}, {1, 0}}, {0, 5}, {}},
        {"battery on a fixed node, other end not ground",
         {r1k, r2kToGround, {"Battery", "B", "Voltage=5 UseFixedVoltage=true", {"a", "b"}}}, 1,
         {0, 0}, {{1e-3f + 5e-4f, -1e-3f}, {0, 1}}, {-5, 5}, {}},
        {"op-amp: v(out) = Gain·(v(plus) − v(minus))",
         {{"OpAmp", "U", "Gain=1000", {"p", "o", "m"}}}, 1, {0, 0, 0, 0},
         {{0, 0, 0, 0}, {0, 0, 0, 1}, {0, 0, 0, 0}, {1000, -1, -1000, 0}}, {0, 0, 0, 0}, {}},
        {"ideal amplifier drives its output node from the iterate",
         {r1kToGround, {"IdealAmplifier", "A", "Gain=3", {"a", "o"}}}, 1, {2, 0},
         {{1e-3f, 0}, {0, 1}}, {0, 6}, {}},
        {"differential amplifier",
         {r1kToGround, {"Resistor", "Rm", "Resistance=1000", {"m", "0"}},
          {"IdealDifferentialAmplifier", "A", "Gain=2", {"a", "m", "o"}}}, 1, {3, 1, 0},
         {{1e-3f, 0, 0}, {0, 1e-3f, 0}, {0, 0, 1}}, {0, 0, 4}, {}},
        {"lookup amplifier: output and input current interpolated, slope in the Jacobian",
         {r1kToGround, {"LookupTableAmp", "L",
                        "VinMin=-1 VinMax=1 DeltaV=1 Vout=0|2|6 Iin=0|1|3", {"a", "o"}}},
         1, {0.5f, 0},
         {{1e-3f, 0}, {0, 1}}, {-2, 4}, {{1e-3f + 1.75f, 0}, {0, 1}}},
    };
}

TEST(Stamps, AssembleIntoTheHandDerivedSystem) {
    for (const StampCase& c : stampCases()) {
        SCOPED_TRACE(c.what);
        auto context = built(c.parts, c.mode);
        const auto n = static_cast<Eigen::Index>(c.x.size());
        ASSERT_EQ(context->getSize(), n);
        Eigen::VectorXf x = Eigen::Map<const Eigen::VectorXf>(c.x.data(), n);
        context->setSolution(x);
        context->stepListeners();
        Eigen::VectorXf rhs(n);
        context->computeRhs(x, rhs);
        for (Eigen::Index i = 0; i < n; ++i) {
            EXPECT_FLOAT_EQ(rhs[i], c.rhs[static_cast<size_t>(i)]) << "rhs row " << i;
            for (Eigen::Index j = 0; j < n; ++j) {
                EXPECT_FLOAT_EQ(context->getStaticMatrix()(i, j),
                                c.a[static_cast<size_t>(i)][static_cast<size_t>(j)])
                    << "A(" << i << ", " << j << ")";
            }
        }
        if (!c.jacobian.empty()) {
            const Eigen::MatrixXf& jacobian = context->assembleJacobian(x);
            for (Eigen::Index i = 0; i < n; ++i) {
                for (Eigen::Index j = 0; j < n; ++j) {
                    EXPECT_FLOAT_EQ(jacobian(i, j),
                                    c.jacobian[static_cast<size_t>(i)][static_cast<size_t>(j)]);
                }
            }
        }
    }
}

TEST(Stamps, SharedFixedNodeIsNumberedOnceAndGroundIsCaseSensitive) {
    auto context = built({{"Battery", "B1", "Voltage=1 UseFixedVoltage=true", {"v", "0"}},
                          {"Battery", "B2", "Voltage=1 UseFixedVoltage=true", {"v", "0"}},
                          {"Resistor", "R", "Resistance=1", {"v", "gnd"}}},
                         1);
    EXPECT_EQ(context->getSize(), 2);
    EXPECT_EQ(context->getNodeMap().at("gnd"), 0);
    EXPECT_EQ(context->getNodeMap().at("v"), 1);
    EXPECT_EQ(context->getStaticMatrix()(1, 1), 1.0f);
}

} // namespace
} // namespace nodara::testing
