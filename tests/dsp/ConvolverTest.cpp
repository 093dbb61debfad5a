#include "dsp/convolution/Convolver.h"

#include "dsp/ConvolutionReference.h"
#include "support/FailureCheck.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

#include <bit>
#include <memory>
#include <thread>

using namespace failurecheck;
using namespace nodara;
using reference::matches;
using reference::noise;
using reference::run;

namespace {

std::shared_ptr<DSPContext> noContext;

std::unique_ptr<Convolver> makeConvolver(int32 maxIRSize) {
    auto convolver = std::make_unique<Convolver>();
    convolver->init("cab", {{"MaxIRSize", std::to_string(maxIRSize)}}, noContext);
    return convolver;
}

void give(Convolver& convolver, const std::vector<float>& response) {
    convolver.propertyChanged("ImpulseResponse", std::make_shared<std::vector<float>>(response));
}

std::unique_ptr<Convolver> makeConvolver(const std::vector<float>& response, int32 blockSize) {
    auto convolver = makeConvolver(static_cast<int32>(response.size()));
    convolver->setMaxBlockSize(blockSize);
    give(*convolver, response);
    return convolver;
}

} // namespace

// Every layout covers the response once, in pieces of ascending powers of two, each level
// starting at a tap no smaller than its block. Which first block a block size gets is a matter
// of speed; the convolution tests below run the sizes around it.
TEST(ConvolverTest, PartitionsCoverTheResponseAndStartLateEnough) {
    for (std::uint32_t first : {64u, 128u, 256u}) {
        for (std::uint32_t length : {1u, 13u, 64u, 65u, 813u, 4097u, 8192u, 100000u}) {
            const auto levels = choosePartitionLevels(length, first);
            ASSERT_FALSE(levels.empty());
            EXPECT_EQ(levels.front().blockSize, first);
            EXPECT_EQ(levels.front().offset, 0u);
            for (size_t i = 1; i < levels.size(); ++i) {
                EXPECT_EQ(levels[i].offset, levels[i - 1].end());
                EXPECT_GT(levels[i].blockSize, levels[i - 1].blockSize);
                EXPECT_TRUE(std::has_single_bit(levels[i].blockSize));
                EXPECT_GE(levels[i].offset, levels[i].blockSize);
            }
            EXPECT_GE(levels.back().end(), length);
            EXPECT_LT(levels.back().end() - levels.back().blockSize, length) << "no empty piece";
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
        {8192, 1, {1}},     {8192, 8192, {8192, 1, 4095, 64, 255, 1000, 3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << "L=" << c.length << " B=" << c.maxBlock);
        const auto h = noise(c.length, 7), x = noise(c.length + 1500, 11);
        EXPECT_TRUE(matches(run(*makeConvolver(h, c.maxBlock), x, c.blocks), x, h));
    }
}

TEST(ConvolverTest, GrowingTheBlockSizeKeepsTheStreamContinuous) {
    const auto h = noise(813, 3), x = noise(4000, 4);
    auto convolver = makeConvolver(813);
    // Response before block size: the transforms come with the block size.
    give(*convolver, h);
    EXPECT_TRUE(convolver->getPartitionLevels().empty());
    convolver->setMaxBlockSize(64);
    ASSERT_EQ(convolver->getPartitionLevels().front().blockSize, 64u);
    auto y = run(*convolver, x, {64, 7}, {}, 0, 1500);
    convolver->setMaxBlockSize(300);
    ASSERT_EQ(convolver->getPartitionLevels().front().blockSize, 256u);
    const auto rest = run(*convolver, x, {300, 1}, {}, 1500);
    y.insert(y.end(), rest.begin(), rest.end());
    EXPECT_TRUE(matches(y, x, h));
}

TEST(ConvolverTest, OnlyTheFirstMaxIRSizeSamplesAreUsed) {
    const auto h = noise(100, 8), x = noise(600, 9);
    auto convolver = makeConvolver(13);
    convolver->setMaxBlockSize(64);
    give(*convolver, h);
    EXPECT_EQ(convolver->getImpulseResponse().size(), 100u);
    EXPECT_TRUE(matches(run(*convolver, x, {64}), x, {h.begin(), h.begin() + 13}));
}

TEST(ConvolverTest, ANewResponseAppliesAtOnceToPastInput) {
    const auto second = noise(500, 2), x = noise(3000, 3);
    auto convolver = makeConvolver(noise(813, 1), 256);
    run(*convolver, x, {256}, {}, 0, 2000);
    give(*convolver, second);
    const auto y = run(*convolver, x, {256}, {}, 2000);
    const auto expected = reference::convolve(x, second);
    EXPECT_LT(reference::maxError(y, {expected.begin() + 2000, expected.end()}),
              reference::tolerance(second));
}

TEST(ConvolverTest, ResetEqualsAFreshInstance) {
    const auto h = noise(813, 21), x = noise(2000, 22);
    auto used = makeConvolver(h, 256);
    run(*used, noise(1000, 23), {256});
    used->reset();
    EXPECT_EQ(run(*used, x, {256, 3}), run(*makeConvolver(h, 256), x, {256, 3}));
}

TEST(ConvolverTest, InstancesOnSeveralThreadsEachMatchTheReference) {
    const std::vector<size_t> lengths{13, 813, 8192, 813, 300, 8192};
    std::vector<int> failures(lengths.size(), 0);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < lengths.size(); ++i) {
        threads.emplace_back([&, i] {
            const auto h = noise(lengths[i], static_cast<unsigned>(40 + i));
            const auto x = noise(lengths[i] + 700, static_cast<unsigned>(50 + i));
            for (int32 block : {64, 256}) {
                const auto y = run(*makeConvolver(h, block), x, {size_t(block)});
                failures[i] += matches(y, x, h) ? 0 : 1;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, std::vector<int>(lengths.size(), 0));
}

TEST(ConvolverTest, FailuresCarryTheirMessages) {
    auto owner = makeConvolver({0.5f}, 64);
    Convolver& c = *owner;
    const auto initWith = [](const char* size) {
        return [=] { Convolver().init("cab", nodara::testing::props(size), noContext); };
    };
    expectFailures({
        {initWith(""), plain, "MaxIRSize is not defined. Convolver name=cab"},
        {initWith("MaxIRSize=0"), invalid,
         "MaxIRSize must be greater than or equal to 0. Convolver name=cab MaxIRSize=0"},
        {[&] { c.propertyChanged("IR", std::make_shared<std::vector<float>>(1)); },
         invalid, "Convolver: Invalid property. Name=IR"},
        {[&] { give(c, {}); }, invalid, "Convolver: Invalid impulse response. IR is empty."},
        {[&] { c.setMaxBlockSize(0); }, plain, "Convolver: Invalid maxBlockSize0"},
        {[&] { c.getOutput(1); }, invalid, "Convolver: Invalid output index: 1"},
        {[&] { c.iteration(nullptr, 0, 0); }, unsupported,
         "Convolver: Iteration is not supported."},
        {[&] { c.getLastIterationResults(); }, unsupported,
         "Convolver: getLastIterationResults is not supported."},
        {[&] { c.process(1.0f); }, unsupported, ""},
    });
}
