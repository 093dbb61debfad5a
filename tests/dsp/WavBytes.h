#pragma once

// WAV files built byte by byte, so that tests know every byte a reader sees.

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace wavbytes {

inline std::string littleEndian(std::uint64_t value, int bytes) {
    std::string out;
    for (int i = 0; i < bytes; ++i) {
        out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
    }
    return out;
}

inline std::string le16(std::uint16_t value) { return littleEndian(value, 2); }
inline std::string le32(std::uint32_t value) { return littleEndian(value, 4); }

/// A chunk with its size; an odd payload gets its pad byte.
inline std::string chunk(const std::string& id, const std::string& payload) {
    std::string out = id + le32(static_cast<std::uint32_t>(payload.size())) + payload;
    if (payload.size() % 2 == 1) {
        out.push_back('\0');
    }
    return out;
}

inline std::string formatFields(std::uint16_t tag, std::uint16_t channels, std::uint32_t rate,
                                std::uint16_t bits) {
    const std::uint32_t blockAlign = channels * bits / 8u;
    return le16(tag) + le16(channels) + le32(rate) + le32(rate * blockAlign) +
           le16(static_cast<std::uint16_t>(blockAlign)) + le16(bits);
}

inline std::string fmtChunk(std::uint16_t tag, std::uint16_t channels, std::uint32_t rate,
                            std::uint16_t bits) {
    return chunk("fmt ", formatFields(tag, channels, rate, bits));
}

/// The extensible form: tag 65534, the real tag at the head of the sub-format GUID.
inline std::string extensibleFmtChunk(std::uint16_t realTag, std::uint16_t channels,
                                      std::uint32_t rate, std::uint16_t bits,
                                      std::uint16_t extensionSize = 22) {
    const std::string guidTail("\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71", 14);
    return chunk("fmt ", formatFields(65534, channels, rate, bits) + le16(extensionSize) +
                             le16(bits) + le32(0) + le16(realTag) + guidTail);
}

inline std::string riff(const std::string& chunks) {
    return "RIFF" + le32(static_cast<std::uint32_t>(4 + chunks.size())) + "WAVE" + chunks;
}

inline std::string floatData(const std::vector<float>& samples) {
    std::string out(samples.size() * sizeof(float), '\0');
    std::memcpy(out.data(), samples.data(), out.size());
    return out;
}

/// `bytes` written to `name` in the temporary folder, under the process's id: test programs
/// of other builds on the machine use the same names at the same time. Returns the path.
inline std::string temporaryFile(const std::string& name, const std::string& bytes) {
    const auto path = (std::filesystem::temp_directory_path() /
                       (std::to_string(::getpid()) + "-" + name))
                          .string();
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

/// A mono 32-bit float file.
inline std::string floatWav(const std::vector<float>& samples, std::uint32_t rate) {
    return riff(fmtChunk(3, 1, rate, 32) + chunk("data", floatData(samples)));
}

} // namespace wavbytes
