#pragma once

#include "runtime/Types.h"

#include <cstddef>
#include <vector>

namespace nodara {

class Driver;

/// Runs chains of a driver's graphs together, sample by sample, where their structure allows
/// it, with the bits the graphs give one after another. The graphs and their elements stay the
/// owners of every coefficient and state, so a chain can run either way from block to block.
///
/// Threads: all on the audio thread, except the first `plan`, at the driver's `init`.
class GraphFusion {
public:
    virtual ~GraphFusion() = default;

    /// Finds the chains anew: at `init` (where it may allocate) and at the head of any block
    /// after the graphs' rates, off or bypass states changed (where it must not).
    virtual void plan(Driver& driver) = 0;
    /// At the head of every block, after the control values: which chains run fused.
    virtual void prepareBlock() = 0;
    /// Graph `graph`'s turn in the order, with its gathered inputs: true when the fusion has
    /// run it (a chain runs whole at its first graph's turn), false when the driver must.
    virtual bool run(size_t graph, const std::vector<scalar*>& inputs, int32 frames) = 0;
};

} // namespace nodara
