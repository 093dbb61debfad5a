#include "tools/demo/PluckedString.h"

#include "tools/demo/Random.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace torvane::demo {

namespace {

constexpr double twoPi = 2.0 * std::numbers::pi;
/// Decay times (seconds to -60 dB) are given at the fundamental and at this frequency.
constexpr double highDecayHz = 2000.0;
/// A lifted finger stops a note in a few tens of milliseconds, the highs first.
constexpr double dampLowDecay = 0.07;
constexpr double dampHighDecay = 0.015;
constexpr double dampingSeconds = 0.008;
constexpr double glideSeconds = 0.05;

/// A fretted note rings for seconds, low notes longest; a palm-muted one for a fraction.
double sustainLow(const Pluck& pluck) {
    if (pluck.palmMuted) {
        return 0.5;
    }
    return std::clamp(7.0 * std::sqrt(82.4 / pluck.frequency), 2.5, 7.0);
}

double sustainHigh(const Pluck& pluck) { return pluck.palmMuted ? 0.08 : 0.9; }

/// One-pole low pass y = (1 - p) x + p y[n-1] with its corner at `hz`.
double onePolePole(double hz, double rate) {
    return std::exp(-twoPi * std::min(hz, 0.45 * rate) / rate);
}

size_t powerOfTwoAbove(double size) {
    size_t power = 16;
    while (static_cast<double>(power) < size) {
        power *= 2;
    }
    return power;
}

} // namespace

PluckedString::PluckedString(const Pluck& pluck)
    : rate(pluck.sampleRate), period(pluck.sampleRate / pluck.frequency),
      line(powerOfTwoAbove(period * 1.1 + 8.0)),
      glide(0.003 * pluck.velocity * pluck.velocity * (pluck.palmMuted ? 0.5 : 1.0)),
      glideDecay(std::exp(-1.0 / (glideSeconds * pluck.sampleRate))),
      pickupLine(powerOfTwoAbove(pluck.pickupPosition * period + 4.0)),
      pickupDelay(std::max(1.0, pluck.pickupPosition * period)) {
    loss = designLoss(sustainLow(pluck), sustainHigh(pluck));
    dampedLoss = designLoss(dampLowDecay, dampHighDecay);
    excitation = makeExcitation(pluck);
}

/// Solves |L| at the fundamental and at 2 kHz for the loss per trip round the loop, which runs
/// once per period: A(T) = 10^(-3 / (f0 T)). The ratio R of the two gives a quadratic in the
/// pole, a^2 - 2 b a + 1 = 0 with b = (cos w0 - R^2 cos w1) / (1 - R^2) (Valimaki et al.,
/// "Physical modeling of plucked string instruments", 1996).
PluckedString::LoopLoss PluckedString::designLoss(double decayLow, double decayHigh) const {
    const double f0 = rate / period;
    const double w0 = twoPi * f0 / rate;
    const double w1 = twoPi * std::min(highDecayHz, 0.45 * rate) / rate;
    const double lowLoss = std::pow(10.0, -3.0 / (f0 * decayLow));
    const double ratio = std::pow(10.0, -3.0 / (f0 * decayHigh)) / lowLoss;
    LoopLoss result;
    const double ratioSquared = ratio * ratio;
    if (ratio < 1.0 && w1 > w0) {
        const double b = (std::cos(w0) - ratioSquared * std::cos(w1)) / (1.0 - ratioSquared);
        result.pole = b > 1.0 ? b - std::sqrt(b * b - 1.0) : 0.0;
    }
    const double a = result.pole;
    result.gain =
        std::min(lowLoss * std::sqrt(1.0 - 2.0 * a * std::cos(w0) + a * a) / (1.0 - a), 0.99999);
    result.phaseDelay = std::atan2(a * std::sin(w0), 1.0 - a * std::cos(w0)) / w0;
    return result;
}

