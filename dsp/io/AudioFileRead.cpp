#include "dsp/io/AudioFileRead.h"

#include "runtime/Exceptions.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

namespace stk {

using nodara::concat;
using nodara::NodaraException;

namespace {

constexpr std::uint16_t integerFormat = 1;
constexpr std::uint16_t floatFormat = 3;
constexpr std::uint16_t extensibleFormat = 65534;
// Offsets inside "fmt ": the extension size, and the sub-format whose first two bytes are
// the real format tag.
constexpr std::streamoff bitsPerSampleOffset = 14;
constexpr std::streamoff extensionSizeOffset = 16;
constexpr std::streamoff subFormatOffset = 24;

// Fixed conversion gains: 2^-7, 2^-15 and 2^-31.
constexpr float int8Gain = 0.0078125f;
constexpr float int16Gain = 3.0517578125e-05f;
constexpr float int32Gain = 4.656612873077393e-10f;

/// Chunks of odd size are followed by a pad byte.
std::streamoff padded(std::uint32_t size) {
    return static_cast<std::streamoff>(size) + (size & 1u);
}

std::uint32_t littleEndian(const unsigned char* bytes, unsigned int count) {
    std::uint32_t value = 0;
    for (unsigned int i = 0; i < count; ++i) {
        value |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
    }
    return value;
}

std::uint64_t littleEndian64(const unsigned char* bytes) {
    return littleEndian(bytes, 4) | static_cast<std::uint64_t>(littleEndian(bytes + 4, 4)) << 32;
}

} // namespace

AudioFileRead::AudioFileRead(std::unique_ptr<std::istream> input, std::string sourceName)
    : stream(std::move(input)), name(std::move(sourceName)) {
    if (!stream || !*stream) {
        throw NodaraException("AudioFileRead::init File error.");
    }
    readHeader();
    getWavInfo();
}

void AudioFileRead::readHeader() {
    char header[12];
    stream->read(header, sizeof header);
    if (stream->gcount() != sizeof header) {
        throw NodaraException("AudioFileRead: Error while reading header. " + name);
    }
    if (std::memcmp(header, "RIFF", 4) != 0 || std::memcmp(header + 8, "WAVE", 4) != 0) {
        throw NodaraException("AudioFileRead: File is not a wav file.");
    }
}

void AudioFileRead::getWavInfo() {
    seek(12);
    const Chunk format = findChunk("fmt ");
    readFormat(format);
    seek(format.start + padded(format.size));
    const Chunk data = findChunk("data");
    const std::size_t bytesPerFrame = static_cast<std::size_t>(channelCount) * bytesPerSample;
    frameCount = bytesPerFrame == 0 ? 0 : data.size / bytesPerFrame;
    dataOffset = data.start;
}

// Walks from the present position to the chunk `id`, and leaves the position at its first
// byte.
AudioFileRead::Chunk AudioFileRead::findChunk(const char* id) {
    for (;;) {
        char chunkId[4];
        readBytes(chunkId, sizeof chunkId, "id");
        const std::uint32_t size = readUint32("chunkSize");
        const std::streamoff start = stream->tellg();
        if (std::memcmp(chunkId, id, sizeof chunkId) == 0) {
            return Chunk{start, size};
        }
        seek(start + padded(size));
    }
}

void AudioFileRead::readFormat(const Chunk& format) {
    seek(format.start);
    const std::uint16_t tag = readFormatTag(format);
    if (tag != integerFormat && tag != floatFormat) {
        throw NodaraException(concat("Unsupported data format type: ", tag));
    }
    channelCount = readUint16("temp");
    rate = readUint32("srate");
    seek(format.start + bitsPerSampleOffset);
    const std::uint16_t bits = readUint16("bytes");
    if (tag == integerFormat && bits == 8) {
        encoding = Encoding::Int8;
    } else if (tag == integerFormat && bits == 16) {
        encoding = Encoding::Int16;
    } else if (tag == integerFormat && bits == 24) {
        encoding = Encoding::Int24;
    } else if (tag == integerFormat && bits == 32) {
        encoding = Encoding::Int32;
    } else if (tag == floatFormat && bits == 32) {
        encoding = Encoding::Float32;
    } else if (tag == floatFormat && bits == 64) {
        encoding = Encoding::Float64;
    } else {
        throw NodaraException(
            concat(bits, " bits per sample with data format ", tag, " are not supported."));
    }
    bytesPerSample = bits / 8u;
}

// Leaves the position after the plain tag, where the channel count follows.
std::uint16_t AudioFileRead::readFormatTag(const Chunk& format) {
    const std::uint16_t tag = readUint16("format_tag");
    if (tag != extensibleFormat) {
        return tag;
    }
    seek(format.start + extensionSizeOffset);
    if (readUint16("extSize") == 0) {
        throw NodaraException("AudioFileRead::getWavInfo Invalid extSize 0");
    }
    seek(format.start + subFormatOffset);
    const std::uint16_t realTag = readUint16("format_tag");
    seek(format.start + 2);
    return realTag;
}

void AudioFileRead::readBytes(char* out, std::size_t count, const char* field) {
    stream->read(out, static_cast<std::streamsize>(count));
    if (stream->gcount() != static_cast<std::streamsize>(count)) {
        throw NodaraException(
            concat("AudioFileRead::getWavInfo Error while trying to read ", field, "."));
    }
}

std::uint16_t AudioFileRead::readUint16(const char* field) {
    unsigned char bytes[2];
    readBytes(reinterpret_cast<char*>(bytes), sizeof bytes, field);
    return static_cast<std::uint16_t>(littleEndian(bytes, 2));
}

std::uint32_t AudioFileRead::readUint32(const char* field) {
    unsigned char bytes[4];
    readBytes(reinterpret_cast<char*>(bytes), sizeof bytes, field);
    return littleEndian(bytes, 4);
}

void AudioFileRead::seek(std::streamoff position) {
    stream->seekg(position);
    if (!*stream) {
        throw NodaraException("AudioFileRead: " + name + " Error while trying to set position.");
    }
}

void AudioFileRead::read(StkFrames& frames, std::size_t startFrame) {
    if (frames.channels() != channelCount) {
        throw NodaraException(
            "AudioFileRead::read: StkFrames argument has incompatible number of channels!");
    }
    if (frames.size() == 0) {
        throw NodaraException(
            "AudioFileRead::read: StkFrames buffer size is zero ... no data read!");
    }
    if (startFrame >= frameCount) {
        return;
    }
    const std::size_t count = std::min(frames.frames(), frameCount - startFrame) * channelCount;
    const std::size_t bytesPerFrame = static_cast<std::size_t>(channelCount) * bytesPerSample;
    seek(dataOffset + static_cast<std::streamoff>(startFrame * bytesPerFrame));
    std::vector<unsigned char> raw(count * bytesPerSample);
    stream->read(reinterpret_cast<char*>(raw.data()), static_cast<std::streamsize>(raw.size()));
    if (stream->gcount() != static_cast<std::streamsize>(raw.size())) {
        throw NodaraException("AudioFileRead" + name +
                              "Error while trying to read from the stream.");
    }
    StkFloat* out = frames.data();
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = decode(raw.data() + i * bytesPerSample);
    }
}

float AudioFileRead::decode(const unsigned char* sample) const {
    switch (encoding) {
    case Encoding::Int8:
        return static_cast<float>(static_cast<int>(sample[0]) - 128) * int8Gain;
    case Encoding::Int16:
        return static_cast<float>(static_cast<std::int16_t>(littleEndian(sample, 2))) * int16Gain;
    case Encoding::Int24:
        // Placed in the top three bytes of a 32-bit word, so the 32-bit gain applies.
        return static_cast<float>(static_cast<std::int32_t>(littleEndian(sample, 3) << 8)) *
               int32Gain;
    case Encoding::Int32:
        return static_cast<float>(static_cast<std::int32_t>(littleEndian(sample, 4))) * int32Gain;
    case Encoding::Float32:
        return std::bit_cast<float>(littleEndian(sample, 4));
    case Encoding::Float64:
        return static_cast<float>(std::bit_cast<double>(littleEndian64(sample)));
    }
    return 0.0f;
}

} // namespace stk
