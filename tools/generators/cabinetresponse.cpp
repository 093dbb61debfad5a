// cabinetresponse OUTPUT_DIR: writes OUTPUT_DIR/u87.f32, the impulse response of the
// amplifier's loudspeaker cabinet, and prints its checkpoints.
//
// The response is synthesised, not measured: a closed-back cabinet with one 12-inch guitar
// speaker, a dynamic microphone 2.3 cm from the cone, the cabinet on the floor of a damped
// room. Each part stands for one physical effect, and all are rendered at 44100 Hz with the
// framework's own recursive filters (BiQuad, FirstOrderIIR and the filterdesign
// designs).
//
// The excitation, before the speaker and microphone shape it:
// - a unit impulse, the direct sound of the cone;
// - three delayed, dulled copies: sound bouncing between cone and microphone body, the back
//   wave off the cabinet's back wall coming out through the cone (inverted, and dulled by
//   the damping wool), and the floor. They give the comb-like ripple of a close-miked
//   cabinet;
// - decaying noise: the dense decay of box and panel modes in the first milliseconds, and a
//   far quieter, slower room decay that carries the low-level tail.
//
// The speaker, on all of that:
// - a resonant high-pass near 90 Hz: the cone's mass on its suspension stiffened by the
//   sealed air, the low resonance of a closed box with 12 dB/octave below it;
// - small peaks at the box's axial standing waves, and a broad low-mid dip where the back
//   wave partly cancels the front;
// - presence lifts around 2.6 and 4 kHz, where the cone beams on axis and the dust cap
//   radiates;
// - fourteen narrow peaks and notches from 0.9 to 7 kHz at seeded, irregular places: the
//   cone's break-up modes, which make a real speaker's upper response rough;
// - a steep low-pass above 5-6 kHz: beyond break-up the cone no longer moves as a whole, and
//   the voice coil's inductance chokes the current.
// The microphone adds its own bass roll-off, which makes the fall below about 70 Hz steeper
// than the box alone, and its proximity effect, a lift of the bass this close to the source.
//
// Finally the response is moved so that its largest sample, the direct peak, lands on
// sample 973 (the silence before it is the recording's pre-delay), scaled so that this peak
// is 32766/32768, rounded to whole steps of 1/32768 (a 16-bit recording) and cut to zeros
// after sample 22614. Fixed seeds, our own mapping of the random engine's raw output and the
// filters' fixed order of arithmetic make every run write the same bytes.

#include "dsp/recursive/BiQuad.h"
#include "dsp/recursive/FirstOrderIIR.h"
#include "filterdesign/IirDesignContext.h"
#include "filterdesign/PrototypePoles.h"
#include "filterdesign/Recurrence.h"
#include "filterdesign/Request.h"
#include "filterdesign/ZTransform.h"
#include "runtime/DSPContext.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using nodara::scalar;
using Signal = std::vector<scalar>;

constexpr double sampleRate = 44100.0;
constexpr double pi = std::numbers::pi;

// The set-up, in metres, and sound in air at 20 °C in m/s.
constexpr double speedOfSound = 343.0;
constexpr double micToCone = 0.023;
constexpr double coneHeight = 0.40;
// Inside of the box.
constexpr double boxWidth = 0.62;
constexpr double boxHeight = 0.44;
constexpr double boxDepth = 0.26;

// The form of the stored response.
constexpr std::size_t responseLength = 27776;
constexpr std::size_t peakIndex = 973;
constexpr double stepsPerUnit = 32768.0;
constexpr double peakSteps = 32766.0;
constexpr std::size_t lastNonZeroIndex = 22614;
constexpr std::size_t earlyEnergyEnd = 2048;
constexpr double earlyEnergyFraction = 0.999;

// Fixed seeds: one stream for the break-up modes, one for the decay noise, so that
// retuning one does not move the other.
constexpr std::uint32_t modeSeed = 20240611u;
constexpr std::uint32_t noiseSeed = 87012u;

double samplesOf(double milliseconds) { return milliseconds * 1e-3 * sampleRate; }

/// Random numbers from the raw 32-bit output of mt19937, mapped here rather than by the
/// standard distributions, whose results differ between library implementations.
class Dice {
public:
    explicit Dice(std::uint32_t seed) : engine(seed) {}

    /// Uniform in [low, high).
    double uniform(double low, double high) {
        return low + (high - low) * (static_cast<double>(engine()) / 4294967296.0);
    }

