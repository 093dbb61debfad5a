#include "KernelTestSupport.h"
#include "kernels/signal/SignalKernelBuilds.h"
#include "kernels/signal/SignalKernels.h"

#include <algorithm>
#include <limits>
#include <string>

namespace nodara::kernels {
namespace {

/// Fixture of tests run once per vector build of the signal kernels; a build this processor
/// cannot run is skipped. Every build must give the reference's bits.
class SignalKernels : public ::testing::TestWithParam<const SignalKernelBuild*> {
protected:
    void SetUp() override {
        if (GetParam()->minimumLevel > instructionSetLevel()) {
            GTEST_SKIP() << GetParam()->name << " is beyond this processor";
        }
    }
    const SignalKernelBuild& build() const { return *GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(Builds, SignalKernels,
                         ::testing::Values(&signalSse2Build, &signalAvx2Build, &signalAvx512Build),
                         [](const auto& info) { return std::string(info.param->name); });

TEST(SignalKernelDispatch, TheWidestBuildThisProcessorRunsIsChosen) {
    EXPECT_EQ(&signalBuildForLevel(levelSse4), &signalSse2Build);
    EXPECT_EQ(&signalBuildForLevel(levelAvx2), &signalAvx2Build);
    EXPECT_EQ(&signalBuildForLevel(levelAvx512), &signalAvx512Build);
    EXPECT_EQ(supportedSignalBuilds().back(), &signalBuildForLevel(instructionSetLevel()));
}

// Spectra of 8 and 24 complex values, 1 to 5 terms, with a stride wider than a spectrum; the
// sum lies in a guarded array that no build may write past.
TEST_P(SignalKernels, SpectrumProductsEqualThePlainLoop) {
    for (int32 complexCount : {8, 24}) {
        for (int32 terms : {1, 2, 5}) {
            const int32 stride = 2 * complexCount + 16;
            const std::vector<scalar> responses = noise(size_t(terms * stride), 1);
            std::vector<std::vector<scalar>> inputs;
            std::vector<const scalar*> spectra;
            for (int32 t = 0; t < terms; ++t) {
                inputs.push_back(noise(size_t(2 * complexCount), 10 + unsigned(t)));
            }
            for (const auto& input : inputs) {
                spectra.push_back(input.data());
            }
            std::vector<scalar> sum = noise(size_t(2 * complexCount) + 8, 2), expected = sum;
            build().sumOfSpectrumProducts(complexCount, terms, spectra.data(), responses.data(),
                                          stride, sum.data());
            signalReferenceBuild.sumOfSpectrumProducts(complexCount, terms, spectra.data(),
                                                       responses.data(), stride, expected.data());
            EXPECT_EQ(bitsOf(sum), bitsOf(expected)) << complexCount << " values, " << terms << " terms";
        }
    }
}

/// Stable stages with coefficients that differ from stage to stage, in the lane layout.
std::vector<scalar> cascadeCoefficients(int32 stages, int32 stride) {
    std::vector<scalar> rows(size_t(biQuadRows * stride), 0.0f);
    const std::vector<scalar> spread = noise(size_t(biQuadRows * stages), 3);
    for (int32 s = 0; s < stages; ++s) {
        const auto at = [&](int32 row) { return spread[size_t(row * stages + s)]; };
        rows[size_t(rowB0 * stride + s)] = 0.2f + 0.1f * at(rowB0);
        rows[size_t(rowB1 * stride + s)] = 0.4f + 0.1f * at(rowB1);
        rows[size_t(rowB2 * stride + s)] = 0.2f + 0.1f * at(rowB2);
        rows[size_t(rowA1 * stride + s)] = -1.1f + 0.1f * at(rowA1);
        rows[size_t(rowA2 * stride + s)] = 0.4f + 0.1f * at(rowA2);
    }
    return rows;
}

// Stage counts below, at and past each lane width; blocks from 1 frame (shorter than the
// pipeline) to long ones, the state carried from block to block; the vector build writes in
// place, the reference from one array to another.
TEST_P(SignalKernels, CascadeEqualsItsStagesOneAfterAnother) {
    const std::vector<int32> blocks = {1, 7, 64, 300, 2, 1000, 5, 3};
    const std::vector<scalar> input = noise(2000, 4);
    for (int32 stages : {1, 2, 3, 4, 5, 8, 9, 12, 16, 17}) {
        const int32 stride = biQuadRowStride(stages);
        const std::vector<scalar> coefficients = cascadeCoefficients(stages, stride);
        std::vector<scalar> state(size_t(biQuadStateRows * stride), 0.0f), expectedState = state;
        std::vector<scalar> output = input, expected(input.size());
        for (size_t at = 0, b = 0; at < input.size(); at += size_t(blocks[b++ % blocks.size()])) {
            const int32 n = std::min(blocks[b % blocks.size()], int32(input.size() - at));
            build().biQuadCascade(stages, coefficients.data(), state.data(), stride,
                                  output.data() + at, output.data() + at, n);
            signalReferenceBuild.biQuadCascade(stages, coefficients.data(), expectedState.data(),
                                               stride, input.data() + at, expected.data() + at, n);
        }
        EXPECT_EQ(bitsOf(output), bitsOf(expected)) << stages << " stages";
        // Columns past the last stage are the lanes' scratch.
        for (int32 row = 0; row < biQuadStateRows; ++row) {
            const auto first = size_t(row * stride);
            EXPECT_EQ(bitsOf({state.begin() + first, state.begin() + first + stages}),
                      bitsOf({expectedState.begin() + first, expectedState.begin() + first + stages}))
                << stages << " stages, state row " << row;
        }
    }
}

// Inputs over and past both ends, exactly on entries, NaN and values whose product overflows the
// integer; tables of one, two and many entries with runs of equal neighbours; lengths that do
// not fill a gang; the vector build works in place.
TEST_P(SignalKernels, LookupEqualsThePlainLoop) {
    const scalar vinMin = -8.0f, deltaV = 0.02f, inverse = 1.0f / deltaV;
    std::vector<scalar> inputs = noise(333, 5);
    for (scalar& x : inputs) {
        x = 10.0f * x;
    }
    for (int32 i : {0, 1, 2, 399, 400}) {
        inputs.push_back(vinMin + static_cast<scalar>(i) * deltaV);
    }
    for (scalar x : {std::numeric_limits<scalar>::quiet_NaN(), 1e30f, -1e30f, -8.005f, -7.985f}) {
        inputs.push_back(x);
    }
    for (size_t entries : {size_t(1), size_t(2), size_t(3), size_t(401)}) {
        std::vector<scalar> table = noise(entries, 6);
        for (size_t i = 10; i + 1 < entries && i < 20; ++i) {
            table[i + 1] = table[i];
        }
        const auto last = static_cast<int32>(entries) - 1;
        for (int32 frames : {static_cast<int32>(inputs.size()), 21}) {
            std::vector<scalar> output = inputs, expected(inputs.size());
            build().tableLookup(table.data(), last, vinMin, deltaV, inverse, output.data(),
                                output.data(), frames);
            signalReferenceBuild.tableLookup(table.data(), last, vinMin, deltaV, inverse,
                                             inputs.data(), expected.data(), frames);
            output.resize(size_t(frames));
            expected.resize(size_t(frames));
            EXPECT_EQ(bitsOf(output), bitsOf(expected)) << entries << " entries, " << frames << " frames";
        }
    }
}

} // namespace
} // namespace nodara::kernels

namespace nodara::kernels {
namespace {

/// The fused chain's parts one after another over a block, with the plain cascades and
/// lookups of the reference build and the steps' formulas.
struct PlainChain {
    int32 factor;
    std::vector<scalar> upRows, downRows, upState, downState;
    int32 upStages, downStages, stride;
    std::vector<ChainStep> steps, after;

