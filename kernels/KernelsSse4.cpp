#include "kernels/FourLanes.h"
#include "kernels/InstructionSet.h"
#include "kernels/KernelArithmetic.h"

namespace nodara::kernels {

namespace {
struct Sse4Tag {};
} // namespace

constinit const KernelBuild sse4Build =
    arithmetic::buildOver<FourLanes<Sse4Tag>>("SSE4", levelSse4);

} // namespace nodara::kernels