    /// Standard normal, by the Box–Muller transform.
    double normal() {
        const double radius = std::sqrt(-2.0 * std::log(1.0 - uniform(0.0, 1.0)));
        return radius * std::cos(2.0 * pi * uniform(0.0, 1.0));
    }

private:
    std::mt19937 engine;
};

// ---- Coefficients: analogue prototypes through the bilinear transform, in double, rounded
// once to the filters' float. Conventions of the framework:
//   first order:  y = b0·x + b1·x[n−1] − a1·y[n−1]
//   second order: y = b0·x + b1·x[n−1] + b2·x[n−2] − a1·y[n−1] − a2·y[n−2]

struct FirstOrder {
    std::array<scalar, 1> a;
    std::array<scalar, 2> b;
};

struct SecondOrder {
    std::array<scalar, 2> a;
    std::array<scalar, 3> b;
};

/// tan(π·f/fs): the analogue frequency, in units of 2·fs, that the bilinear transform maps
/// onto f exactly.
double prewarped(double hertz) { return std::tan(pi * hertz / sampleRate); }

double linearGain(double decibels) { return std::pow(10.0, decibels / 20.0); }

SecondOrder secondOrder(double b0, double b1, double b2, double a0, double a1, double a2) {
    return {{scalar(a1 / a0), scalar(a2 / a0)},
            {scalar(b0 / a0), scalar(b1 / a0), scalar(b2 / a0)}};
}

/// H(s) = s² / (s² + s·ω0/Q + ω0²): unity far above ω0, Q at ω0, 12 dB/octave below.
SecondOrder resonantHighPass(double hertz, double q) {
    const double k = prewarped(hertz);
    const double k2 = k * k;
    return secondOrder(1.0, -2.0, 1.0, 1.0 + k / q + k2, 2.0 * (k2 - 1.0), 1.0 - k / q + k2);
}

/// H(s) = (s² + s·ω0·A/Q + ω0²) / (s² + s·ω0/(A·Q) + ω0²), A = 10^(dB/40): the gain at ω0 is
/// A², unity far away, and a cut is the exact mirror of a boost of the same Q.
SecondOrder peakingBand(double hertz, double q, double decibels) {
    const double k = prewarped(hertz);
    const double k2 = k * k;
    const double amplitude = std::sqrt(linearGain(decibels));
    return secondOrder(1.0 + k * amplitude / q + k2, 2.0 * (k2 - 1.0),
                       1.0 - k * amplitude / q + k2, 1.0 + k / (amplitude * q) + k2,
                       2.0 * (k2 - 1.0), 1.0 - k / (amplitude * q) + k2);
}

/// H(s) = ω1 / (s + ω1).
FirstOrder firstOrderLowPass(double hertz) {
    const double k = prewarped(hertz);
    return {{scalar((k - 1.0) / (k + 1.0))}, {scalar(k / (k + 1.0)), scalar(k / (k + 1.0))}};
}

/// H(s) = (s + g·ω1) / (s + ω1): gain g at DC, unity far above ω1.
FirstOrder lowShelf(double hertz, double decibels) {
    const double k = prewarped(hertz);
    const double g = linearGain(decibels);
    return {{scalar((k - 1.0) / (k + 1.0))},
            {scalar((1.0 + g * k) / (k + 1.0)), scalar((g * k - 1.0) / (k + 1.0))}};
}

// ---- Rendering through the framework's filters, the whole signal in one block.

void runThrough(nodara::Filter& filter, Signal& signal) {
    Signal out(signal.size());
    filter.process(signal.data(), out.data(), signal.size());
    signal.swap(out);
}

template <class Section, class Coefficients>
void runSection(const Coefficients& coefficients, Signal& signal) {
    Section section;
    auto context = std::make_shared<nodara::DSPContext>();
    section.init("section", context);
    section.setMaxBlockSize(static_cast<nodara::int32>(signal.size()));
    section.setCoefficients(coefficients.a.data(), coefficients.b.data());
    runThrough(section, signal);
}

void filterWith(const SecondOrder& coefficients, Signal& signal) {
    runSection<nodara::BiQuad>(coefficients, signal);
}

void filterWith(const FirstOrder& coefficients, Signal& signal) {
    runSection<nodara::FirstOrderIIR>(coefficients, signal);
}

