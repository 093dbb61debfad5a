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
constexpr std::uint32_t ecxOsxsave = 1u << 27;
// AVX-512 F (16), DQ (17), BW (30) and VL (31).
constexpr std::uint32_t leaf7EbxAvx512 = (1u << 16) | (1u << 17) | (1u << 30) | (1u << 31);
// The SSE, AVX, opmask and both upper ZMM states.
constexpr std::uint64_t avx512States = 0xe6;

// Relaxed: a racing first detection writes the same value from every thread.
std::atomic<int32> detectedLevel{levelUnknown};

bool hasAll(std::uint32_t word, std::uint32_t bits) { return (word & bits) == bits; }

// XGETBV by hand: the intrinsic would need the whole file compiled for XSAVE.
std::uint64_t readEnabledStates() {
    std::uint32_t low = 0, high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (static_cast<std::uint64_t>(high) << 32) | low;
}

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
        if (hasAll(identification.leaf1Ecx, ecxOsxsave)) {
            identification.enabledStates = readEnabledStates();
        }
    }
    return identification;
}

int32 levelFor(const ProcessorIdentification& identification) {
    const std::uint32_t ecx = identification.leaf1Ecx;
    if (hasAll(ecx, ecxAvx)) {
        if (!hasAll(ecx, ecxF16cAndRdrand)) {
            return levelAvx;
        }
        if (!hasAll(identification.leaf7Ebx, leaf7EbxAvx2)) {
            return levelAvxF16cRdrand;
        }
        const bool avx512 = hasAll(identification.leaf7Ebx, leaf7EbxAvx512) &&
                            (identification.enabledStates & avx512States) == avx512States;
        return avx512 ? levelAvx512 : levelAvx2;
    }
    if (hasAll(ecx, ecxSse41)) {
        return levelSse4;
    }
    return hasAll(identification.leaf1Edx, edxSse2) ? levelSse2 : levelUnknown;
}

} // namespace nodara::kernels
