#include "filterdesign/Design.h"
#include "runtime/Exceptions.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace nodara::filterdesign {
namespace {

template <class Expected>
void expectFailure(const std::function<void()>& action, const std::string& message) {
    try {
        action();
        ADD_FAILURE() << "no exception, expected \"" << message << "\"";
    } catch (const Expected& error) {
        EXPECT_EQ(std::string(error.what()), message);
    }
}

struct ConstructorCase {
    Options family;
    int32 order;
    double fc1;
    double ripple;
    const char* message;
};

// The checks run family, ripple, fc1, order: each row also breaks every later check.
TEST(IirDesignContext, ConstructorRejectsBadArgumentsInOrder) {
    const ConstructorCase cases[] = {
        {Options(0), 0, 0.7, 0.0,
         "IirDesignContext: family must be one of the following: BESSEL, BUTTERWORTH, CHEBYSHEV."},
        {Options::LowPass, 2, 0.25, -1.0,
         "IirDesignContext: family must be one of the following: BESSEL, BUTTERWORTH, CHEBYSHEV."},
        {Options::Chebyshev, 0, 0.7, 0.0, "IirDesignContext: ripple must be less than zero."},
        {Options::Chebyshev, 2, 0.25, 0.5, "IirDesignContext: ripple must be less than zero."},
        {Options::Butterworth, 0, 0.5, 0.0, "IirDesignContext: fc1 must be (0, 0.5)."},
        {Options::Butterworth, 2, 0.0, 0.0, "IirDesignContext: fc1 must be (0, 0.5)."},
        {Options::Bessel, 0, 0.25, 0.0, "DesignContext: Invalid filter order: 0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        expectFailure<InvalidArgumentException>(
            [&] { IirDesignContext(c.family, c.order, c.fc1, 0.0, c.ripple); }, c.message);
    }
}

struct DesignCase {
    const char* name;
    std::function<void(IirDesignContext&)> change;
    const char* message;
};

TEST(IirDesign, DesignRejectsBadRequestsWithTheCoreMessages) {
    const DesignCase cases[] = {
        {"no family", [](auto& c) { c.setOption(Options::Butterworth, false); },
         "missing filter design method"},
        {"two bands", [](auto& c) { c.setOption(Options::HighPass); }, "missing filter type"},
        {"no band", [](auto& c) { c.setOption(Options::LowPass, false); }, "missing filter type"},
        {"all-pass",
         [](auto& c) {
             c.setOption(Options::LowPass, false);
             c.setOption(Options::AllPass);
         },
         "allpass characteristic avaialable only with 2-pole resonator"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        IirDesignContext context(Options::Butterworth, 2, 0.25);
        c.change(context);
        expectFailure<NodaraException>([&] { design(context); }, c.message);
    }
}

TEST(IirDesign, OrdersBeyondTenOrBelowOneAreOutOfRange) {
    for (const int32 order : {11, -1}) {
        IirDesignContext context(Options::Bessel, order, 0.25);
        expectFailure<NodaraException>([&] { design(context); }, "filter order out of range");
    }
}

TEST(IirDesign, ChebyshevRippleTooLargeForThePoleSpreadFails) {
    IirDesignContext context(Options::Chebyshev, 2, 0.25, 0.0, -4000.0);
    expectFailure<NodaraException>([&] { design(context); }, "Chebyshev y must be > 0");
}

TEST(IirDesign, TwoEdgedBandsNeedASecondCornerAboveTheFirst) {
    for (const auto& [fc2, message] : {std::pair{0.5, "IirDesignContext: fc2 must be (0, 0.5)."},
                                       std::pair{0.0, "IirDesignContext: fc2 must be (0, 0.5)."},
                                       std::pair{0.1, "IirDesignContext: fc2 must be above fc1."}}) {
        for (const Options band : {Options::BandPass, Options::BandStop}) {
            IirDesignContext context(Options::Butterworth, 2, 0.2, fc2);
            context.setOption(Options::LowPass, false);
            context.setOption(band);
            expectFailure<InvalidArgumentException>([&] { design(context); }, message);
        }
    }
}

TEST(IirDesign, FailedDesignKeepsThePreviousCoefficients) {
    IirDesignContext context(Options::Butterworth, 2, 0.25);
    design(context);
    const Coefficients a = context.getA();
    const std::vector<scalar> b = *context.getB();
    context.setOption(Options::HighPass);
    EXPECT_THROW(design(context), NodaraException);
    EXPECT_EQ(context.getA(), a);
    EXPECT_EQ(*context.getB(), b);
}

TEST(IirDesign, BesselTakesPrecedenceOverAnotherFamilyOption) {
    IirDesignContext bessel(Options::Bessel, 3, 0.1);
    IirDesignContext both(Options::Bessel, 3, 0.1);
    both.setOption(Options::Butterworth);
    design(bessel);
    design(both);
    EXPECT_EQ(*both.getA(), *bessel.getA());
}

TEST(IirDesignContext, OptionIndexOfFifteenOrMoreIsOutOfRange) {
    IirDesignContext context(Options::Butterworth, 2, 0.25);
    expectFailure<std::out_of_range>([&] { context.setOption(Options(15)); },
                                     "invalid bitset<N> position");
    expectFailure<std::out_of_range>([&] { (void)context.hasOption(Options(-1)); },
                                     "invalid bitset<N> position");
}

struct RequestCase {
    unsigned options;
    int32 order;
    const char* message;
};

// Word-level checks that a context cannot reach: the resonator, the proportional integrator
// and a missing order or corner bit.
TEST(DesignCore, RequestWordValidationFollowsTheCheckOrder) {
    using namespace requestbits;
    const RequestCase cases[] = {
        {resonator | butterworth | lowPass | cornerGiven | orderGiven, 2,
         "missing filter design method"},
        {resonator | lowPass | cornerGiven, 0, "options incompatible with 2-pole resonator filter"},
        {resonator | cornerGiven, 0, "missing resonator type"},
        {proportionalIntegrator | highPass | cornerGiven | orderGiven, 1,
         "options incompatible with proportional integrator"},
        {butterworth | lowPass | cornerGiven, 2, "missing filter order"},
        {proportionalIntegrator | lowPass | cornerGiven | orderGiven, 2,
         "proportional integrator allows only order of 1"},
        {butterworth | orderGiven | lowPass, 2, "missing normalized corner frequency"},
        {chebyshev | lowPass | cornerGiven | orderGiven, 2, "Chebyshev ripple must be < 0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        const Request request{c.options, c.order, 0.25, 0.0, 0.0};
        expectFailure<NodaraException>([&] { designRecurrence(request); }, c.message);
    }
}

TEST(DesignCore, ValidResonatorAndIntegratorRequestsAreNotSupported) {
    using namespace requestbits;
    for (const unsigned options : {resonator | bandPass | cornerGiven,
                                   proportionalIntegrator | lowPass | cornerGiven | orderGiven}) {
        EXPECT_THROW(designRecurrence(Request{options, 1, 0.25, 0.0, 0.0}),
                     OperationNotSupportedException);
    }
}

TEST(DesignCore, ExpansionRejectsUnpairedRootsBeforeSurplusZeros) {
    const Complex unpaired(0.5, 0.5);
    expectFailure<NodaraException>(
        [&] { expand(PoleZeroSet{{unpaired}, {}}, 1.0); }, "poles/zeros not complex conjugates");
    expectFailure<NodaraException>(
        [&] { expand(PoleZeroSet{{0.5}, {unpaired, -1.0}}, 1.0); },
        "poles/zeros not complex conjugates");
    expectFailure<NodaraException>([&] { expand(PoleZeroSet{{0.5}, {-1.0, -1.0}}, 1.0); },
                                   "too many zeros");
}

} // namespace
} // namespace nodara::filterdesign
