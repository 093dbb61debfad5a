#include "dsp/kernels/FourLanes.h"
#include "dsp/kernels/InstructionSet.h"
#include "dsp/kernels/KernelArithmetic.h"

namespace nodara::kernels {

namespace {
struct Sse2Tag {};
} // namespace

constinit const KernelBuild sse2Build =
    arithmetic::buildOver<FourLanes<Sse2Tag>>("SSE2", levelSse2);

} // namespace nodara::kernels
