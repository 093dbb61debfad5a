// libFuzzer target: any bytes as a system document. A document that loads is run as
// `torvane run` runs one: 0.05 s of a signal at 48 kHz in blocks of 256, after settling. A
// crash, a memory fault, a hang or an allocation beyond the fuzzer's limit is a finding; a
// refusal with a message is not.
#include "amp/Amplifier.h"
#include "runtime/Exceptions.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string_view>
#include <vector>

namespace {

constexpr float rate = 48000.0f;
constexpr int block = 256;
constexpr int blocks = 10;

void run(nodara::Driver& driver) {
    driver.setSampleRate(rate);
    driver.setMaxBlockSize(block);
    driver.settle();
    std::vector<float> signal(block);
    for (int i = 0; i < block; ++i) {
        signal[static_cast<size_t>(i)] = 0.5f * std::sin(0.05f * static_cast<float>(i));
    }
    const std::vector<float*> inputs(
        static_cast<size_t>(std::max(driver.getNumberOfSystemInputs(), 1)), signal.data());
    for (int i = 0; i < blocks; ++i) {
        driver.process(inputs, block);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        run(*torvane::makeProductDriver(
            std::string_view(reinterpret_cast<const char*>(data), size)));
    } catch (const std::exception&) {
        // Refused, with a message: what a bad document should get.
    }
    return 0;
}
