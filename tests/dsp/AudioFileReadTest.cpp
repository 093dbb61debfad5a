#include "dsp/io/AudioFileRead.h"
#include "dsp/io/DllResourceReader.h"
#include "dsp/io/EmbeddedResources.h"
#include "dsp/io/FileReader.h"

#include "support/FailureCheck.h"
#include "dsp/WavBytes.h"

#include <gtest/gtest.h>

#include <bit>
#include <filesystem>
#include <fstream>
#include <sstream>

using namespace failurecheck;
using namespace wavbytes;

namespace {

stk::AudioFileRead openWav(const std::string& bytes) {
    return stk::AudioFileRead(std::make_unique<std::istringstream>(bytes), "ir.wav");
}

/// All frames of a file.
std::vector<float> readAll(stk::AudioFileRead& file) {
    stk::StkFrames frames(file.fileSize(), file.channels());
    file.read(frames);
    return {frames.data(), frames.data() + frames.size()};
}

const std::string monoInt16 = fmtChunk(1, 1, 44100, 16);
const std::string fourSamples16 =
    chunk("data", le16(0) + le16(0x7FFF) + le16(0x8000) + le16(0x4000));
const std::vector<float> fourValues = {0.0f, 0.999969482421875f, -1.0f, 0.5f};

} // namespace

