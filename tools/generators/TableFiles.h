#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

// The amplifier's tables on disk: raw little-endian IEEE-754 single-precision values, no
// header; entry i belongs to input voltage VinMin + i·DeltaV.
namespace torvane::generators {

/// The input voltages of a table.
struct TableGrid {
    double vinMin;
    double vinMax;
    double deltaV;

    std::size_t count() const {
        return static_cast<std::size_t>(std::llround((vinMax - vinMin) / deltaV)) + 1;
    }
    double vinAt(std::size_t index) const { return vinMin + static_cast<double>(index) * deltaV; }
    /// The index of the entry for input voltage `vin`, which must lie on the grid.
    std::size_t indexOf(double vin) const {
        return static_cast<std::size_t>(std::llround((vin - vinMin) / deltaV));
    }
};

inline void writeFloat32File(const std::filesystem::path& path, const std::vector<float>& values) {
    std::vector<char> bytes;
    bytes.reserve(values.size() * 4);
    for (const float value : values) {
        const auto bits = std::bit_cast<std::uint32_t>(value);
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<char>((bits >> shift) & 0xffu));
    }
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file)
        throw std::runtime_error("cannot write " + path.string());
}

inline std::vector<float> readFloat32File(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path.string());
    const std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(file)),
                                           std::istreambuf_iterator<char>());
    if (bytes.size() % 4 != 0)
        throw std::runtime_error(path.string() + " is not a whole number of 32-bit values");
    std::vector<float> values(bytes.size() / 4);
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::uint32_t bits = 0;
        for (int b = 3; b >= 0; --b)
            bits = (bits << 8) | bytes[4 * i + static_cast<std::size_t>(b)];
        values[i] = std::bit_cast<float>(bits);
    }
    return values;
}

} // namespace torvane::generators
