#include "demo/Pitch.h"
#include "support/Signals.h"

#include "tools/demo/GuitarRiff.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace nodara::testing {
namespace {

using torvane::demo::guitarRiff;
using torvane::demo::noteFrequency;
using torvane::demo::RiffNote;
using torvane::demo::riffNotes;

constexpr double rate = 48000.0;

const std::vector<float>& riff() {
    static const std::vector<float> samples = guitarRiff(rate);
    return samples;
}

TEST(GuitarRiff, PeaksAtMinusSixDecibelsWithEverySampleFiniteAndTheSameEveryTime) {
    EXPECT_TRUE(allFinite(riff()));
    EXPECT_NEAR(20.0 * std::log10(peak(riff())), -6.0, 0.01);
    EXPECT_EQ(guitarRiff(rate), riff());
}

TEST(GuitarRiff, IsNeverSilentForLong) {
    const auto window = static_cast<size_t>(0.2 * rate);
    for (size_t first = 0; first + window <= riff().size(); first += window / 4) {
        EXPECT_GT(peak(riff(), first, first + window), 0.02)
            << "the 0.2 s from " << first / rate << " s are near silent";
    }
}

/// A note that sounds alone from 0.1 s to 0.4 s after its start: every other note has begun
/// later or has been damped (its release plus 0.1 s) before.
std::vector<RiffNote> notesHeardAlone() {
    const auto notes = riffNotes();
    std::vector<RiffNote> alone;
    for (const auto& note : notes) {
        const double from = note.start + 0.1, to = note.start + 0.4;
        const bool clear =
            to < note.release &&
            std::none_of(notes.begin(), notes.end(), [&](const RiffNote& other) {
                return &other != &note && other.start < to && other.release + 0.1 > from;
            });
        if (clear) {
            alone.push_back(note);
        }
    }
    return alone;
}

TEST(GuitarRiff, NotesHeardAloneHaveThePitchOfTheirFret) {
    const auto alone = notesHeardAlone();
    ASSERT_FALSE(alone.empty());
    for (const auto& note : alone) {
        const auto first = static_cast<size_t>((note.start + 0.1) * rate);
        const double measured = autocorrelationPitch(riff(), first, size_t(0.3 * rate), rate);
        EXPECT_NEAR(measured / noteFrequency(note.string, note.fret), 1.0, 0.01)
            << "string " << note.string << " fret " << note.fret << " at " << note.start << " s";
    }
}

} // namespace
} // namespace nodara::testing
