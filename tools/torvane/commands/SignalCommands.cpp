#include "tools/demo/GuitarRiff.h"
#include "tools/torvane/AudioFiles.h"
#include "tools/torvane/commands/Commands.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <numbers>
#include <random>

namespace torvane::cli {

namespace {

/// A test signal: a logarithmic sine sweep from 40 Hz to 8 kHz at half scale, a sine, noise,
/// or the demo riff cut to `seconds`.
std::vector<float> makeSignal(const std::string& kind, double seconds, int rate, double frequency) {
    const auto frames = static_cast<size_t>(std::llround(seconds * rate));
    if (kind == "riff") {
        if (rate < 8000) {
            throw UsageError("the demo riff is made at 8000 Hz or more; --rate " +
                             std::to_string(rate) + " is too low");
        }
        std::vector<float> riff = demo::guitarRiff(rate);
        riff.resize(std::min(riff.size(), frames));
        return riff;
    }
    std::vector<float> signal(frames);
    if (kind == "sine") {
        for (size_t i = 0; i < frames; ++i) {
            signal[i] = static_cast<float>(
                0.5 * std::sin(2.0 * std::numbers::pi * frequency * static_cast<double>(i) / rate));
        }
    } else if (kind == "sweep") {
        const double low = 40.0;
        const double high = 8000.0;
        const double k = std::log(high / low);
        for (size_t i = 0; i < frames; ++i) {
            const double t = static_cast<double>(i) / rate;
            const double phase = 2.0 * std::numbers::pi * low * seconds / k *
                                 (std::exp(k * t / seconds) - 1.0);
            signal[i] = static_cast<float>(0.5 * std::sin(phase));
        }
    } else if (kind == "noise") {
        std::mt19937 generator(1234);
        std::uniform_real_distribution<float> uniform(-0.5f, 0.5f);
        std::generate(signal.begin(), signal.end(), [&] { return uniform(generator); });
    } else {
        throw UsageError("--kind must be sweep, sine, noise or riff, not \"" + kind + "\"");
    }
    return signal;
}

} // namespace

int generateCommand(Arguments& arguments) {
    const auto output = arguments.takeOption("--out");
    const std::string kind = arguments.takeOption("--kind").value_or("sweep");
    const double seconds = parseNumber(
        arguments.takeOption("--seconds").value_or(kind == "riff" ? "10" : "2"), "--seconds");
    const int rate = parsePositiveInteger(arguments.takeOption("--rate").value_or("48000"), "--rate");
    const double frequency =
        parseNumber(arguments.takeOption("--frequency").value_or("440"), "--frequency");
    arguments.expectNothingElse();
    if (!output) {
        throw UsageError("--out OUT.wav is needed");
    }
    if (seconds <= 0.0 || seconds > 3600.0) {
        throw UsageError("--seconds must be above 0 and at most 3600");
    }
    const auto signal = makeSignal(kind, seconds, rate, frequency);
    AudioWriter writer(*output, 1, rate);
    writer.write({signal.data()}, signal.size());
    writer.commit();
    std::cout << "wrote " << *output << ": " << kind << ", " << seconds << " s at " << rate
              << " Hz\n";
    return 0;
}

int infoCommand(Arguments& arguments) {
    const std::string path = arguments.takePositional("the audio file");
    arguments.expectNothingElse();
    AudioReader reader(path);
    const auto channels = static_cast<size_t>(reader.channels());
    std::vector<double> peak(channels, 0.0);
    std::vector<double> energy(channels, 0.0);
    std::vector<std::vector<float>> buffers;
    long long frames = 0;
    while (const size_t got = reader.read(buffers, 65536)) {
        for (size_t c = 0; c < channels; ++c) {
            for (size_t i = 0; i < got; ++i) {
                const double value = buffers[c][i];
                peak[c] = std::max(peak[c], std::fabs(value));
                energy[c] += value * value;
            }
        }
        frames += static_cast<long long>(got);
    }
    std::printf("%s: %zu channel(s), %d Hz, %lld frames (%.2f s)\n", path.c_str(), channels,
                reader.sampleRate(), frames, static_cast<double>(frames) / reader.sampleRate());
    for (size_t c = 0; c < channels; ++c) {
        const double rms = frames > 0 ? std::sqrt(energy[c] / static_cast<double>(frames)) : 0.0;
        auto dbfs = [](double v) { return v > 0.0 ? 20.0 * std::log10(v) : -INFINITY; };
        std::printf("  channel %zu: peak %.4f (%.1f dBFS), RMS %.4f (%.1f dBFS)\n", c, peak[c],
                    dbfs(peak[c]), rms, dbfs(rms));
    }
    return 0;
}

} // namespace torvane::cli
