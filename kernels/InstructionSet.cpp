#include "kernels/InstructionSet.h"

#include <atomic>
#include <cpuid.h>
#include <cstdlib>

namespace nodara::kernels {

namespace {

constexpr std::uint32_t edxSse2 = 1u << 26;
constexpr std::uint32_t ecxSse41 = 1u << 19;
constexpr std::uint32_t ecxAvx = 1u << 28;
constexpr std::uint32_t ecxF16cAndRdrand = (1u << 29) | (1u << 30);
constexpr std::uint32_t leaf7EbxAvx2 = 1u << 5;

// Relaxed: a racing first detection writes the same value from every thread.
std::atomic<int32> detectedLevel{levelUnknown};

bool hasAll(std::uint32_t word, std::uint32_t bits) { return (word & bits) == bits; }

} // namespace

int32 instructionSetLevel() {
    int32 level = detectedLevel.load(std::memory_order_relaxed);
    if (level >= 0) {
        return level;
    }
    level = levelFor(identifyProcessor());
    if (level < 0) {
        std::abort();
    }
    detectedLevel.store(level, std::memory_order_relaxed);
    return level;
}

ProcessorIdentification identifyProcessor() {
    ProcessorIdentification identification;
    unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
    __cpuid(1, eax, ebx, ecx, edx);
    identification.leaf1Ecx = ecx;
    identification.leaf1Edx = edx;
    if (hasAll(ecx, ecxAvx | ecxF16cAndRdrand)) {
        __cpuid_count(7, 0, eax, ebx, ecx, edx);
        identification.leaf7Ebx = ebx;
    }
    return identification;
}

int32 levelFor(const ProcessorIdentification& identification) {
    const std::uint32_t ecx = identification.leaf1Ecx;
    if (hasAll(ecx, ecxAvx)) {
        if (!hasAll(ecx, ecxF16cAndRdrand)) {
            return levelAvx;
        }
        return hasAll(identification.leaf7Ebx, leaf7EbxAvx2) ? levelAvx2 : levelAvxF16cRdrand;
    }
    if (hasAll(ecx, ecxSse41)) {
        return levelSse4;
    }
    return hasAll(identification.leaf1Edx, edxSse2) ? levelSse2 : levelUnknown;
}

} // namespace nodara::kernels
