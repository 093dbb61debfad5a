#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace torvane {

/// The PNG bytes of a picture built into the program, found by its file name compared without
/// regard to case ("torvane.png", "fender-chicken.png", "HorizontalSwitch-3P.png",
/// "VerticalSwitch.png", "donate.png"); nothing for another name.
std::optional<std::span<const std::uint8_t>> findResource(std::string_view name);

} // namespace torvane
