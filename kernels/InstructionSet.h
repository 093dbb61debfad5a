#pragma once

#include "runtime/Types.h"

namespace nodara::kernels {

/// Instruction-set levels; 2, 3 and 4 all run the AVX build of the kernels.
enum InstructionSetLevel : int32 {
    levelUnknown = -1,
    levelSse2 = 0,
    levelSse4 = 1,
    levelAvx = 2,
    levelAvxF16cRdrand = 3,
    levelAvx2 = 4,
};

/// The registers of processor identification that decide the level.
struct ProcessorIdentification {
    std::uint32_t leaf1Ecx = 0;
    std::uint32_t leaf1Edx = 0;
    /// Read only when leaf 1 reports AVX, F16C and RDRAND; 0 otherwise.
    std::uint32_t leaf7Ebx = 0;
};

/// The level of this process: detected at the first call, then cached. Aborts the process
/// on a processor without SSE2. Any thread; two first calls at once both store the same value.
int32 instructionSetLevel();

/// Reads the running processor's identification registers.
ProcessorIdentification identifyProcessor();

/// The level the registers describe, or levelUnknown when not even SSE2 is there. The
/// operating system's support for wide registers is deliberately not consulted.
int32 levelFor(const ProcessorIdentification& identification);

} // namespace nodara::kernels