std::vector<double> PluckedString::makeExcitation(const Pluck& pluck) const {
    const double beta = std::clamp(pluck.pickPosition, 0.02, 0.5);
    const double hardnessHz =
        (1200.0 + 4800.0 * pluck.velocity * pluck.velocity) * (pluck.palmMuted ? 0.6 : 1.0);
    const double smoothing = onePolePole(hardnessHz, rate);
    // The slope of the shape, which the pickup hears, is the same for every note and pick point.
    const double height = pluck.velocity * beta * period / 50.0;
    const double attack = (0.2 + 1.0 * (1.0 - pluck.velocity)) * 0.001 * rate;
    const double scrape = 0.0025 * rate;
    const auto length = static_cast<size_t>(std::ceil(std::max(period, 6.0 * scrape)));

    Random random(pluck.seed);
    std::vector<double> result(length);
    double shapeState = 0.0;
    double noiseState = 0.0;
    for (size_t n = 0; n < length; ++n) {
        // One period of the odd, 2-periodic extension of the triangle over the string.
        const double x = 2.0 * static_cast<double>(n) / period;
        auto triangle = [&](double u) { return u < beta ? u / beta : (1.0 - u) / (1.0 - beta); };
        const double shape = x < 1.0 ? triangle(x) : x < 2.0 ? -triangle(2.0 - x) : 0.0;
        shapeState = (1.0 - smoothing) * height * shape + smoothing * shapeState;
        const double t = static_cast<double>(n);
        const double burst = (1.0 - std::exp(-t / attack)) * std::exp(-t / scrape);
        noiseState = (1.0 - smoothing) * random.bipolar() + smoothing * noiseState;
        result[n] = shapeState + 0.02 * pluck.velocity * burst * noiseState;
    }
    return result;
}

/// 4-point Lagrange interpolation at `delay` samples back (at least 2); the taps sit at
/// whole delays k0 to k0 + 3 and d is the delay from the first of them.
double PluckedString::readLine(double delay) const {
    const size_t mask = line.size() - 1;
    const auto k0 = static_cast<size_t>(std::floor(delay)) - 1;
    const double d = delay - static_cast<double>(k0);
    auto tap = [&](size_t k) { return line[(lineWrite - k0 - k) & mask]; };
    const double h0 = -(d - 1.0) * (d - 2.0) * (d - 3.0) / 6.0;
    const double h1 = d * (d - 2.0) * (d - 3.0) / 2.0;
    const double h2 = -d * (d - 1.0) * (d - 3.0) / 2.0;
    const double h3 = d * (d - 1.0) * (d - 2.0) / 6.0;
    return h0 * tap(0) + h1 * tap(1) + h2 * tap(2) + h3 * tap(3);
}

void PluckedString::release() {
    dampingSteps = std::max(1, static_cast<int>(std::lround(dampingSeconds * rate)));
}

/// Moves the loss filter towards the damped one in equal steps, so the damping does not click.
void PluckedString::stepLoss() {
    if (dampingSteps == 0) {
        return;
    }
    const double share = 1.0 / dampingSteps;
    loss.gain += (dampedLoss.gain - loss.gain) * share;
    loss.pole += (dampedLoss.pole - loss.pole) * share;
    loss.phaseDelay += (dampedLoss.phaseDelay - loss.phaseDelay) * share;
    --dampingSteps;
}

double PluckedString::pickupOutput(double loopOutput) {
    const double velocity = loopOutput - previousLoop;
    previousLoop = loopOutput;
    const size_t mask = pickupLine.size() - 1;
    pickupLine[pickupWrite] = velocity;
    const double back = std::floor(pickupDelay);
    const double fraction = pickupDelay - back;
    const auto whole = static_cast<size_t>(back);
    const double older = pickupLine[(pickupWrite - whole - 1) & mask];
    const double newer = pickupLine[(pickupWrite - whole) & mask];
    pickupWrite = (pickupWrite + 1) & mask;
    return velocity - (newer + fraction * (older - newer));
}

double PluckedString::next() {
    // The loop is one (gliding) period long: the line's delay plus the loss filter's.
    const double delay = period / (1.0 + glide) - loss.phaseDelay;
    glide *= glideDecay;
    const double delayed = readLine(delay);
    lossState = loss.gain * (1.0 - loss.pole) * delayed + loss.pole * lossState;
    double string = lossState;
    if (excitationIndex < excitation.size()) {
        string += excitation[excitationIndex++];
    }
    line[lineWrite] = string;
    lineWrite = (lineWrite + 1) & (line.size() - 1);
    stepLoss();
    return pickupOutput(string);
}

} // namespace torvane::demo
