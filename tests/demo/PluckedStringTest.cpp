#include "demo/Pitch.h"
#include "support/Signals.h"

#include "tools/demo/GuitarRiff.h"
#include "tools/demo/PluckedString.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nodara::testing {
namespace {

using torvane::demo::Pluck;
using torvane::demo::PluckedString;

std::vector<float> play(PluckedString& string, double seconds, double rate) {
    std::vector<float> samples(static_cast<size_t>(seconds * rate));
    for (auto& sample : samples) {
        sample = static_cast<float>(string.next());
    }
    return samples;
}

TEST(PluckedString, IsInTuneWithinACentAcrossTheNeckAndRates) {
    for (double rate : {22050.0, 44100.0, 48000.0, 96000.0}) {
        for (double frequency : {82.41, 110.0, 196.0, 329.63, 493.88, 880.0}) {
            PluckedString string(Pluck{.frequency = frequency, .sampleRate = rate});
            const auto samples = play(string, 0.7, rate);
            const double measured = autocorrelationPitch(samples, static_cast<size_t>(0.3 * rate),
                                                         static_cast<size_t>(0.2 * rate), rate);
            EXPECT_NEAR(1200.0 * std::log2(measured / frequency), 0.0, 1.0)
                << frequency << " Hz at " << rate << " Hz";
        }
    }
}

/// Amplitude of the partial at `frequency` in a Hann-windowed stretch of `signal`.
double partial(const std::vector<float>& signal, double start, double frequency, double rate) {
    const auto first = static_cast<size_t>(start * rate);
    const auto length = static_cast<size_t>(0.1 * rate);
    double re = 0.0, im = 0.0;
    for (size_t i = 0; i < length; ++i) {
        const double window = 0.5 - 0.5 * std::cos(2.0 * M_PI * double(i) / double(length));
        const double phase = 2.0 * M_PI * frequency * double(i) / rate;
        re += window * signal[first + i] * std::cos(phase);
        im += window * signal[first + i] * std::sin(phase);
    }
    return std::hypot(re, im);
}

TEST(PluckedString, HighPartialsDieFirstAtTheDesignedRates) {
    // An A2 rings about 6 s at its fundamental and 0.9 s near 2 kHz (to -60 dB), so over
    // 0.4 s the fundamental loses about 4 dB and its 18th partial, 1980 Hz, about 27 dB.
    const double rate = 48000.0;
    PluckedString string(Pluck{});
    const auto samples = play(string, 0.7, rate);
    auto fall = [&](double frequency) {
        return 20.0 * std::log10(partial(samples, 0.1, frequency, rate) /
                                 partial(samples, 0.5, frequency, rate));
    };
    EXPECT_NEAR(fall(110.0), 4.0, 2.0);
    EXPECT_NEAR(fall(1980.0), 27.0, 5.0);
}

TEST(PluckedString, AReleasedOrPalmMutedStringFallsSilentQuickly) {
    PluckedString open(Pluck{}), palm(Pluck{.palmMuted = true});
    const double level = rms(play(open, 0.5, 48000.0), 19200, 24000);
    open.release();
    EXPECT_LT(rms(play(open, 0.2, 48000.0), 7200, 9600), 1e-3 * level) << "60 dB down within 0.2 s";
    EXPECT_LT(rms(play(palm, 0.5, 48000.0), 19200, 24000), 0.03 * level)
        << "30 dB below the open string at 0.4 s";
}

} // namespace
} // namespace nodara::testing
