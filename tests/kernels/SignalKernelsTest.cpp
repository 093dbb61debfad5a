#include "KernelTestSupport.h"
#include "kernels/signal/SignalKernelBuilds.h"

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

} // namespace
} // namespace nodara::kernels
