#pragma once

#include <cstdint>

namespace torvane::demo {

/// A small seeded generator (SplitMix64) whose sequence is the same on every platform and
/// standard library, which std::uniform_real_distribution does not promise.
class Random {
public:
    explicit Random(std::uint64_t seed) : state(seed) {}

    std::uint64_t nextBits() {
        std::uint64_t z = (state += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }

    /// Uniform in [-1, 1).
    double bipolar() { return static_cast<double>(nextBits() >> 11) * 0x1.0p-52 - 1.0; }

private:
    std::uint64_t state;
};

} // namespace torvane::demo
