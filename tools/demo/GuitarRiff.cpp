#include "tools/demo/GuitarRiff.h"

#include "tools/demo/PluckedString.h"
#include "tools/demo/Random.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace torvane::demo {

namespace {

constexpr double beatSeconds = 60.0 / 112.0;
constexpr double leadIn = 0.05;
/// Notes are held for this share of their written length.
constexpr double articulation = 0.95;
/// After its release a note is rendered this long more; damping has silenced it by then.
constexpr double releaseTail = 0.25;
constexpr double finalRelease = 9.85;
constexpr double peakLevel = 0.5011872336272722;  // -6 dBFS

/// MIDI numbers of the open strings, low E to high E.
constexpr std::array<int, 6> openStrings = {40, 45, 50, 55, 59, 64};
/// Pick and pickup, as fractions of the open string's length from the bridge: picked about
/// 8 cm from the bridge, a pickup between the middle and the neck position.
constexpr double openPickPosition = 0.12;
constexpr double openPickupPosition = 0.22;

/// Frets from the low E string up; -1 leaves a string out.
using Shape = std::array<int, 6>;
constexpr Shape eMajor = {0, 2, 2, 1, 0, 0};
constexpr Shape aMajor = {-1, 0, 2, 2, 2, 0};
constexpr Shape dMajor = {-1, -1, 0, 2, 3, 2};
constexpr Shape eMajorTop = {-1, -1, 2, 1, 0, 0};

enum class Stroke { down, up };

/// Writes notes in beats, humanised, and gives each its release.
class ScoreWriter {
public:
    void pick(double beat, double beats, int string, int fret, double velocity) {
        add(beat, beats, string, fret, velocity, false, timing());
    }

    void mute(double beat, int string, int fret) {
        add(beat, 0.5, string, fret, 0.75, true, timing());
    }

    /// Two strings picked together, the second a hair later.
    void doubleStop(double beat, double beats, std::array<int, 4> stringsAndFrets,
                    double velocity) {
        const double late = timing();
        add(beat, beats, stringsAndFrets[0], stringsAndFrets[1], velocity, false, late);
        add(beat, beats, stringsAndFrets[2], stringsAndFrets[3], velocity, false, late + 0.003);
    }

    /// A chord strummed across its strings with `spread` seconds from one string to the next.
    void strum(double beat, double beats, const Shape& shape, double velocity, Stroke stroke,
               double spread) {
        double late = timing();
        for (int i = 0; i < 6; ++i) {
            const int string = stroke == Stroke::down ? i : 5 - i;
            if (shape[static_cast<size_t>(string)] >= 0) {
                add(beat, beats, string, shape[static_cast<size_t>(string)], velocity, false, late);
                late += spread;
            }
        }
    }

    /// The notes in order of start; a note ends at its release or at the next note on its
    /// string, whichever comes first.
    std::vector<RiffNote> finish() {
        std::sort(notes.begin(), notes.end(),
                  [](const RiffNote& a, const RiffNote& b) { return a.start < b.start; });
        for (size_t i = 0; i < notes.size(); ++i) {
            for (size_t j = i + 1; j < notes.size(); ++j) {
                if (notes[j].string == notes[i].string) {
                    notes[i].release = std::min(notes[i].release, notes[j].start);
                    break;
                }
            }
        }
        return notes;
    }

private:
    /// Up to 4 ms early or late.
    double timing() { return 0.004 * random.bipolar(); }

    void add(double beat, double beats, int string, int fret, double velocity, bool palmMuted,
             double late) {
        RiffNote note;
        note.string = string;
        note.fret = fret;
        note.start = std::max(0.0, leadIn + beat * beatSeconds + late);
        note.release = std::min(note.start + beats * beatSeconds * articulation, finalRelease);
        note.velocity = std::clamp(velocity * (1.0 + 0.06 * random.bipolar()), 0.05, 1.0);
        note.palmMuted = palmMuted;
        notes.push_back(note);
    }

