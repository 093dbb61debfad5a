#include "dsp/BiQuad.h"
#include "dsp/DifferentialFilter.h"
#include "dsp/FirstOrderIIR.h"
#include "dsp/Iir.h"
#include "dsp/ThirdOrderIIR.h"
#include "runtime/DSPContext.h"
#include "support/Documents.h"
#include "support/Signals.h"

#include "dsp/FailureCheck.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nodara::testing {
namespace {

template <class T>
std::unique_ptr<T> made(const Properties& properties, const std::string& name = "f") {
    auto filter = std::make_unique<T>();
    auto context = std::make_shared<DSPContext>();
    filter->init(name, properties, context);
    filter->setMaxBlockSize(1024);
    return filter;
}

/// The difference equations written out with their stated order of operations.
std::vector<scalar> firstOrder(const std::vector<scalar>& x, scalar b0, scalar b1, scalar a1) {
    std::vector<scalar> y(x.size());
    scalar x1 = 0, y1 = 0;
    for (size_t n = 0; n < x.size(); ++n) {
        const scalar feed = b0 * x[n] + b1 * x1;
        y[n] = feed - a1 * y1;
        x1 = x[n];
        y1 = y[n];
    }
    return y;
}

std::vector<scalar> secondOrder(const std::vector<scalar>& x, const scalar* b, const scalar* a) {
    std::vector<scalar> y(x.size());
    scalar x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    for (size_t n = 0; n < x.size(); ++n) {
        scalar s = b[1] * x1 + b[0] * x[n];
        s = s + b[2] * x2;
        s = s - a[0] * y1;
        y[n] = s - a[1] * y2;
        x2 = x1, x1 = x[n], y2 = y1, y1 = y[n];
    }
    return y;
}

std::vector<scalar> thirdOrder(const std::vector<scalar>& x, const scalar* b, const scalar* a) {
    std::vector<scalar> y(x.size());
    scalar x1 = 0, x2 = 0, x3 = 0, y1 = 0, y2 = 0, y3 = 0;
    for (size_t n = 0; n < x.size(); ++n) {
        scalar s = b[1] * x1 + b[0] * x[n];
        s = s + b[2] * x2;
        s = s + b[3] * x3;
        s = s - a[0] * y1;
        s = s - a[1] * y2;
        y[n] = s - a[2] * y3;
        x3 = x2, x2 = x1, x1 = x[n], y3 = y2, y2 = y1, y1 = y[n];
    }
    return y;
}

/// Runs `filter` over `input` in blocks of `block` frames.
template <class T>
std::vector<scalar> inBlocks(T& filter, const std::vector<scalar>& input, size_t block) {
    std::vector<scalar> out(input.size());
    for (size_t start = 0; start < input.size(); start += block) {
        filter.process(input.data() + start, out.data() + start, std::min(block, input.size() - start));
    }
    return out;
}

// The first order reads only the leading number of A.
TEST(RecursiveFilters, FixedOrdersFollowTheirOrderOfArithmeticInAnyBlocks) {
    const auto x = noise(600, 3);
    const scalar b2[] = {0.2f, 0.37f, 0.2f}, a2[] = {-0.9f, 0.3f};
    const scalar b3[] = {0.1f, 0.3f, 0.3f, 0.1f}, a3[] = {-1.2f, 0.6f, -0.1f};
    const auto expected1 = firstOrder(x, 1.0f, -1.0f, -0.9995f);
    const auto expected2 = secondOrder(x, b2, a2);
    const auto expected3 = thirdOrder(x, b3, a3);
    for (size_t block : {1u, 2u, 3u, 4u, 7u, 600u}) {
        auto first = made<FirstOrderIIR>({{"A", "-0.9995|0.7"}, {"B", "1.0|-1.0"}});
        EXPECT_EQ(inBlocks(*first, x, block), expected1) << "block " << block;
        auto second = made<BiQuad>({{"A", "-0.9|0.3"}, {"B", "0.2|0.37|0.2"}});
        EXPECT_EQ(inBlocks(*second, x, block), expected2) << "block " << block;
        auto third = made<ThirdOrderIIR>(
            {{"A", "-1.2|0.6|-0.1"}, {"B", "0.1|0.3|0.3|0.1"}, {"InputIndex", "5"}});
        EXPECT_EQ(inBlocks(*third, x, block), expected3) << "block " << block;
    }
}

TEST(RecursiveFilters, IterationMatchesTheDifferenceEquation) {
    auto biquad = made<BiQuad>({{"A", "-0.9|0.3"}, {"B", "0.2|0.37|0.2"}});
    const auto x = noise(50, 3);
    const scalar b[] = {0.2f, 0.37f, 0.2f}, a[] = {-0.9f, 0.3f};
    const auto expected = secondOrder(x, b, a);
    auto value = std::make_shared<std::vector<scalar>>(1);
    for (size_t n = 0; n < x.size(); ++n) {
        (*value)[0] = 123.0f;
        biquad->iteration(value, n, 0);
        (*value)[0] = x[n];
        biquad->iteration(value, n, 1);
        biquad->endIteration(n);
        EXPECT_NEAR(biquad->getOutput(0)[n], expected[n], 1e-5f) << n;
    }
}

TEST(RecursiveFilters, CoefficientChangesKeepTheStateAndResetClearsIt) {
    auto biquad = made<BiQuad>({{"A", "-0.5|0.1"}, {"B", "1|0.5|0"}});
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
    const Properties properties = {{"Order", "3"}, {"A", "-1.2|0.6|-0.1"}, {"B", "0.1|0.3|0.3|0.1"}};
    auto reference = made<Iir>(properties);
    const auto expected = inBlocks(*reference, x, 500);
    for (size_t block : {1u, 2u, 3u, 5u, 64u}) {
        EXPECT_EQ(inBlocks(*made<Iir>(properties), x, block), expected) << "block " << block;
    }
    auto iterated = made<Iir>(properties);
    auto value = std::make_shared<std::vector<scalar>>(1);
    for (size_t n = 0; n < 64; ++n) {
        (*value)[0] = x[n];
        iterated->iteration(value, n, 0);
        iterated->endIteration(n);
        EXPECT_EQ(iterated->getOutput(0)[n], expected[n]) << n;
    }
    const scalar b3[] = {0.1f, 0.3f, 0.3f, 0.1f}, a3[] = {-1.2f, 0.6f, -0.1f};
    const auto fixed = thirdOrder(x, b3, a3);
    for (size_t n = 0; n < x.size(); ++n) {
        ASSERT_NEAR(expected[n], fixed[n], 2e-5f) << n;
    }
    EXPECT_EQ(reference->process(1.0f), 0.0f) << "the single-sample form does nothing";
}

TEST(RecursiveFilters, IirOrderChangesNeedNewCoefficients) {
    auto iir = made<Iir>({{"Order", "2"}, {"A", "-0.9|0.3"}, {"B", "0.2|0.37|0.2"}});
    iir->propertyChanged("Order", 2.6f);
    EXPECT_EQ(iir->getTaps(), 4);
    std::vector<scalar> in(4, 1.0f), out(4);
    EXPECT_EQ(messageOf([&] { iir->process(in.data(), out.data(), 4); }),
              "Iir: Invalid length of \"a\" coefficients. Expecting: 3. Got: 2");
    EXPECT_EQ(messageOf([&] { iir->setA({1.0f}); }),
              "Iir: Invalid number of \"A\" coefficients. Expected: 3 got: 1");
    EXPECT_EQ(messageOf([&] { iir->setB({1.0f}); }),
              "Iir: Invalid number of \"B\" coefficients. Expected: 4 got: 1");
    EXPECT_EQ(messageOf([&] { iir->setOrder(0); }), "Iir: Invalid order0");
    EXPECT_EQ(messageOf([&] { iir->propertyChanged("Gain", 1.0f); }), "Iir: Unknown property Gain");
}

TEST(RecursiveFilters, DifferentialBlocksOfThreeAndFourRoundDifferently) {
    const auto plus = noise(4, 11), minus = noise(4, 12);
    const scalar g = 0.3f;
    auto difference = made<DifferentialFilter>({{"Gain", "0.3"}});
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
    std::vector<scalar> signal = {1.0f, 2.0f, 3.0f, 4.0f, 5.0f};
    std::vector<scalar> out(5);
    std::vector<scalar*> outputs = {out.data()};
    auto minusConstant = made<DifferentialFilter>(
        {{"Gain", "2"}, {"ConstantValueNode", "minus"}, {"ConstantValue", "1"}});
    minusConstant->process({signal.data(), nullptr}, outputs, 5);
    EXPECT_EQ(out, (std::vector<scalar>{0.0f, 2.0f, 4.0f, 6.0f, 8.0f}));
    auto plusConstant = made<DifferentialFilter>(
        {{"Gain", "2"}, {"ConstantValueNode", "plus"}, {"ConstantValue", "1"}});
    plusConstant->process({nullptr, signal.data()}, outputs, 3);
    EXPECT_EQ(std::vector<scalar>(out.begin(), out.begin() + 3), (std::vector<scalar>{0.0f, -2.0f, -4.0f}));
}

TEST(RecursiveFilters, PropertyFaultsGiveTheirClassAndMessage) {
    using failurecheck::Case;
    const auto biquad = [] { return made<BiQuad>({{"A", "1|2"}, {"B", "1|2|3"}}); };
    const auto third = [] {
        return made<ThirdOrderIIR>({{"A", "1|2|3"}, {"B", "1|2|3|4"}, {"InputIndex", "0"}});
    };
    const auto iir = [] { return made<Iir>({{"Order", "1"}, {"A", "1"}, {"B", "1|2"}}); };
    const auto difference = [] { return made<DifferentialFilter>({{"Gain", "1"}}); };
    const auto values = [](size_t count) { return std::make_shared<std::vector<scalar>>(count); };
    const scalar a1[] = {0.5f};
    const auto& invalid = typeid(InvalidArgumentException);
    const auto& plain = typeid(NodaraException);
    const Case cases[] = {
        {"first order without A", [] { made<FirstOrderIIR>({{"B", "1|2"}}); }, invalid,
         "A is not defined. FirstOrderIIR name=f"},
        {"first order without B", [] { made<FirstOrderIIR>({{"A", "1"}}); }, invalid,
         "B is not defined. FirstOrderIIR name=f"},
        {"first order B list", [] { made<FirstOrderIIR>({{"A", "1"}, {"B", "1|2|3"}}); }, invalid,
         "Invalid number of values for B (1|2|3). Expected 2. FirstOrderIIR name=f"},
        {"biquad without B", [] { made<BiQuad>({{"A", "1|2"}}); }, invalid,
         "B is not defined. BiQuad name=f"},
        {"biquad A list", [] { made<BiQuad>({{"A", "1"}, {"B", "1|2|3"}}); }, invalid,
         "Invalid number of values for A (1). Expected 2. BiQuad name=f"},
        {"biquad B list", [] { made<BiQuad>({{"A", "1|2"}, {"B", "1|2"}}); }, invalid,
         "Invalid number of values for B (1|2). Expected 3. BiQuad name=f"},
        {"third order without A", [] { made<ThirdOrderIIR>({{"B", "1|2|3|4"}, {"InputIndex", "0"}}); },
         invalid, "A is not defined. ThirdOrderIIR name=f"},
        {"third order without InputIndex",
         [] { made<ThirdOrderIIR>({{"A", "1|2|3"}, {"B", "1|2|3|4"}}); }, invalid,
         "InputIndex is not defined. BiQuad name=f"},
        {"third order negative InputIndex",
         [] { made<ThirdOrderIIR>({{"A", "1|2|3"}, {"B", "1|2|3|4"}, {"InputIndex", "-1"}}); },
         invalid, "InputIndex must be greater than or equal to 0. BiQuad name=f InputIndex=-1"},
        {"third order B list",
         [] { made<ThirdOrderIIR>({{"A", "1|2|3"}, {"B", "1|2|3"}, {"InputIndex", "0"}}); }, invalid,
         "Invalid number of values for B (1|2|3). Expected 4. ThirdOrderIIR name=f"},
        {"Iir without Order", [] { made<Iir>({{"A", "1"}, {"B", "1|2"}}); }, invalid,
         "Iir: Order is not defined. Iir name=f"},
        {"Iir Order 0", [] { made<Iir>({{"Order", "0"}, {"A", "1"}, {"B", "1|2"}}); }, invalid,
         "Iir: Order must be greater than 0. Iir name: f Order=0"},
        {"Iir without A", [] { made<Iir>({{"Order", "1"}, {"B", "1|2"}}); }, invalid,
         "Iir: A is not defined. Iir name=f"},
        {"Iir without B", [] { made<Iir>({{"Order", "1"}, {"A", "1"}}); }, invalid,
         "Iir: B is not defined. Iir name=f"},
        {"Iir A list", [] { made<Iir>({{"Order", "2"}, {"A", "1"}, {"B", "1|2|3"}}); }, invalid,
         "Iir: Invalid number of values for A (1). Expected 2. Iir name=f"},
        {"Iir B list", [] { made<Iir>({{"Order", "2"}, {"A", "1|2"}, {"B", "1|2"}}); }, invalid,
         "Iir: Invalid number of values for B (1|2). Expected 3. Iir name=f"},
        {"Iir order 0 at run time", [&] { iir()->setOrder(0); }, plain, "Iir: Invalid order0"},
        {"Iir block size", [&] { iir()->setMaxBlockSize(0); }, plain, "Iir: Invalid maxBlockSize0"},
        {"Iir output", [&] { iir()->getOutput(2); }, invalid, "Iir: Invalid output index: 2"},
        {"difference without Gain", [] { made<DifferentialFilter>({}); }, plain,
         "Gain is not defined. DifferentialFilter name=f"},
        {"constant without value",
         [] { made<DifferentialFilter>({{"Gain", "1"}, {"ConstantValueNode", "minus"}}); }, plain,
         "Missing value for constant value node minus"},
        {"constant on no port",
         [] { made<DifferentialFilter>({{"Gain", "1"}, {"ConstantValueNode", "in"}}); }, invalid,
         "Invalid input port name: in. Expected \"plus\" or \"minus\"."},
        {"difference property", [&] { difference()->propertyChanged("Level", 1.0f); }, invalid,
         "DifferentialFilter: Invalid property name Level"},
        {"difference block size", [&] { difference()->setMaxBlockSize(0); }, plain,
         "DifferentialFilter: Invalid maxBlockSize0"},
        {"difference output", [&] { difference()->getOutput(1); }, invalid,
         "DifferentialFilter: Invalid output index: 1"},
        {"difference one sample", [&] { difference()->process(1.0f); },
         typeid(OperationNotSupportedException), ""},
        {"biquad vector property", [&] { biquad()->propertyChanged("C", nullptr); }, invalid,
         "BiQuad: Unknown property C"},
        {"first order A vector",
         [&] { made<FirstOrderIIR>({{"A", "1"}, {"B", "1|2"}})->propertyChanged("A", values(2)); },
         invalid, "FirstOrderIIR: Invalid number of A values 2"},
        {"biquad B vector", [&] { biquad()->propertyChanged("B", values(2)); }, invalid,
         "BiQuad: Invalid number of B values 2"},
        {"third order output", [&] { third()->getOutput(1); }, invalid,
         "BiQuad: Invalid output index: 1"},
        {"third order block size", [&] { third()->setMaxBlockSize(0); }, plain,
         "ThirdOrderIIR: Invalid maxBlockSize0"},
        {"null a", [&] { biquad()->setCoefficients(nullptr, nullptr); }, plain,
         "BiQuad: a cannot be null"},
        {"null b",
         [&] { made<FirstOrderIIR>({{"A", "1"}, {"B", "1|2"}})->setCoefficients(a1, nullptr); },
         plain, "FirstOrderIIR: b cannot be null"},
    };
    for (const Case& c : cases) {
        failurecheck::expectFailure(c);
    }
}

// y = (x − g·y)·d: a difference element and a gain that read each other.
std::string feedbackLoop(const std::string& method) {
    return oneGraphSystem(
        "<Element Type=\"DifferentialFilter\" Name=\"D\"><Properties Gain=\"0.8\"/><Inputs>"
        "<Input Port=\"plus\" Element=\"Graph\" Output=\"0\"/>"
        "<Input Port=\"minus\" Element=\"G\" Output=\"out\"/></Inputs></Element>" +
            element("Gain", "G", "Gain=\"0.5\"", "D"),
        "D", method);
}

TEST(RecursiveFilters, FeedbackLoopsRunSampleBySampleAndIteratively) {
    const std::vector<scalar> x = noise(64, 3);
    auto sequential = driverFor(feedbackLoop("<Properties ProcessingMethod=\"Sequential\"/>"), 16);
    const auto delayed = runBlocks(*sequential, {x}, 16)[0];
    scalar previous = 0.0f;
    for (size_t n = 0; n < x.size(); ++n) {
        const scalar expected = (x[n] - 0.5f * previous) * 0.8f;
        ASSERT_NEAR(delayed[n], expected, 1e-6f) << n;
        previous = expected;
    }
    auto iterative = driverFor(feedbackLoop("<Properties ProcessingMethod=\"Iterative\" "
                                            "RelativeTollerance=\"1e-7\" AbsoluteTollerance=\"1e-7\" "
                                            "MaxIterations=\"100\"/>"),
                               16);
    const auto solved = runBlocks(*iterative, {x}, 16)[0];
    for (size_t n = 0; n < x.size(); ++n) {
        ASSERT_NEAR(solved[n], x[n] * 0.8f / (1.0f + 0.4f), 1e-5f) << n;
    }
}

} // namespace
} // namespace nodara::testing
