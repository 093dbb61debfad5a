#include "editor/Resources.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#define TORVANE_PICTURE(name)                                                                      \
    extern "C" const std::uint8_t torvane_art_##name##_begin[];                                    \
    extern "C" const std::uint8_t torvane_art_##name##_end[];
TORVANE_PICTURE(panel)
TORVANE_PICTURE(knob)
TORVANE_PICTURE(three_way)
TORVANE_PICTURE(toggle)
TORVANE_PICTURE(donate)
#undef TORVANE_PICTURE

namespace torvane {

namespace {

struct Resource {
    std::string_view name;
    const std::uint8_t* begin;
    const std::uint8_t* end;
};

const Resource resources[] = {
    {"torvane.png", torvane_art_panel_begin, torvane_art_panel_end},
    {"fender-chicken.png", torvane_art_knob_begin, torvane_art_knob_end},
    {"HorizontalSwitch-3P.png", torvane_art_three_way_begin, torvane_art_three_way_end},
    {"VerticalSwitch.png", torvane_art_toggle_begin, torvane_art_toggle_end},
    {"donate.png", torvane_art_donate_begin, torvane_art_donate_end},
};

bool sameWithoutCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](unsigned char x, unsigned char y) {
        return std::tolower(x) == std::tolower(y);
    });
}

} // namespace

std::optional<std::span<const std::uint8_t>> findResource(std::string_view name) {
    for (const auto& resource : resources) {
        if (sameWithoutCase(resource.name, name)) {
            return std::span<const std::uint8_t>(resource.begin, resource.end);
        }
    }
    return std::nullopt;
}

} // namespace torvane
