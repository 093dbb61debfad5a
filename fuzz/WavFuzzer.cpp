// libFuzzer target: any bytes as the WAV file of a cabinet response, read as a document's
// `Location`="File" reads it: decoded, brought to the running rate, conditioned and convolved
// for a block. The bytes reach the reader through a memory file, so no disk is involved.
#include "dsp/convolution/WaveConvolver.h"
#include "runtime/DSPContext.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

namespace {

void convolve(const std::string& path) {
    auto context = std::make_shared<nodara::DSPContext>();
    nodara::WaveConvolver cabinet;
    cabinet.init("cab",
                 {{"Location", "File"}, {"ImpulseResponses", path}, {"MaxIRSize", "8192"},
                  {"Scale", "true"}},
                 context);
    cabinet.setMaxBlockSize(64);
    cabinet.setSampleRate(48000.0f);
    std::vector<float> signal(64, 0.25f);
    const std::vector<float*> inputs{signal.data()};
    cabinet.process(inputs, 64);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const int file = memfd_create("response.wav", 0);
    if (file < 0) {
        return 0;
    }
    if (write(file, data, size) == static_cast<ssize_t>(size)) {
        try {
            convolve("/proc/self/fd/" + std::to_string(file));
        } catch (const std::exception&) {
            // Refused, with a message.
        }
    }
    close(file);
    return 0;
}
