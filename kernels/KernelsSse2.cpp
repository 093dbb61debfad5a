#include "kernels/FourLanes.h"
#include "kernels/InstructionSet.h"
#include "kernels/KernelArithmetic.h"

namespace nodara::kernels {

namespace {
struct Sse2Tag {};
} // namespace

constinit const KernelBuild sse2Build =
    arithmetic::buildOver<FourLanes<Sse2Tag>>("SSE2", levelSse2);

} // namespace nodara::kernels
