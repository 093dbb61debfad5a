// The panel's pictures: the committed files have the sizes and frames the panel expects, the
// program carries exactly them, and the generator draws the same pixels every run.

#include "editor/Resources.h"
#include "editor/widgets/Bitmap.h"
#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cairo.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace {

using nodara::testing::bytesOf;
using torvane::widgets::Bitmap;

struct Picture {
    const char* name;
    int width, height, frames;
};

const Picture pictures[] = {
    {"torvane.png", 1000, 400, 1},          {"fender-chicken.png", 66, 6666, 101},
    {"HorizontalSwitch-3P.png", 40, 60, 3}, {"VerticalSwitch.png", 20, 80, 2},
    {"donate.png", 92, 52, 2},
};

std::filesystem::path artDirectory() {
    return std::filesystem::path(nodara::testing::sourceDirectory()) / "editor" / "art";
}

/// Pixels of frame `index` of `frames` stacked frames that differ from frame `other`.
int differingPixels(const Bitmap& bitmap, int frames, int index, int other) {
    cairo_surface_t* surface = bitmap.surface();
    cairo_surface_flush(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const int height = bitmap.height() / frames;
    const auto* data = cairo_image_surface_get_data(surface);
    int differing = 0;
    for (int y = 0; y < height; ++y) {
        const auto* a = reinterpret_cast<const std::uint32_t*>(data + (index * height + y) * stride);
        const auto* b = reinterpret_cast<const std::uint32_t*>(data + (other * height + y) * stride);
        for (int x = 0; x < bitmap.width(); ++x) {
            differing += a[x] != b[x] ? 1 : 0;
        }
    }
    return differing;
}

TEST(Art, CommittedPicturesHaveTheirSizesAndTheProgramCarriesThem) {
    for (const auto& picture : pictures) {
        const auto file = bytesOf(artDirectory() / picture.name);
        const std::span<const std::uint8_t> bytes(
            reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
        const auto bitmap = Bitmap::fromPng(bytes);
        ASSERT_TRUE(bitmap) << picture.name;
        EXPECT_EQ(bitmap->width(), picture.width) << picture.name;
        EXPECT_EQ(bitmap->height(), picture.height) << picture.name;
        const auto carried = torvane::findResource(picture.name);
        ASSERT_TRUE(carried) << picture.name;
        EXPECT_TRUE(std::ranges::equal(*carried, bytes))
            << picture.name << " in the program is not the committed file";
        for (int frame = 1; frame < picture.frames; ++frame) {
            EXPECT_GT(differingPixels(*bitmap, picture.frames, frame, frame - 1), 0)
                << picture.name << ": frame " << frame << " repeats the one before";
        }
    }
    EXPECT_TRUE(torvane::findResource("FENDER-CHICKEN.PNG")) << "names compare without case";
    EXPECT_FALSE(torvane::findResource("knob.png"));
}

TEST(Art, TheKnobsEndsLookClearlyDifferent) {
    const auto bitmap = Bitmap::fromPng(*torvane::findResource("fender-chicken.png"));
    // The pointer sweeps 300 degrees: its ends are far apart, not a full turn back.
    EXPECT_GT(differingPixels(*bitmap, 101, 0, 100), 66 * 66 / 8);
}

TEST(Art, TheGeneratorDrawsTheSamePixelsEveryRun) {
    const auto first = nodara::testing::generated("panelart");
    ASSERT_FALSE(first.empty());
    const auto again = first.parent_path() / "panelart-again";
    ASSERT_EQ(std::system((nodara::testing::buildDirectory() + "/generators/panelart " +
                           again.string() + " >/dev/null")
                              .c_str()),
              0);
    for (const auto& picture : pictures) {
        EXPECT_EQ(bytesOf(first / picture.name), bytesOf(again / picture.name)) << picture.name;
    }
}

} // namespace
