#include "kernels/InstructionSet.h"
#include "kernels/signal/ChainArithmetic.h"
#include "kernels/signal/QuadLanes.h"
#include "kernels/signal/SignalArithmetic.h"

namespace nodara::kernels {

namespace {
struct Sse2Tag {};
using Lanes = QuadLanes<Sse2Tag>;
} // namespace

constinit const SignalKernelBuild signalSse2Build =
    lanes::buildOver<Lanes>("SSE2", levelSse2, &lanes::biQuadCascadeIn<Lanes>,
                            &lanes::fusedChainIn<Sse2Tag, Lanes, Lanes,
                                                lanes::NoJointCascades, false>,
                            &lanes::fusedChainIn<Sse2Tag, Lanes, Lanes,
                                                lanes::NoJointCascades, true>);

} // namespace nodara::kernels
