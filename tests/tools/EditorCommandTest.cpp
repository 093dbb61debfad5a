#include "support/Tool.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

TEST(EditorCommand, TakesAScreenshotOfThePanel) {
    const auto shot = scratch() / "panel.png";
    const auto result = torvane("editor --screenshot " + shot.string());
    ASSERT_EQ(result.exitCode, 0) << result.err;
    // The header's width and height, big-endian words at bytes 16 and 20: 1000 × 400.
    const auto bytes = bytesOf(shot);
    ASSERT_GE(bytes.size(), 24u);
    EXPECT_EQ(std::string(bytes.begin() + 16, bytes.begin() + 24),
              std::string("\0\0\x03\xe8\0\0\x01\x90", 8));
}

TEST(EditorCommand, SaysSoWithoutADisplay) {
    const std::string display = std::getenv("DISPLAY");
    unsetenv("DISPLAY");
    const auto result = torvane("editor --seconds 1");
    setenv("DISPLAY", display.c_str(), 1);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("no X display"), std::string::npos) << result.err;
}

} // namespace
} // namespace nodara::testing
