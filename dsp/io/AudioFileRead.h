#pragma once

#include "dsp/io/StkFrames.h"

#include <cstddef>
#include <cstdint>
#include <istream>
#include <memory>
#include <string>

namespace stk {

/// A WAV file read from a stream: a RIFF/WAVE container, plain or extensible "fmt ", integer
/// samples of 8, 16, 24 or 32 bits or float samples of 32 or 64 bits. Chunks other than
/// "fmt " and "data" are skipped. Integers are scaled by 2^−(bits−1), 8-bit data being
/// unsigned around 128; floats come as stored, rounded to single precision.
///
/// Not while processing: reads and allocates. Failures are nodara::NodaraException.
class AudioFileRead : public Stk {
public:
    /// Reads and checks the header; `name` names the source in messages.
    AudioFileRead(std::unique_ptr<std::istream> stream, std::string name);

    /// Fills `frames`, interleaved, from `startFrame` on; frames past the end of the data are
    /// left alone. `frames` must have the file's channel count and room for a frame.
    void read(StkFrames& frames, std::size_t startFrame = 0);

    unsigned int channels() const { return channelCount; }
    /// The rate the file declares, in hertz.
    double fileRate() const { return rate; }
    /// Frames in the data chunk.
    std::size_t fileSize() const { return frameCount; }

private:
    enum class Encoding { Int8, Int16, Int24, Int32, Float32, Float64 };
    struct Chunk {
        std::streamoff start;
        std::uint32_t size;
    };

    void readHeader();
    void getWavInfo();
    Chunk findChunk(const char* id);
    void readFormat(const Chunk& format);
    std::uint16_t readFormatTag(const Chunk& format);
    void readBytes(char* out, std::size_t count, const char* field);
    std::uint16_t readUint16(const char* field);
    std::uint32_t readUint32(const char* field);
    void seek(std::streamoff position);
    float decode(const unsigned char* sample) const;

    std::unique_ptr<std::istream> stream;
    std::string name;
    unsigned int channelCount = 0;
    std::size_t frameCount = 0;
    Encoding encoding = Encoding::Int16;
    unsigned int bytesPerSample = 2;
    double rate = 0.0;
    /// Stream position of the first sample.
    std::streamoff dataOffset = 0;
};

} // namespace stk