    Random random{0x7a11u};
    std::vector<RiffNote> notes;
};

/// The pickup's inductance against the cable's capacitance: a resonant second-order low pass
/// (the cookbook form by bilinear transform), then a DC blocker at 25 Hz.
void pickupTone(std::vector<double>& signal, double rate) {
    const double corner = std::min(4000.0, 0.4 * rate);
    const double q = 1.2;
    const double w = 2.0 * std::numbers::pi * corner / rate;
    const double alpha = std::sin(w) / (2.0 * q);
    const double a0 = 1.0 + alpha;
    const double b0 = (1.0 - std::cos(w)) / 2.0 / a0;
    const double b1 = 2.0 * b0;
    const double a1 = -2.0 * std::cos(w) / a0;
    const double a2 = (1.0 - alpha) / a0;
    const double blocker = std::exp(-2.0 * std::numbers::pi * 25.0 / rate);
    double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0, dcIn = 0.0, dcOut = 0.0;
    for (double& sample : signal) {
        const double low = b0 * sample + b1 * x1 + b0 * x2 - a1 * y1 - a2 * y2;
        x2 = x1;
        x1 = sample;
        y2 = y1;
        y1 = low;
        dcOut = low - dcIn + blocker * dcOut;
        dcIn = low;
        sample = dcOut;
    }
}

void addNote(std::vector<double>& mix, const RiffNote& note, double rate, std::uint64_t seed) {
    const double open = noteFrequency(note.string, 0);
    const double frequency = noteFrequency(note.string, note.fret);
    // A fretted string is shorter, so the pick and the pickup sit further along it.
    const double shortening = frequency / open;
    Pluck pluck;
    pluck.frequency = frequency;
    pluck.sampleRate = rate;
    pluck.velocity = note.velocity;
    pluck.palmMuted = note.palmMuted;
    pluck.pickPosition = std::min(0.5, openPickPosition * shortening);
    pluck.pickupPosition = std::min(0.5, openPickupPosition * shortening);
    pluck.seed = seed;
    PluckedString string(pluck);

    const auto first = static_cast<size_t>(std::llround(note.start * rate));
    const auto releaseAt = static_cast<size_t>(std::llround(note.release * rate));
    const size_t end = std::min(mix.size(), releaseAt + static_cast<size_t>(releaseTail * rate));
    for (size_t n = first; n < end; ++n) {
        if (n == releaseAt) {
            string.release();
        }
        mix[n] += string.next();
    }
}

} // namespace

double noteFrequency(int string, int fret) {
    const int midi = openStrings.at(static_cast<size_t>(string)) + fret;
    return 440.0 * std::pow(2.0, (midi - 69) / 12.0);
}

std::vector<RiffNote> riffNotes() {
    ScoreWriter score;
    // Bar 1: muted low E, a climb to A, two double stops falling to the open G and B.
    for (double beat : {0.0, 0.5, 1.0, 1.5}) {
        score.mute(beat, 0, 0);
    }
    score.pick(2.0, 0.5, 0, 3, 0.8);
    score.pick(2.5, 0.5, 1, 0, 0.8);
    score.doubleStop(3.0, 0.5, {3, 2, 4, 3}, 0.8);
    score.doubleStop(3.5, 0.5, {3, 0, 4, 0}, 0.75);
    // Bar 2: E major down and the top strings up, muted E, D and B on the A string.
    score.strum(4.0, 1.5, eMajor, 0.9, Stroke::down, 0.007);
    score.strum(5.5, 0.5, eMajorTop, 0.6, Stroke::up, 0.005);
    score.mute(6.0, 0, 0);
    score.mute(6.5, 0, 0);
    score.pick(7.0, 0.5, 1, 5, 0.8);
    score.pick(7.5, 0.5, 1, 2, 0.8);
    // Bar 3: muted A, a walk up to E, held.
    for (double beat : {8.0, 8.5, 9.0, 9.5}) {
        score.mute(beat, 1, 0);
    }
    score.pick(10.0, 0.5, 1, 3, 0.8);
    score.pick(10.5, 0.5, 2, 0, 0.8);
    score.pick(11.0, 1.0, 2, 2, 0.85);
    // Bar 4: A major, D major up and down, muted E, G and G sharp leading home.
    score.strum(12.0, 1.0, aMajor, 0.85, Stroke::down, 0.007);
    score.strum(13.0, 0.5, dMajor, 0.6, Stroke::up, 0.005);
    score.strum(13.5, 0.5, dMajor, 0.8, Stroke::down, 0.006);
    score.mute(14.0, 0, 0);
    score.mute(14.5, 0, 0);
    score.pick(15.0, 0.5, 0, 3, 0.8);
    score.pick(15.5, 0.5, 0, 4, 0.8);
    // A slow E major to ring out.
    score.strum(16.0, 8.0, eMajor, 0.9, Stroke::down, 0.02);
    return score.finish();
}

std::vector<float> guitarRiff(double sampleRate) {
    if (!(sampleRate >= 8000.0)) {
        throw std::invalid_argument("guitarRiff: a sample rate of at least 8000 Hz is needed");
    }
    std::vector<double> mix(static_cast<size_t>(std::llround(riffSeconds * sampleRate)));
    const auto notes = riffNotes();
    for (size_t i = 0; i < notes.size(); ++i) {
        addNote(mix, notes[i], sampleRate, 0x5eed0000u + i);
    }
    pickupTone(mix, sampleRate);
    double peak = 0.0;
    for (double sample : mix) {
        peak = std::max(peak, std::fabs(sample));
    }
    const double gain = peak > 0.0 ? peakLevel / peak : 0.0;
    std::vector<float> result(mix.size());
    std::transform(mix.begin(), mix.end(), result.begin(),
                   [gain](double sample) { return static_cast<float>(sample * gain); });
    return result;
}

} // namespace torvane::demo
