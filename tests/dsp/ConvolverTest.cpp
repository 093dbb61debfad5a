#include "dsp/Convolver.h"
#include "dsp/Buffer.h"

#include "dsp/ConvolutionReference.h"
#include "dsp/FailureCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>

using namespace nodara;

namespace {

std::shared_ptr<DSPContext> noContext;

std::unique_ptr<Convolver> makeConvolver(int32 maxIRSize) {
    auto convolver = std::make_unique<Convolver>();
    convolver->init("cab", {{"MaxIRSize", std::to_string(maxIRSize)}}, noContext);
    return convolver;
}

std::unique_ptr<Convolver> makeConvolver(const std::vector<float>& response, int32 blockSize) {
    auto convolver = makeConvolver(static_cast<int32>(response.size()));
    convolver->setMaxBlockSize(blockSize);
    convolver->propertyChanged("ImpulseResponse", std::make_shared<std::vector<float>>(response));
    return convolver;
}

/// Runs `input` through in blocks cycling over `blocks`; returns the concatenated outputs.
std::vector<float> run(Convolver& convolver, const std::vector<float>& input,
                       const std::vector<size_t>& blocks, size_t from = 0, size_t to = SIZE_MAX) {
    std::vector<float> output;
    to = std::min(to, input.size());
    for (size_t at = from, b = 0; at < to; ++b) {
        const size_t n = std::min(blocks[b % blocks.size()], to - at);
        std::vector<scalar*> in{const_cast<float*>(input.data() + at)};
        convolver.process(in, n);
        output.insert(output.end(), convolver.getOutput(0), convolver.getOutput(0) + n);
        at += n;
    }
    return output;
}

} // namespace

TEST(ConvolverTest, FftSizeFollowsTheGreedyRule) {
    struct Case {
        std::uint32_t block, length, size;
    };
    const Case cases[] = {
        {512, 8192, 9216}, // c = 136 = 8·17, fit = 8·2·9
        {256, 8192, 9216}, {64, 8192, 9216}, {1, 1, 64},
        {7, 13, 64},       {64, 813, 1024}, // c = 14 = 2·7, 7 → 8
        {300, 813, 1152},                   // c = 18 = 2·9
        {1, 813, 1024},                     // c = 13 → 16, although 15 would do
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Convolver::fftSizeFor(c.block, c.length), c.size)
            << "B=" << c.block << " L=" << c.length;
    }
}

TEST(ConvolverTest, FftSizeHoldsABlockAndAResponseWithSmallPrimeFactors) {
    for (std::uint32_t block = 1; block <= 1024; block += 37) {
        for (std::uint32_t length : {1u, 13u, 64u, 813u, 4097u, 8192u}) {
            const std::uint32_t size = Convolver::fftSizeFor(block, length);
            EXPECT_GE(size, block + length - 1);
            ASSERT_EQ(size % 64, 0u);
            std::uint32_t rest = size / 64;
            for (std::uint32_t prime : {2u, 3u, 5u}) {
                while (rest % prime == 0) {
                    rest /= prime;
                }
            }
            EXPECT_EQ(rest, 1u) << "B=" << block << " L=" << length << " N=" << size;
        }
    }
}

