#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace nodara::testing {
namespace {

struct Outcome {
    int exitCode;
    /// stdout and stderr together.
    std::string output;
};

Outcome runTorvane(const std::string& arguments) {
    const ToolResult result = torvane(arguments);
    return {result.exitCode, result.out + result.err};
}

TEST(DesignCommand, PrintsTheHalfBandSectionAsDocumentProperties) {
    const Outcome outcome = runTorvane("design --family butterworth --order 2 --fc 0.25");
    ASSERT_EQ(outcome.exitCode, 0) << outcome.output;
    float a1 = 0, a2 = 0, b0 = 0, b1 = 0, b2 = 0;
    ASSERT_EQ(std::sscanf(outcome.output.c_str(), "A=\"%g|%g\" B=\"%g|%g|%g\"\n", &a1, &a2, &b0,
                          &b1, &b2),
              5)
        << outcome.output;
    const double b0Expected = 1.0 / (2.0 + std::sqrt(2.0));
    EXPECT_NEAR(a1, 0.0, 1e-7);
    EXPECT_NEAR(a2, (2.0 - std::sqrt(2.0)) / (2.0 + std::sqrt(2.0)), 1e-7);
    EXPECT_NEAR(b0, b0Expected, 1e-7);
    EXPECT_NEAR(b1, 2.0 * b0Expected, 1e-7);
    EXPECT_NEAR(b2, b0Expected, 1e-7);
}

TEST(DesignCommand, DesignErrorsPrintTheMessageAndUsageErrorsExitTwo) {
    const struct {
        const char* arguments;
        int exitCode;
        const char* output;
    } cases[] = {
        {"design --family butterworth --order 11 --fc 0.25", 1, "filter order out of range\n"},
        {"design --family bessel --fc 0.1", 2,
         "torvane design: --family, --order and --fc are needed\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const Outcome outcome = runTorvane(c.arguments);
        EXPECT_EQ(outcome.exitCode, c.exitCode);
        // A usage error adds a hint line after its message.
        EXPECT_EQ(outcome.output.substr(0, std::string(c.output).size()), c.output);
    }
}

} // namespace
} // namespace nodara::testing
