#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace torvane::demo {

/// How one note is played on one string.
struct Pluck {
    double frequency = 110.0;  ///< Hz of the fretted note
    double sampleRate = 48000.0;
    double velocity = 0.8;   ///< 0 to 1: loudness and pick hardness
    bool palmMuted = false;  ///< the palm rests on the strings at the bridge
    /// Distances from the bridge as fractions of the vibrating length, which shrinks as the
    /// string is fretted: where the pick strikes and where the pickup senses.
    double pickPosition = 0.12;
    double pickupPosition = 0.2;
    std::uint64_t seed = 1;  ///< of the pick's noise
};

/// A plucked string by an extended Karplus-Strong loop (Jaffe and Smith, 1983):
///
///     s[n] = L(s[n - D(n)]) + e[n],   L(z) = g (1 - a) / (1 - a z^-1)
///
/// where D(n) is a fractional delay read by 4-point Lagrange interpolation, tuned so that D
/// plus the phase delay of the loss filter L at the fundamental is one period, and e is the
/// excitation. g and a give the decay time at the fundamental and, lower, at 2 kHz, so high
/// partials die first. The excitation is one period of the plucked shape (a triangle with its
/// apex at the pick point, whose harmonics fall as sin(k pi beta) / k^2), rounded by a low pass
/// that stands for the pick's hardness, plus a short noise burst of the pick scraping off. The
/// period starts up to a few cents short and settles (tension glide after a hard pluck).
///
/// The output is what a magnetic pickup gives: string velocity (the first difference of s)
/// seen at the pickup's position, a comb v[n] - v[n - P] with P the pickup's fraction of a
/// period. The pickup's resonance belongs to the whole instrument and is not applied here.
class PluckedString {
public:
    explicit PluckedString(const Pluck& pluck);

    /// The next output sample.
    double next();
    /// Damps the string from now on, as a lifted finger or a resting palm does.
    void release();

private:
    /// Loss filter coefficients, and its delay that the line's delay makes up to a period.
    struct LoopLoss {
        double gain = 1.0;
        double pole = 0.0;
        double phaseDelay = 0.0;  ///< samples by which the filter delays the fundamental
    };

    LoopLoss designLoss(double decayLow, double decayHigh) const;
    std::vector<double> makeExcitation(const Pluck& pluck) const;
    double readLine(double delay) const;
    void stepLoss();
    double pickupOutput(double loopOutput);

    double rate;
    double period;  ///< samples
    LoopLoss loss;
    LoopLoss dampedLoss;
    int dampingSteps = 0;  ///< samples left of the move from `loss` to `dampedLoss`
    std::vector<double> line;
    std::size_t lineWrite = 0;
    double lossState = 0.0;
    std::vector<double> excitation;
    std::size_t excitationIndex = 0;
    double glide;       ///< relative pitch raise, decaying to 0
    double glideDecay;  ///< per sample
    double previousLoop = 0.0;
    std::vector<double> pickupLine;
    std::size_t pickupWrite = 0;
    double pickupDelay;  ///< samples
};

} // namespace torvane::demo