TEST(ConvolverTest, MatchesDirectConvolutionForAwkwardSizes) {
    struct Case {
        size_t length;
        int32 maxBlock;
        std::vector<size_t> blocks;
    };
    const Case cases[] = {
        {1, 64, {64}},      {13, 7, {7}},      {13, 1, {1}},
        {813, 64, {64}},    {813, 300, {300}}, {813, 300, {300, 1, 7, 64, 256, 13}},
        {8192, 256, {256}}, {8192, 64, {64}},  {8192, 300, {7, 300, 1, 256}},
        {8192, 1, {1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "L=" << c.length << " B=" << c.maxBlock);
        const auto h = reference::noise(c.length, 7);
        const auto x = reference::noise(c.length + 1500, 11);
        auto convolver = makeConvolver(h, c.maxBlock);
        const auto y = run(*convolver, x, c.blocks);
        EXPECT_LT(reference::maxError(y, reference::convolve(x, h)), reference::tolerance(h));
    }
}

TEST(ConvolverTest, GrowingTheBlockSizeKeepsTheStreamContinuous) {
    const auto h = reference::noise(813, 3);
    const auto x = reference::noise(4000, 4);
    auto convolver = makeConvolver(813);
    // Response before block size: the transforms come with the block size.
    convolver->propertyChanged("ImpulseResponse", std::make_shared<std::vector<float>>(h));
    EXPECT_EQ(convolver->getFftSize(), 0u);
    convolver->setMaxBlockSize(64);
    ASSERT_EQ(convolver->getFftSize(), 1024u);
    auto y = run(*convolver, x, {64, 7}, 0, 1500);
    convolver->setMaxBlockSize(300);
    ASSERT_EQ(convolver->getFftSize(), 1152u);
    const auto rest = run(*convolver, x, {300, 1}, 1500);
    y.insert(y.end(), rest.begin(), rest.end());
    EXPECT_LT(reference::maxError(y, reference::convolve(x, h)), reference::tolerance(h));
}

TEST(ConvolverTest, OneSampleResponseScalesTheInput) {
    const float v = -0.37f;
    const auto x = reference::noise(1000, 5);
    auto convolver = makeConvolver({v}, 64);
    const auto y = run(*convolver, x, {64, 5});
    for (size_t i = 0; i < x.size(); ++i) {
        ASSERT_NEAR(y[i], x[i] * v, 1e-6f) << i;
    }
}

TEST(ConvolverTest, OnlyTheFirstMaxIRSizeSamplesAreUsed) {
    const auto h = reference::noise(100, 8);
    const auto x = reference::noise(600, 9);
    auto convolver = makeConvolver(13);
    convolver->setMaxBlockSize(64);
    convolver->propertyChanged("ImpulseResponse", std::make_shared<std::vector<float>>(h));
    EXPECT_EQ(convolver->getImpulseResponse().size(), 100u);
    const std::vector<float> head(h.begin(), h.begin() + 13);
    EXPECT_LT(reference::maxError(run(*convolver, x, {64}), reference::convolve(x, head)),
              reference::tolerance(head));
}

TEST(ConvolverTest, ANewResponseAppliesAtOnceToPastInput) {
    const auto first = reference::noise(813, 1);
    const auto second = reference::noise(500, 2);
    const auto x = reference::noise(3000, 3);
    auto convolver = makeConvolver(first, 256);
    run(*convolver, x, {256}, 0, 2000);
    convolver->propertyChanged("ImpulseResponse", std::make_shared<std::vector<float>>(second));
    const auto y = run(*convolver, x, {256}, 2000);
    const auto expected = reference::convolve(x, second);
    EXPECT_LT(reference::maxError(y, {expected.begin() + 2000, expected.end()}),
              reference::tolerance(second));
}

TEST(ConvolverTest, ResetEqualsAFreshInstance) {
    const auto h = reference::noise(813, 21);
    const auto x = reference::noise(2000, 22);
    auto used = makeConvolver(h, 256);
    run(*used, reference::noise(1000, 23), {256});
    used->reset();
    auto fresh = makeConvolver(h, 256);
    EXPECT_EQ(run(*used, x, {256, 3}), run(*fresh, x, {256, 3}));
}

TEST(ConvolverTest, InstancesOnSeveralThreadsEachMatchTheReference) {
    const std::vector<size_t> lengths{13, 813, 8192, 813, 300, 8192};
    std::vector<double> errors(lengths.size(), 0.0);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < lengths.size(); ++i) {
        threads.emplace_back([&, i] {
            const auto h = reference::noise(lengths[i], static_cast<std::uint32_t>(40 + i));
            const auto x = reference::noise(lengths[i] + 700, static_cast<std::uint32_t>(50 + i));
            for (int32 block : {64, 256}) {
                auto convolver = makeConvolver(h, block);
                const double error = reference::maxError(
                    run(*convolver, x, {static_cast<size_t>(block)}), reference::convolve(x, h));
                errors[i] = std::max(errors[i], error / reference::tolerance(h));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (size_t i = 0; i < lengths.size(); ++i) {
        EXPECT_LT(errors[i], 1.0) << "instance " << i;
    }
}

TEST(ConvolverTest, FailuresCarryTheirMessages) {
    using failurecheck::Case;
    auto convolver = makeConvolver({0.5f}, 64);
    const Case cases[] = {
        {"no MaxIRSize", [] { Convolver().init("cab", {}, noContext); }, typeid(NodaraException),
         "MaxIRSize is not defined. Convolver name=cab"},
        {"MaxIRSize 0",
         [] {
             Convolver().init("cab", {{"MaxIRSize", "0"}}, noContext);
         },
         typeid(InvalidArgumentException),
         "MaxIRSize must be greater than or equal to 0. Convolver name=cab MaxIRSize=0"},
        {"other vector",
         [&] { convolver->propertyChanged("IR", std::make_shared<std::vector<float>>(1)); },
         typeid(InvalidArgumentException), "Convolver: Invalid property. Name=IR"},
        {"empty response",
         [&] {
             convolver->propertyChanged("ImpulseResponse", std::make_shared<std::vector<float>>());
         },
         typeid(InvalidArgumentException), "Convolver: Invalid impulse response. IR is empty."},
        {"block size 0", [&] { convolver->setMaxBlockSize(0); }, typeid(NodaraException),
         "Convolver: Invalid maxBlockSize0"},
        {"output 1", [&] { convolver->getOutput(1); }, typeid(InvalidArgumentException),
         "Convolver: Invalid output index: 1"},
        {"empty buffer", [] { Buffer(0); }, typeid(InvalidArgumentException),
         "Buffer size cannot be less than 1. size=0"},
        {"iteration", [&] { convolver->iteration(nullptr, 0, 0); },
         typeid(OperationNotSupportedException), "Convolver: Iteration is not supported."},
        {"last results", [&] { convolver->getLastIterationResults(); },
         typeid(OperationNotSupportedException),
         "Convolver: getLastIterationResults is not supported."},
        {"end iteration", [&] { convolver->endIteration(0); },
         typeid(OperationNotSupportedException), "Convolver: endIteration is not supported."},
        {"one sample", [&] { convolver->process(1.0f); }, typeid(OperationNotSupportedException),
         ""},
    };
    for (const Case& c : cases) {
        failurecheck::expectFailure(c);
    }
}