    static void step(ChainStep& s, scalar* values, int32 frames) {
        const scalar* c = s.coefficients;
        for (int32 n = 0; n < frames; ++n) {
            const scalar x = values[n];
            if (s.kind == ChainStepKind::Gain) {
                values[n] = x * c[0];
            } else if (s.kind == ChainStepKind::Lookup) {
                signalReferenceBuild.tableLookup(s.table, s.last, s.vinMin, s.deltaV, s.inverse,
                                                 values + n, values + n, 1);
            } else if (s.kind == ChainStepKind::FirstOrder) {
                values[n] = (c[0] * x + c[1] * s.x1) - c[2] * s.y1;
                s.x1 = x;
                s.y1 = values[n];
            } else {
                values[n] = (((c[0] * x + c[1] * s.x1) + c[2] * s.x2) - c[3] * s.y1) - c[4] * s.y2;
                s.x2 = s.x1;
                s.x1 = x;
                s.y2 = s.y1;
                s.y1 = values[n];
            }
        }
    }

    void run(const scalar* in, scalar* out, int32 frames) {
        std::vector<scalar> raised(size_t(factor * frames), 0.0f);
        for (int32 n = 0; n < frames; ++n) {
            raised[size_t(factor * n)] = in[n];
        }
        const int32 inner = factor * frames;
        signalReferenceBuild.biQuadCascade(upStages, upRows.data(), upState.data(), stride,
                                           raised.data(), raised.data(), inner);
        for (ChainStep& s : steps) {
            step(s, raised.data(), inner);
        }
        signalReferenceBuild.biQuadCascade(downStages, downRows.data(), downState.data(), stride,
                                           raised.data(), raised.data(), inner);
        for (int32 n = 0; n < frames; ++n) {
            out[n] = raised[size_t(factor * n)];
        }
        for (ChainStep& s : after) {
            step(s, out, frames);
        }
    }
};

ChainStep stepOf(ChainStepKind kind, std::vector<scalar> coefficients,
                 const std::vector<scalar>* table = nullptr) {
    ChainStep step;
    step.kind = kind;
    std::copy(coefficients.begin(), coefficients.end(), step.coefficients);
    if (table != nullptr) {
        step.table = table->data();
        step.last = static_cast<int32>(table->size()) - 1;
        step.vinMin = -1.0f;
        step.deltaV = 2.0f / static_cast<scalar>(step.last);
        step.inverse = 1.0f / step.deltaV;
    }
    return step;
}

class FusedChains : public ::testing::TestWithParam<const SignalKernelBuild*> {};

INSTANTIATE_TEST_SUITE_P(Builds, FusedChains,
                         ::testing::Values(&signalSse2Build, &signalAvx2Build, &signalAvx512Build),
                         [](const auto& info) { return std::string(info.param->name); });

// Each build that fuses the chain (the cascades in one register or two) against its parts run
// one after another: factors 2 and 4, with and without steps after the decimator, blocks
// shorter and longer than the pipelines, a loud input that drives the tables past their ends;
// the outputs and every state carried over.
TEST_P(FusedChains, EqualTheirPartsOneAfterAnother) {
    if (GetParam()->minimumLevel > instructionSetLevel()) {
        GTEST_SKIP() << GetParam()->name << " is beyond this processor";
    }
    std::vector<scalar> table = noise(101, 7);
    for (size_t i = 40; i < 50; ++i) {
        table[i + 1] = table[i];
    }
    std::vector<scalar> input = noise(3000, 8);
    for (size_t n = 1500; n < 2000; ++n) {
        input[n] *= 8.0f;
    }
    const std::vector<int32> blocks = {1, 7, 64, 300, 2, 1000, 5, 256, 3};
    for (int32 factor : {2, 4}) {
        for (bool withAfter : {false, true}) {
            PlainChain plain{factor, {}, {}, {}, {}, 4, 8, biQuadRowStride(8), {}, {}};
            plain.upRows = cascadeCoefficients(4, plain.stride);
            plain.downRows = cascadeCoefficients(8, plain.stride);
            plain.upState.assign(size_t(biQuadStateRows * plain.stride), 0.0f);
            plain.downState = plain.upState;
            plain.steps = {stepOf(ChainStepKind::Lookup, {}, &table),
                           stepOf(ChainStepKind::SecondOrder, {0.3f, 0.2f, 0.1f, -1.6f, 0.68f}),
                           stepOf(ChainStepKind::Gain, {1.5f}),
                           stepOf(ChainStepKind::Lookup, {}, &table),
                           stepOf(ChainStepKind::FirstOrder, {0.5f, -0.45f, -0.9f}),
                           stepOf(ChainStepKind::Lookup, {}, &table)};
            if (withAfter) {
                plain.after = {stepOf(ChainStepKind::FirstOrder, {1.0f, -1.0f, -0.995f}),
                               stepOf(ChainStepKind::Gain, {0.7f})};
            }
            PlainChain fused = plain;
            FusedChain chain{factor,
                             {4, fused.upRows.data(), fused.upState.data(), fused.stride},
                             {8, fused.downRows.data(), fused.downState.data(), fused.stride},
                             fused.steps.data(), int32(fused.steps.size()),
                             fused.after.data(), int32(fused.after.size())};
            if (!GetParam()->fusedChainSupported(chain, nullptr, nullptr, 0)) {
                continue;
            }
            std::vector<scalar> output(input.size()), expected(input.size());
            const size_t sizes = blocks.size();
            for (size_t at = 0, b = 0; at < input.size(); at += size_t(blocks[b++ % sizes])) {
                const int32 n = std::min(blocks[b % sizes], int32(input.size() - at));
                GetParam()->runFusedChain(chain, input.data() + at, output.data() + at, n);
                plain.run(input.data() + at, expected.data() + at, n);
            }
            const std::string name = std::to_string(factor) + (withAfter ? "x, after" : "x");
            EXPECT_EQ(bitsOf(output), bitsOf(expected)) << name;
            EXPECT_EQ(bitsOf(fused.upState), bitsOf(plain.upState)) << name;
            EXPECT_EQ(bitsOf(fused.downState), bitsOf(plain.downState)) << name;
            for (size_t s = 0; s < plain.steps.size(); ++s) {
                EXPECT_EQ(bitsOf({fused.steps[s].x1, fused.steps[s].x2, fused.steps[s].y1,
                                  fused.steps[s].y2}),
                          bitsOf({plain.steps[s].x1, plain.steps[s].x2, plain.steps[s].y1,
                                  plain.steps[s].y2}))
                    << name << ", step " << s;
            }
        }
    }
}

} // namespace
} // namespace nodara::kernels