TEST(AudioFileReadTest, SamplesConvertWithTheFixedGains) {
    struct Case {
        const char* label;
        std::uint16_t tag, bits;
        std::string data;
        std::vector<float> expected;
    };
    const auto le24 = [](std::uint32_t v) { return littleEndian(v, 3); };
    const auto le64f = [](double v) { return littleEndian(std::bit_cast<std::uint64_t>(v), 8); };
    const auto le32f = [](float v) { return le32(std::bit_cast<std::uint32_t>(v)); };
    const Case cases[] = {
        {"8-bit, unsigned around 128", 1, 8, std::string("\x80\xFF\x00\xC0", 4),
         {0.0f, 0.9921875f, -1.0f, 0.5f}},
        {"16-bit", 1, 16, le16(0) + le16(0x7FFF) + le16(0x8000) + le16(0x4000), fourValues},
        {"24-bit", 1, 24, le24(0x7FFFFF) + le24(0x800000) + le24(0x400000) + le24(1),
         {0.99999988079071044921875f, -1.0f, 0.5f, 1.1920928955078125e-07f}},
        // 2^31 − 1 rounds up to 2^31 in single precision.
        {"32-bit", 1, 32, le32(0x7FFFFFFF) + le32(0x80000000) + le32(0x40000000) + le32(1),
         {1.0f, -1.0f, 0.5f, 4.656612873077392578125e-10f}},
        {"32-bit float", 3, 32, le32f(0.25f) + le32f(-0.75f) + le32f(1.5f) + le32f(1e-20f),
         {0.25f, -0.75f, 1.5f, 1e-20f}},
        {"64-bit float", 3, 64, le64f(0.1) + le64f(-1e-3) + le64f(2.0) + le64f(0.0),
         {static_cast<float>(0.1), static_cast<float>(-1e-3), 2.0f, 0.0f}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        auto file = openWav(riff(fmtChunk(c.tag, 1, 48000, c.bits) + chunk("data", c.data)));
        EXPECT_EQ(file.fileSize(), 4u);
        EXPECT_EQ(file.fileRate(), 48000.0);
        EXPECT_EQ(readAll(file), c.expected);
    }
}

TEST(AudioFileReadTest, ChunkWalkSkipsOtherChunksAndPadBytes) {
    struct Case {
        const char* label;
        std::string bytes;
    };
    const Case cases[] = {
        {"chunk before fmt", riff(chunk("JUNK", std::string(10, 'j')) + monoInt16 + fourSamples16)},
        {"chunk between fmt and data", riff(monoInt16 + chunk("LIST", "abcdef") + fourSamples16)},
        {"odd-sized chunks with pad bytes",
         riff(chunk("bext", "abc") + monoInt16 + chunk("cue ", "x") + fourSamples16)},
        {"extensible header", riff(extensibleFmtChunk(1, 1, 44100, 16) + fourSamples16)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        auto file = openWav(c.bytes);
        EXPECT_EQ(file.channels(), 1u);
        EXPECT_EQ(file.fileRate(), 44100.0);
        EXPECT_EQ(readAll(file), fourValues);
    }
}

TEST(AudioFileReadTest, StereoStaysInterleavedAndReadsFromAStartFrame) {
    auto file = openWav(riff(fmtChunk(1, 2, 44100, 16) + fourSamples16 + chunk("LIST", "ab")));
    ASSERT_EQ(file.fileSize(), 2u);
    EXPECT_EQ(readAll(file), fourValues);
    stk::StkFrames frames(2, 2);
    file.read(frames, 1);
    EXPECT_EQ(frames(0, 0), -1.0f);
    EXPECT_EQ(frames(0, 1), 0.5f);
    EXPECT_EQ(frames(1, 0), 0.0f);
}

TEST(AudioFileReadTest, FailuresCarryTheirMessages) {
    const auto wav = [](std::string bytes) { return [bytes] { openWav(bytes); }; };
    // Reads `frames` frames of `channels` from a mono 16-bit file of four samples.
    const auto reading = [](size_t frames, size_t channels) {
        return [=] {
            auto file = openWav(riff(monoInt16 + fourSamples16));
            stk::StkFrames buffer(frames, channels);
            file.read(buffer);
        };
    };
    const std::string fmt16 = "fmt " + le32(16);
    static const std::string cutData = riff(monoInt16 + "data" + le32(8) + le16(1));
    const std::string read = "AudioFileRead::getWavInfo Error while trying to read ";
    expectFailures({
        {wav("RIFF" + le32(4) + "AVI "), plain, "AudioFileRead: File is not a wav file."},
        {wav("RIFF"), plain, "AudioFileRead: Error while reading header. ir.wav"},
        {[] { stk::AudioFileRead(nullptr, "ir.wav"); }, plain, "AudioFileRead::init File error."},
        {wav(riff("fmt " + std::string(1, '\x10'))), plain, read + "chunkSize."},
        {wav(riff(fmt16 + "\x01")), plain, read + "format_tag."},
        {wav(riff(fmt16 + le16(1) + "\x01")), plain, read + "temp."},
        {wav(riff(fmt16 + le16(1) + le16(1) + "\x44")), plain, read + "srate."},
        {wav(riff(monoInt16.substr(0, 22) + "\x10")), plain, read + "bytes."},
        {wav(riff(extensibleFmtChunk(1, 1, 44100, 16).substr(0, 25))), plain, read + "extSize."},
        {wav(riff("JUNK" + le32(1000) + "ab")), plain,
         "AudioFileRead: ir.wav Error while trying to set position."},
        {wav(riff(extensibleFmtChunk(1, 1, 44100, 16, 0) + fourSamples16)), plain,
         "AudioFileRead::getWavInfo Invalid extSize 0"},
        {wav(riff(fmtChunk(2, 1, 44100, 16) + fourSamples16)), plain,
         "Unsupported data format type: 2"},
        {wav(riff(extensibleFmtChunk(6, 1, 44100, 8) + fourSamples16)), plain,
         "Unsupported data format type: 6"},
        {wav(riff(fmtChunk(1, 1, 44100, 12) + fourSamples16)), plain,
         "12 bits per sample with data format 1 are not supported."},
        {wav(riff(fmtChunk(3, 1, 44100, 16) + fourSamples16)), plain,
         "16 bits per sample with data format 3 are not supported."},
        {wav(riff(monoInt16)), plain, read + "id."},
        {[] { auto file = openWav(cutData); readAll(file); }, plain,
         "AudioFileReadir.wavError while trying to read from the stream."},
        {reading(4, 2), plain,
         "AudioFileRead::read: StkFrames argument has incompatible number of channels!"},
        {reading(0, 1), plain,
         "AudioFileRead::read: StkFrames buffer size is zero ... no data read!"},
    });
}

// The readers hand their bytes over as a stream: the cabinet test reads a file and an embedded
// response through a document.
TEST(AudioFileReadTest, ReaderFailuresCarryTheirMessages) {
    static const char blob[] = "x";
    nodara::EmbeddedResources::add("cabinet-case", "WAVE", blob, 1);
    const std::string emptyPath = temporaryFile("cabinet-empty.wav", "");
    const auto file = [](std::string path) { return [path] { nodara::FileReader{path}; }; };
    const auto resource = [](const char* name, const char* type) {
        return [=] { nodara::DllResourceReader(name, type); };
    };
    const std::string notFound = "Could not locate Resource File";
    expectFailures({
        {file("/nonexistent/cabinet.wav"), plain,
         "Cannot find file with name: /nonexistent/cabinet.wav"},
        {file(emptyPath), plain, "FileReader: Empty file " + emptyPath},
        {file("/tmp"), plain, "Cannot find file with name: /tmp"},
        {resource("nothing", "WAVE"), plain, notFound},
        {resource("Cabinet-case", "WAVE"), plain, notFound},
        {resource("cabinet-case", "wave"), plain, notFound},
    });
    std::filesystem::remove(emptyPath);
}