/// The design's z-plane poles in conjugate pairs, each with two of its zeros, so that the
/// design runs as a cascade of BiQuads: the same filter as the whole recurrence, in arithmetic
/// that does not depend on the processor's vector units, so the bytes are the same everywhere.
std::vector<nodara::filterdesign::PoleZeroSet> secondOrderSections(
    const nodara::filterdesign::IirDesignContext& design) {
    using namespace nodara::filterdesign;
    const Request request = makeRequest(design);
    validate(request);
    PoleZeroSet zPlane = bilinearTransform(transformBand(prototypePoles(request), request));
    std::vector<PoleZeroSet> sections;
    while (!zPlane.poles.empty()) {
        const Complex pole = zPlane.poles.back();
        zPlane.poles.pop_back();
        auto partner = std::min_element(zPlane.poles.begin(), zPlane.poles.end(),
                                        [&](const Complex& x, const Complex& y) {
                                            return std::abs(x - std::conj(pole)) < std::abs(y - std::conj(pole));
                                        });
        PoleZeroSet section{{pole, *partner}, {zPlane.zeros.back(), zPlane.zeros[zPlane.zeros.size() - 2]}};
        zPlane.poles.erase(partner);
        zPlane.zeros.resize(zPlane.zeros.size() - 2);
        sections.push_back(section);
    }
    return sections;
}

/// Designs the request (even order, low- or high-pass) and runs the signal through it.
void filterWith(const nodara::filterdesign::IirDesignContext& design, Signal& signal) {
    const bool highPass = design.hasOption(nodara::filterdesign::Options::HighPass);
    for (const auto& section : secondOrderSections(design)) {
        const auto recurrence = nodara::filterdesign::expand(section, highPass ? -1.0 : 1.0);
        filterWith(SecondOrder{{scalar(recurrence.a[0]), scalar(recurrence.a[1])},
                               {scalar(recurrence.b[0]), scalar(recurrence.b[1]), scalar(recurrence.b[2])}},
                   signal);
    }
}

// ---- The excitation.

/// A copy of the direct sound arriving later, weaker and duller.
struct Reflection {
    double delayMilliseconds;
    /// Pressure relative to the direct sound; negative when the path inverts it.
    double gain;
    /// Corner of the first-order low-pass that stands for absorption on the path.
    double dullingHertz;
};

double travelMilliseconds(double metres) { return metres / speedOfSound * 1e3; }

std::vector<Reflection> reflections() {
    return {
        // Cone to microphone body and back: short, strong, bright.
        {travelMilliseconds(2.0 * micToCone), 0.16, 12000.0},
        // Back wave off the back wall and out through the cone: inverted, dulled by the wool.
        {travelMilliseconds(2.0 * boxDepth), -0.22, 900.0},
        // Floor, cabinet on the floor: down and up again, 1/r weaker than the close path.
        {travelMilliseconds(2.0 * coneHeight - micToCone), micToCone / (2.0 * coneHeight),
         4000.0},
    };
}

/// Noise under an envelope (1 − e^(−t/rise))·e^(−t/decay) from `startMilliseconds`,
/// low-passed by the absorption of its paths.
struct Decay {
    double startMilliseconds;
    double riseMilliseconds;
    double decayMilliseconds;
    /// Standard deviation of the noise at the envelope's unit level.
    double level;
    double dullingHertz;
};

const Decay decays[] = {
    // Box and panel modes, too dense to tell apart: the body of the first milliseconds.
    {0.25, 0.4, 2.6, 0.022, 6000.0},
    // The room, far quieter and slower: carries the low-level tail to the end.
    {3.0, 4.0, 250.0, 0.0004, 2500.0},
};

Signal reflection(const Reflection& path, std::size_t length) {
    Signal copy(length, 0.0f);
    copy[static_cast<std::size_t>(std::lround(samplesOf(path.delayMilliseconds)))] =
        scalar(path.gain);
    filterWith(firstOrderLowPass(path.dullingHertz), copy);
    return copy;
}

