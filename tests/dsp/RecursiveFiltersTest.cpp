#include "dsp/recursive/BiQuad.h"
#include "dsp/recursive/DifferentialFilter.h"
#include "dsp/recursive/FirstOrderIIR.h"
#include "dsp/recursive/Iir.h"
#include "dsp/recursive/ThirdOrderIIR.h"
#include "support/Documents.h"
#include "support/Signals.h"

#include "support/FailureCheck.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nodara::testing {
namespace {

using namespace failurecheck;

/// y[n] = b0·x[n] + b1·x[n−1] + … − a1·y[n−1] − …, summed left to right in float.
std::vector<scalar> direct(const std::vector<scalar>& x, const std::vector<scalar>& b,
                           const std::vector<scalar>& a) {
    std::vector<scalar> y(x.size());
    for (size_t n = 0; n < x.size(); ++n) {
        scalar sum = b[0] * x[n];
        for (size_t k = 1; k < b.size(); ++k) {
            sum = sum + (n >= k ? b[k] * x[n - k] : 0.0f);
        }
        for (size_t k = 1; k <= a.size(); ++k) {
            sum = sum - (n >= k ? a[k - 1] * y[n - k] : 0.0f);
        }
        y[n] = sum;
    }
    return y;
}

/// A filter of type T ready for blocks of up to 1024 frames.
template <class T>
std::unique_ptr<T> ready(const std::string& properties) { return made<T>(properties, "f", 1024); }

/// Runs `filter` over `input` in blocks of `block` frames.
template <class T>
std::vector<scalar> inBlocks(T& filter, const std::vector<scalar>& input, size_t block) {
    std::vector<scalar> out(input.size());
    for (size_t start = 0; start < input.size(); start += block) {
        const size_t count = std::min(block, input.size() - start);
        filter.process(input.data() + start, out.data() + start, count);
    }
    return out;
}

/// The outputs of the iteration form, one sample at a time; a first, wrong guess of each
/// sample's input must leave nothing behind.
template <class T>
std::vector<scalar> iterated(T& filter, const std::vector<scalar>& x) {
    std::vector<scalar> y;
    for (size_t n = 0; n < x.size(); ++n) {
        filter.iteration(std::make_shared<std::vector<scalar>>(1, 123.0f), n, 0);
        filter.iteration(std::make_shared<std::vector<scalar>>(1, x[n]), n, 1);
        filter.endIteration(n);
        y.push_back(filter.getOutput(0)[n]);
    }
    return y;
}

const std::vector<scalar> b2 = {0.2f, 0.37f, 0.2f}, a2 = {-0.9f, 0.3f};
const std::vector<scalar> b3 = {0.1f, 0.3f, 0.3f, 0.1f}, a3 = {-1.2f, 0.6f, -0.1f};

// The first order reads only the leading number of A.
TEST(RecursiveFilters, FixedOrdersFollowTheirOrderOfArithmeticInAnyBlocks) {
    const auto x = noise(600, 3);
    const auto expected1 = direct(x, {1.0f, -1.0f}, {-0.9995f});
    for (size_t block : {1u, 2u, 3u, 4u, 7u, 600u}) {
        auto first = ready<FirstOrderIIR>("A=-0.9995|0.7 B=1.0|-1.0");
        EXPECT_EQ(inBlocks(*first, x, block), expected1) << "block " << block;
        auto second = ready<BiQuad>("A=-0.9|0.3 B=0.2|0.37|0.2");
        EXPECT_EQ(inBlocks(*second, x, block), direct(x, b2, a2)) << "block " << block;
        auto third = ready<ThirdOrderIIR>("A=-1.2|0.6|-0.1 B=0.1|0.3|0.3|0.1 InputIndex=5");
        EXPECT_EQ(inBlocks(*third, x, block), direct(x, b3, a3)) << "block " << block;
    }
}

TEST(RecursiveFilters, IterationMatchesTheDifferenceEquation) {
    const auto x = noise(50, 3), y = iterated(*ready<BiQuad>("A=-0.9|0.3 B=0.2|0.37|0.2"), x);
    const auto expected = direct(x, b2, a2);
    for (size_t n = 0; n < x.size(); ++n) {
        EXPECT_NEAR(y[n], expected[n], 1e-5f) << n;
    }
}

TEST(RecursiveFilters, CoefficientChangesKeepTheStateAndResetClearsIt) {
    auto biquad = ready<BiQuad>("A=-0.5|0.1 B=1|0.5|0");
    std::vector<scalar> in = {1.0f, 0.5f, 0.25f}, out(3);
    biquad->process(in.data(), out.data(), 3);
    biquad->propertyChanged("A", std::make_shared<std::vector<scalar>>(2, 0.0f));
    EXPECT_EQ(biquad->process(0.0f), 0.5f * 0.25f) << "the last input stays";
    biquad->reset();
    EXPECT_EQ(biquad->getLastOutput(), 0.0f);
}

// Any blocks and the sample-by-sample iteration give the one long block exactly; the fixed
// order of the same coefficients within rounding.
TEST(RecursiveFilters, IirInAnyBlocksAndIterationsEqualsOneLongBlockAndTheFixedOrder) {
    const auto x = noise(500, 3);
    const std::string properties = "Order=3 A=-1.2|0.6|-0.1 B=0.1|0.3|0.3|0.1";
    auto reference = ready<Iir>(properties);
    const auto expected = inBlocks(*reference, x, 500);
    for (size_t block : {1u, 2u, 3u, 5u, 64u}) {
        EXPECT_EQ(inBlocks(*ready<Iir>(properties), x, block), expected) << block;
    }
    EXPECT_EQ(iterated(*ready<Iir>(properties), x), expected);
    const auto fixed = direct(x, b3, a3);
    for (size_t n = 0; n < x.size(); ++n) {
        ASSERT_NEAR(expected[n], fixed[n], 2e-5f) << n;
    }
    EXPECT_EQ(reference->process(1.0f), 0.0f) << "the single-sample form does nothing";
}

TEST(RecursiveFilters, IirOrderChangesNeedNewCoefficients) {
    auto iir = ready<Iir>("Order=2 A=-0.9|0.3 B=0.2|0.37|0.2");
    iir->propertyChanged("Order", 2.6f);
    EXPECT_EQ(iir->getTaps(), 4);
    std::vector<scalar> in(4, 1.0f), out(4);
    expectFailures({
        {[&] { iir->process(in.data(), out.data(), 4); }, plain,
         "Iir: Invalid length of \"a\" coefficients. Expecting: 3. Got: 2"},
        {[&] { iir->setA({1.0f}); }, invalid,
         "Iir: Invalid number of \"A\" coefficients. Expected: 3 got: 1"},
        {[&] { iir->setB({1.0f}); }, invalid,
         "Iir: Invalid number of \"B\" coefficients. Expected: 4 got: 1"},
        {[&] { iir->propertyChanged("Gain", 1.0f); }, invalid, "Iir: Unknown property Gain"},
    });
}

TEST(RecursiveFilters, DifferentialBlocksOfThreeAndFourRoundDifferently) {
    const auto plus = noise(4, 11), minus = noise(4, 12);
    const scalar g = 0.3f;
    auto difference = ready<DifferentialFilter>("Gain=0.3");
    std::vector<scalar*> in = {const_cast<scalar*>(plus.data()), const_cast<scalar*>(minus.data())};
    std::vector<scalar> out(4);
    std::vector<scalar*> outputs = {out.data()};
    difference->process(in, outputs, 3);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(out[i], (plus[i] - minus[i]) * g);
    }
    difference->process(in, outputs, 4);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(out[i], plus[i] * g + (-g) * minus[i]);
    }
}

