#pragma once

#include <vector>

namespace torvane::demo {

/// One note of the riff on a six-string guitar in standard tuning; string 0 is the low E.
struct RiffNote {
    int string = 0;
    int fret = 0;
    double start = 0.0;    ///< seconds
    double release = 0.0;  ///< seconds: a lifted finger or the next note on the string damps it
    double velocity = 0.8;
    bool palmMuted = false;
};

/// Length of the riff, the last chord's ring included.
constexpr double riffSeconds = 10.0;

/// Hz of a fretted note in standard tuning, A4 at 440 Hz.
double noteFrequency(int string, int fret);

/// The riff's notes in order of start: palm-muted eighths, single notes, double stops and
/// strummed chords (a few milliseconds between strings) at 112 beats per minute, with timing
/// and force humanised from a fixed seed.
std::vector<RiffNote> riffNotes();

/// The riff played clean on an electric guitar into a DI: mono, `sampleRate` Hz (8000 Hz or
/// more), riffSeconds long, peak at -6 dBFS; the same samples for the same rate every time.
std::vector<float> guitarRiff(double sampleRate);

} // namespace torvane::demo
