#pragma once

#include "runtime/Types.h"

namespace nodara::kernels {

/// Instruction-set levels; 2 and above run the AVX build of the vector kernels. The signal
/// kernels have builds for SSE2, AVX2 (level 4) and AVX-512 (level 5).
enum InstructionSetLevel : int32 {
    levelUnknown = -1,
    levelSse2 = 0,
    levelSse4 = 1,
    levelAvx = 2,
    levelAvxF16cRdrand = 3,
    levelAvx2 = 4,
    /// AVX2 and AVX-512 F, VL, DQ and BW, with the operating system saving the wide registers.
    levelAvx512 = 5,
};

/// The registers of processor identification that decide the level.
struct ProcessorIdentification {
    std::uint32_t leaf1Ecx = 0;
    std::uint32_t leaf1Edx = 0;
    /// Read only when leaf 1 reports AVX, F16C and RDRAND; 0 otherwise.
    std::uint32_t leaf7Ebx = 0;
    /// The register states the operating system saves (XCR0); read only with leaf 7, and only
    /// when leaf 1 reports that the operating system enabled the instruction that reads it.
    std::uint64_t enabledStates = 0;
};

/// The level of this process: detected at the first call, then cached. Aborts the process
/// on a processor without SSE2. Any thread; two first calls at once both store the same value.
int32 instructionSetLevel();

/// Reads the running processor's identification registers.
ProcessorIdentification identifyProcessor();

/// The level the registers describe, or levelUnknown when not even SSE2 is there. The
/// operating system's support for wide registers is consulted for AVX-512 only: a virtual
/// machine may hide its register state while the processor reports the instructions.
int32 levelFor(const ProcessorIdentification& identification);

} // namespace nodara::kernels
