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

// A usage error adds a hint line after its message.
TEST(DesignCommand, DesignErrorsPrintTheMessageAndUsageErrorsExitTwo) {
    const ToolResult design = torvane("design --family butterworth --order 11 --fc 0.25");
    EXPECT_EQ(design.exitCode, 1);
    EXPECT_EQ(design.firstErrorLine(), "filter order out of range");
    const ToolResult usage = torvane("design --family bessel --fc 0.1");
    EXPECT_EQ(usage.exitCode, 2);
    EXPECT_EQ(usage.firstErrorLine(), "torvane design: --family, --order and --fc are needed");
}

} // namespace
} // namespace nodara::testing
