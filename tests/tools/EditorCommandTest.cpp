#include "support/Tool.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace nodara::testing {
namespace {

/// Width and height from a PNG file's header.
std::pair<int, int> pngSize(const std::filesystem::path& path) {
    const auto bytes = bytesOf(path);
    const auto word = [&](size_t at) {
        int value = 0;
        for (size_t i = at; i < at + 4 && i < bytes.size(); ++i) {
            value = value * 256 + static_cast<std::uint8_t>(bytes[i]);
        }
        return value;
    };
    return {word(16), word(20)};
}

TEST(EditorCommand, TakesAScreenshotOfThePanel) {
    const auto shot = scratch() / "panel.png";
    const auto result = torvane("editor --screenshot " + shot.string());
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(pngSize(shot), std::pair(1000, 400));
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