TEST(RecursiveFilters, DifferentialConstantsReplaceTheirPort) {
    std::vector<scalar> signal = {1.0f, 2.0f, 3.0f, 4.0f, 5.0f}, out(5);
    std::vector<scalar*> outputs = {out.data()};
    ready<DifferentialFilter>("Gain=2 ConstantValueNode=minus ConstantValue=1")
        ->process({signal.data(), nullptr}, outputs, 5);
    EXPECT_EQ(out, (std::vector<scalar>{0.0f, 2.0f, 4.0f, 6.0f, 8.0f}));
    ready<DifferentialFilter>("Gain=2 ConstantValueNode=plus ConstantValue=1")
        ->process({nullptr, signal.data()}, outputs, 3);
    EXPECT_EQ(std::vector<scalar>(out.begin(), out.begin() + 3), (std::vector<scalar>{0, -2, -4}));
}

/// An action that initialises a filter of type T from `properties`.
template <class T>
std::function<void()> initOf(const char* properties) { return [=] { made<T>(properties); }; }

TEST(RecursiveFilters, PropertyFaultsGiveTheirClassAndMessage) {
    const auto biquad = [] { return made<BiQuad>("A=1|2 B=1|2|3"); };
    const auto iir = [] { return made<Iir>("Order=1 A=1 B=1|2"); };
    const auto diff = [] { return made<DifferentialFilter>("Gain=1"); };
    const auto first = [] { return made<FirstOrderIIR>("A=1 B=1|2"); };
    const auto values = [](size_t count) { return std::make_shared<std::vector<scalar>>(count); };
    expectFailures({
        {initOf<FirstOrderIIR>("B=1|2"), invalid, "A is not defined. FirstOrderIIR name=f"},
        {initOf<FirstOrderIIR>("A=1 B=1|2|3"), invalid,
         "Invalid number of values for B (1|2|3). Expected 2. FirstOrderIIR name=f"},
        {initOf<BiQuad>("A=1|2"), invalid, "B is not defined. BiQuad name=f"},
        {initOf<BiQuad>("A=1 B=1|2|3"), invalid,
         "Invalid number of values for A (1). Expected 2. BiQuad name=f"},
        {initOf<ThirdOrderIIR>("A=1|2|3 B=1|2|3|4"),
         invalid, "InputIndex is not defined. BiQuad name=f"},
        {initOf<ThirdOrderIIR>("A=1|2|3 B=1|2|3|4 InputIndex=-1"), invalid,
         "InputIndex must be greater than or equal to 0. BiQuad name=f InputIndex=-1"},
        {initOf<Iir>("A=1 B=1|2"), invalid, "Iir: Order is not defined. Iir name=f"},
        {initOf<Iir>("Order=0 A=1 B=1|2"), invalid,
         "Iir: Order must be greater than 0. Iir name: f Order=0"},
        {initOf<Iir>("Order=1 B=1|2"), invalid, "Iir: A is not defined. Iir name=f"},
        {initOf<Iir>("Order=1 A=1"), invalid, "Iir: B is not defined. Iir name=f"},
        {initOf<Iir>("Order=2 A=1 B=1|2|3"), invalid,
         "Iir: Invalid number of values for A (1). Expected 2. Iir name=f"},
        {initOf<Iir>("Order=2 A=1|2 B=1|2"), invalid,
         "Iir: Invalid number of values for B (1|2). Expected 3. Iir name=f"},
        {[&] { iir()->setOrder(0); }, plain, "Iir: Invalid order0"},
        {[&] { iir()->setMaxBlockSize(0); }, plain, "Iir: Invalid maxBlockSize0"},
        {[&] { iir()->getOutput(2); }, invalid, "Iir: Invalid output index: 2"},
        {initOf<DifferentialFilter>(""), plain, "Gain is not defined. DifferentialFilter name=f"},
        {initOf<DifferentialFilter>("Gain=1 ConstantValueNode=minus"), plain,
         "Missing value for constant value node minus"},
        {initOf<DifferentialFilter>("Gain=1 ConstantValueNode=in"),
         invalid, "Invalid input port name: in. Expected \"plus\" or \"minus\"."},
        {[&] { diff()->propertyChanged("Level", 1.0f); }, invalid,
         "DifferentialFilter: Invalid property name Level"},
        {[&] { diff()->process(1.0f); }, unsupported, ""},
        {[&] { biquad()->propertyChanged("C", nullptr); }, invalid, "BiQuad: Unknown property C"},
        {[&] { first()->propertyChanged("A", values(2)); }, invalid,
         "FirstOrderIIR: Invalid number of A values 2"},
        {[&] { biquad()->propertyChanged("B", values(2)); }, invalid,
         "BiQuad: Invalid number of B values 2"},
    });
}

