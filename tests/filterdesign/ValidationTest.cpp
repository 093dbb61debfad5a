#include "filterdesign/Design.h"
#include "support/FailureCheck.h"

#include <gtest/gtest.h>

namespace nodara::filterdesign {
namespace {

using namespace failurecheck;

// The checks run family, ripple, fc1, order: each row also breaks every later check.
TEST(IirDesignContext, ConstructorRejectsBadArgumentsInOrder) {
    const struct {
        Options family;
        int32 order;
        double fc1, ripple;
        const char* message;
    } cases[] = {
        {Options(0), 0, 0.7, 0.0,
         "IirDesignContext: family must be one of the following: BESSEL, BUTTERWORTH, CHEBYSHEV."},
        {Options::Chebyshev, 0, 0.7, 0.0, "IirDesignContext: ripple must be less than zero."},
        {Options::Butterworth, 0, 0.5, 0.0, "IirDesignContext: fc1 must be (0, 0.5)."},
        {Options::Butterworth, 2, 0.0, 0.0, "IirDesignContext: fc1 must be (0, 0.5)."},
        {Options::Bessel, 0, 0.25, 0.0, "DesignContext: Invalid filter order: 0"},
    };
    std::vector<Case> failures;
    for (const auto& c : cases) {
        failures.push_back(
            {[c] { IirDesignContext(c.family, c.order, c.fc1, 0.0, c.ripple); }, invalid, c.message});
    }
    expectFailures(failures);
}

TEST(IirDesign, DesignRejectsBadRequestsWithTheirMessages) {
    const struct {
        int32 order;
        double fc2, ripple;
        std::vector<std::pair<Options, bool>> changes;
        const char* message;
        const std::type_info& type = plain;
    } cases[] = {
        {11, 0.0, -1.0, {}, "filter order out of range"},
        {-1, 0.0, -1.0, {}, "filter order out of range"},
        {2, 0.0, -1.0, {{Options::Chebyshev, false}}, "missing filter design method"},
        {2, 0.0, -1.0, {{Options::HighPass, true}}, "missing filter type"},
        {2, 0.0, -1.0, {{Options::LowPass, false}}, "missing filter type"},
        {2, 0.0, -1.0, {{Options::LowPass, false}, {Options::AllPass, true}},
         "allpass characteristic avaialable only with 2-pole resonator"},
        {2, 0.0, -4000.0, {}, "Chebyshev y must be > 0"},
        {2, 0.0, -1e-20, {}, "Chebyshev ripple must be < 0"},
        {2, 0.5, -1.0, {{Options::LowPass, false}, {Options::BandPass, true}},
         "IirDesignContext: fc2 must be (0, 0.5).", invalid},
        {2, 0.1, -1.0, {{Options::LowPass, false}, {Options::BandStop, true}},
         "IirDesignContext: fc2 must be above fc1.", invalid},
    };
    std::vector<Case> failures;
    for (const auto& c : cases) {
        failures.push_back({[c] {
                                IirDesignContext context(Options::Chebyshev, c.order, 0.2, c.fc2,
                                                         c.ripple);
                                for (const auto& [option, value] : c.changes) {
                                    context.setOption(option, value);
                                }
                                design(context);
                            },
                            c.type, c.message});
    }
    expectFailures(failures);
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

} // namespace
} // namespace nodara::filterdesign