Signal decayingNoise(const Decay& decay, Dice& dice, std::size_t length) {
    Signal noise(length, 0.0f);
    const double start = samplesOf(decay.startMilliseconds);
    const double rise = samplesOf(decay.riseMilliseconds);
    const double fall = samplesOf(decay.decayMilliseconds);
    for (std::size_t n = static_cast<std::size_t>(std::ceil(start)); n < length; ++n) {
        const double t = static_cast<double>(n) - start;
        const double envelope = (1.0 - std::exp(-t / rise)) * std::exp(-t / fall);
        noise[n] = scalar(decay.level * envelope * dice.normal());
    }
    filterWith(firstOrderLowPass(decay.dullingHertz), noise);
    return noise;
}

void add(const Signal& part, Signal& sum) {
    std::transform(sum.begin(), sum.end(), part.begin(), sum.begin(), std::plus<scalar>());
}

Signal excitation(std::size_t length) {
    Signal signal(length, 0.0f);
    signal[0] = 1.0f;
    for (const Reflection& path : reflections()) {
        add(reflection(path, length), signal);
    }
    Dice dice(noiseSeed);
    for (const Decay& decay : decays) {
        add(decayingNoise(decay, dice, length), signal);
    }
    return signal;
}

// ---- The speaker and the microphone.

struct Band {
    double hertz;
    double q;
    double decibels;
};

/// Break-up modes: one per slot of equal width on a log scale from 900 Hz to 7 kHz, placed
/// at random within most of its slot, so that they neither bunch up nor look regular; peaks
/// and notches of 2–6 dB, narrow, with Q from 4 to 14.
std::vector<Band> breakUpModes() {
    constexpr int modeCount = 14;
    const double lowest = std::log(900.0);
    const double slot = (std::log(7000.0) - lowest) / modeCount;
    Dice dice(modeSeed);
    std::vector<Band> modes;
    for (int i = 0; i < modeCount; ++i) {
        const double hertz = std::exp(lowest + slot * (i + dice.uniform(0.1, 0.9)));
        const double q = dice.uniform(4.0, 14.0);
        const double sign = dice.uniform(0.0, 1.0) < 0.5 ? 1.0 : -1.0;
        modes.push_back({hertz, q, sign * dice.uniform(2.0, 6.0)});
    }
    return modes;
}

nodara::filterdesign::IirDesignContext highPassDesign(nodara::filterdesign::Options family,
                                                      int order, double hertz) {
    nodara::filterdesign::IirDesignContext request(family, order, hertz / sampleRate);
    request.setOption(nodara::filterdesign::Options::LowPass, false);
    request.setOption(nodara::filterdesign::Options::HighPass);
    return request;
}

/// The closed box and the cone.
void speaker(Signal& signal) {
    using nodara::filterdesign::IirDesignContext;
    using nodara::filterdesign::Options;
    // Cone mass on the suspension and the sealed air: the low resonance.
    filterWith(resonantHighPass(85.0, 2.0), signal);
    // Axial standing waves in the box, damped by the wool, leak out through cone and panels.
    for (const double length : {boxWidth, boxHeight, boxDepth}) {
        filterWith(peakingBand(speedOfSound / (2.0 * length), 6.0, 2.5), signal);
    }
    // Above the piston band the back wave, through the cone, partly cancels the front.
    filterWith(peakingBand(550.0, 1.0, -4.0), signal);
    // On-axis beaming of the cone, then the dust cap.
    filterWith(peakingBand(2600.0, 0.8, 4.0), signal);
    filterWith(peakingBand(4000.0, 2.0, 3.0), signal);
    for (const Band& mode : breakUpModes()) {
        filterWith(peakingBand(mode.hertz, mode.q, mode.decibels), signal);
    }
    // Past break-up, and the voice coil's inductance.
    filterWith(IirDesignContext(Options::Chebyshev, 4, 5600.0 / sampleRate, 0.0, -0.5), signal);
    filterWith(firstOrderLowPass(9000.0), signal);
}

/// The dynamic microphone 2.3 cm from the cone.
void microphone(Signal& signal) {
    // Its own bass roll-off; with the box's it falls at 24 dB/octave below about 60 Hz.
    filterWith(highPassDesign(nodara::filterdesign::Options::Butterworth, 2, 58.0), signal);
    // Proximity effect: a pressure-gradient capsule this close to the source lifts the bass.
    filterWith(lowShelf(150.0, 2.0), signal);
}

// ---- The stored form.

std::size_t largestMagnitudeIndex(const Signal& signal) {
    const auto largest = std::max_element(signal.begin(), signal.end(), [](scalar x, scalar y) {
        return std::fabs(x) < std::fabs(y);
    });
    return static_cast<std::size_t>(largest - signal.begin());
}

