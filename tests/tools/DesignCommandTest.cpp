#include "filterdesign/Design.h"
#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace nodara::testing {
namespace {

// Every coefficient of the library's design, printed to the last bit of its float.
TEST(DesignCommand, PrintsTheDesignAsDocumentProperties) {
    const ToolResult result = torvane("design --family butterworth --order 2 --fc 0.25");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    std::vector<float> a(2), b(3);
    ASSERT_EQ(std::sscanf(result.out.c_str(), "A=\"%g|%g\" B=\"%g|%g|%g\"\n", &a[0], &a[1], &b[0],
                          &b[1], &b[2]),
              5)
        << result.out;
    filterdesign::IirDesignContext context(filterdesign::Options::Butterworth, 2, 0.25);
    filterdesign::design(context);
    EXPECT_EQ(a, *context.getA());
    EXPECT_EQ(b, *context.getB());
}

// A design error, from the constructor's checks or from the design, is its message alone with
// exit 1; a usage error exits 2 and adds a hint line after its message.
TEST(DesignCommand, DesignErrorsPrintTheMessageAndUsageErrorsExitTwo) {
    const struct {
        const char* arguments;
        int exitCode;
        const char* firstLine;
    } cases[] = {
        {"--family butterworth --order 11 --fc 0.25", 1, "filter order out of range"},
        {"--family bessel --order 2 --fc 0.5", 1, "IirDesignContext: fc1 must be (0, 0.5)."},
        {"--family butterworth --order 2 --fc 0.2 --band bandpass --fc2 0.1", 1,
         "IirDesignContext: fc2 must be above fc1."},
        {"--family bessel --fc 0.1", 2, "torvane design: --family, --order and --fc are needed"},
    };
    for (const auto& c : cases) {
        const ToolResult result = torvane(std::string("design ") + c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.arguments;
        EXPECT_EQ(result.firstErrorLine(), c.firstLine) << c.arguments;
    }
}

} // namespace
} // namespace nodara::testing