// y = (x − g·y)·d: a difference element and a gain that read each other.
std::string feedbackLoop(const std::string& method) {
    return oneGraphSystem(
        "<Element Type='DifferentialFilter' Name='D'><Properties Gain='0.8'/><Inputs>"
        "<Input Port='plus' Element='Graph' Output='0'/>"
        "<Input Port='minus' Element='G' Output='out'/></Inputs></Element>" +
            element("Gain", "G", "Gain='0.5'", "D"),
        "D", "<Properties ProcessingMethod='" + method + "'/>");
}

TEST(RecursiveFilters, FeedbackLoopsRunSampleBySampleAndIteratively) {
    const std::vector<scalar> x = noise(64, 3);
    const auto delayed = runBlocks(*driverFor(feedbackLoop("Sequential"), 16), {x}, 16)[0];
    scalar previous = 0.0f;
    for (size_t n = 0; n < x.size(); ++n) {
        const scalar expected = (x[n] - 0.5f * previous) * 0.8f;
        ASSERT_NEAR(delayed[n], expected, 1e-6f) << n;
        previous = expected;
    }
    const std::string iterative = "Iterative' RelativeTollerance='1e-7' "
                                  "AbsoluteTollerance='1e-7' MaxIterations='100";
    const auto solved = runBlocks(*driverFor(feedbackLoop(iterative), 16), {x}, 16)[0];
    for (size_t n = 0; n < x.size(); ++n) {
        ASSERT_NEAR(solved[n], x[n] * 0.8f / (1.0f + 0.4f), 1e-5f) << n;
    }
}

// A NaN or an infinity would stay in the recursion for ever; the block after it is clean.
TEST(RecursiveFilters, AValueThatIsNotFiniteLeavesNothingBehind) {
    std::vector<scalar> bad = testSignal(64);
    bad[40] = NAN;
    bad[50] = INFINITY;
    const auto clean = testSignal(64);
    const auto check = [&](auto& filter, const char* name) {
        inBlocks(filter, bad, 64);
        EXPECT_TRUE(allFinite(inBlocks(filter, clean, 64))) << name;
    };
    auto biquad = ready<BiQuad>("A=-1.6|0.64 B=0.01|0.02|0.01");
    auto first = ready<FirstOrderIIR>("A=-0.9995 B=1|-1");
    auto general = ready<Iir>("Order=3 A=-0.5|0.1|0.01 B=1|0.5|0.2|0.1");
    check(*biquad, "BiQuad");
    check(*first, "FirstOrderIIR");
    check(*general, "Iir");
}

} // namespace
} // namespace nodara::testing