/// Moves the peak to `peakIndex`, scales it to `peakSteps`, rounds to whole steps and cuts
/// after `lastNonZeroIndex`. The sign is chosen so that the direct peak is positive: the
/// polarity of a microphone is a matter of wiring.
std::vector<float> storedForm(const Signal& rendered) {
    const std::size_t peak = largestMagnitudeIndex(rendered);
    if (peak > peakIndex) {
        throw std::runtime_error("the rendered peak comes later than the pre-delay allows");
    }
    const std::size_t delay = peakIndex - peak;
    const double scale = peakSteps / double(rendered[peak]);
    std::vector<float> response(responseLength, 0.0f);
    for (std::size_t n = delay; n <= lastNonZeroIndex; ++n) {
        const double steps = std::nearbyint(scale * double(rendered[n - delay]));
        response[n] = float(steps / stepsPerUnit);
    }
    return response;
}

std::vector<float> cabinetResponse() {
    Signal signal = excitation(responseLength);
    speaker(signal);
    microphone(signal);
    return storedForm(signal);
}

// ---- Checkpoints.

double energy(const std::vector<float>& response, std::size_t end) {
    double sum = 0.0;
    for (std::size_t n = 0; n < end; ++n) {
        sum += double(response[n]) * double(response[n]);
    }
    return sum;
}

std::size_t lastNonZero(const std::vector<float>& response) {
    std::size_t last = 0;
    for (std::size_t n = 0; n < response.size(); ++n) {
        if (response[n] != 0.0f) {
            last = n;
        }
    }
    return last;
}

/// |Σ h[n]·e^(−j2πfn/fs)| in dB, by a direct sum in double.
double magnitudeDecibels(const std::vector<float>& response, double hertz) {
    std::complex<double> sum = 0.0;
    for (std::size_t n = 0; n < response.size(); ++n) {
        sum += double(response[n]) * std::polar(1.0, -2.0 * pi * hertz * double(n) / sampleRate);
    }
    return 20.0 * std::log10(std::abs(sum));
}

/// The form every consumer relies on; a retuned part that breaks it must not be written.
void checkForm(const std::vector<float>& response) {
    const std::size_t peak = largestMagnitudeIndex(response);
    const bool peakInPlace = peak == peakIndex && response[peak] == float(peakSteps / stepsPerUnit);
    const bool earlyEnough =
        energy(response, earlyEnergyEnd) >= earlyEnergyFraction * energy(response, response.size());
    if (!peakInPlace || !earlyEnough || lastNonZero(response) != lastNonZeroIndex) {
        throw std::runtime_error("the response lost its form; see the checkpoints above");
    }
}

void printCheckpoints(const std::vector<float>& response) {
    const std::size_t peak = largestMagnitudeIndex(response);
    std::printf("length %zu\n", response.size());
    std::printf("peak at %zu: %.0f/32768\n", peak, double(response[peak]) * stepsPerUnit);
    std::printf("energy before %zu: %.5f\n", earlyEnergyEnd,
                energy(response, earlyEnergyEnd) / energy(response, response.size()));
    std::printf("last non-zero at %zu\n", lastNonZero(response));
    for (const double hertz : {40.0, 63.0, 80.0, 100.0, 125.0, 250.0, 500.0, 1000.0, 2000.0,
                               3000.0, 4000.0, 5000.0, 6000.0, 8000.0, 10000.0}) {
        std::printf("%6.0f Hz %6.1f dB\n", hertz, magnitudeDecibels(response, hertz));
    }
}

/// Raw little-endian float32, no header.
void writeRaw(const std::filesystem::path& path, const std::vector<float>& response) {
    std::ofstream file(path, std::ios::binary);
    for (const float value : response) {
        const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
        const char bytes[] = {char(bits), char(bits >> 8), char(bits >> 16), char(bits >> 24)};
        file.write(bytes, sizeof bytes);
    }
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: cabinetresponse OUTPUT_DIR\n");
        return 2;
    }
    try {
        const std::vector<float> response = cabinetResponse();
        printCheckpoints(response);
        checkForm(response);
        const std::filesystem::path folder = argv[1];
        std::filesystem::create_directories(folder);
        writeRaw(folder / "u87.f32", response);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinetresponse: %s\n", error.what());
        return 1;
    }
    return 0;
}
