#include "dsp/chains/ChainFusion.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

namespace nodara::testing {
namespace {

/// A table over [−1, 1] with flat stretches, so that the lookups meet their ends, equal
/// neighbours and interpolation.
std::string tableValues() {
    std::string values;
    for (int i = 0; i <= 100; ++i) {
        const double v = -1.0 + 0.02 * i;
        const double shaped = std::fabs(v) < 0.1 ? 0.0 : std::tanh(2.0 * v);
        values += (i ? "|" : "") + std::to_string(shaped);
    }
    return values;
}

std::string lookup(const std::string& name, const std::string& source) {
    return element("LookupTableFilter", name,
                   "VinMin='-1' VinMax='1' DeltaV='0.02' Vout='" + tableValues() + "'", source);
}

/// Up (×2) → G: lookup, biquad, gain (the control "Level"), lookup, first order, lookup →
/// Down (×0.5) → Out: first order, gain, the output.
std::string chainSystem() {
    const std::string stages = "Factor='2' Order='2' CornerFrequency=";
    const std::string mid =
        "<Graph Name='G' Type='DSP'>" + lookup("L1", "Graph") +
        element("BiQuad", "N", "A='-1.6|0.68' B='0.3|0.2|0.1'", "L1") +
        element("Gain", "K", "Gain='1.0'", "N") + lookup("L2", "K") +
        element("FirstOrderIIR", "C", "A='-0.9' B='0.5|-0.45'", "L2") + lookup("L3", "C") +
        "<Inputs><Input Graph='Up' Node='out'/></Inputs>"
        "<Output><Node Name='out' Element='L3' Index='0'/></Output>"
        "<NumberOfInputs>1</NumberOfInputs></Graph>";
    return systemOf(graphOf("Up", "System", "Multiplier='2.0'", "IirInterpolator",
                            stages + "'15000' Cascade='4' Type='Butterworth'") +
                        mid +
                        graphOf("Down", "G", "Multiplier='0.5'", "IirDecimator",
                                stages + "'20000' Cascade='8' Type='Butterworth'") +
                        "<Graph Name='Out' Type='DSP'>" +
                        element("FirstOrderIIR", "D", "A='-0.995' B='1|-1'", "Graph") +
                        element("Gain", "V", "Gain='0.7'", "D") +
                        "<Inputs><Input Graph='Down' Node='out'/></Inputs>"
                        "<Output><Node Name='out' Element='V' Index='0'/></Output>"
                        "<NumberOfInputs>1</NumberOfInputs></Graph>",
                    "Out", controlOf("1.0", target("Gain", "K")));
}

/// Runs blocks of the given sizes; between blocks, `between(block index)`.
template <class Between>
std::vector<scalar> play(Driver& driver, const std::vector<size_t>& blocks, Between between) {
    std::vector<scalar> input = testSignal(4096);
    std::vector<scalar> output;
    size_t start = 0;
    for (size_t b = 0; b < blocks.size() && start + blocks[b] <= input.size(); ++b) {
        between(b);
        std::vector<scalar*> pointers{input.data() + start};
        driver.process(pointers, static_cast<int32>(blocks[b]));
        const scalar* produced = (*driver.getOutputs())[0];
        output.insert(output.end(), produced, produced + blocks[b]);
        start += blocks[b];
    }
    return output;
}

bool sameBits(const std::vector<scalar>& a, const std::vector<scalar>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(scalar)) == 0;
}

} // namespace

// The fused chain against the same system run element by element, over block sizes around
// the pipelines' lags, a gain move that drives the lookups past their tables' ends, and
// fused blocks alternating with plain ones.
TEST(ChainFusion, GivesTheBitsOfTheElementsRunOneAfterAnother) {
    const std::vector<size_t> blocks{1, 7, 64, 3, 256, 2, 31, 500, 64, 1, 128, 9, 1000};
    const auto levelAt = [](Driver& driver, size_t block) {
        if (block == 5) {
            (*driver.getControls())[0]->setValue(3.0f);
        }
    };
    auto plainDriver = driverFor(chainSystem(), 1024);
    plainDriver->setFusion(nullptr);
    const auto reference = play(*plainDriver, blocks, [&](size_t b) { levelAt(*plainDriver, b); });

    struct Case {
        const char* name;
        bool alternate;
    };
    for (const Case& c : {Case{"fused", false}, Case{"alternating", true}}) {
        auto driver = driverFor(chainSystem(), 1024);
        auto fusion = std::make_shared<ChainFusion>();
        driver->setFusion(fusion);
        fusion->plan(*driver);
        ASSERT_EQ(fusion->chainCount(), 1u) << c.name;
        const auto output = play(*driver, blocks, [&](size_t b) {
            levelAt(*driver, b);
            if (c.alternate) {
                driver->setFusion(b % 2 ? nullptr : fusion);
            }
        });
        EXPECT_TRUE(sameBits(output, reference)) << c.name;
        if (!c.alternate) {
            EXPECT_EQ(fusion->fusedCount(), 1u) << c.name;
        }
    }
}

} // namespace nodara::testing
