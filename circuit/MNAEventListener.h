#pragma once

#include "runtime/Types.h"

namespace nodara {

/// What a component that keeps time (a capacitor's history, a source's input) hears from its
/// context. All calls come on the thread that runs the circuit.
class MNAEventListener {
public:
    virtual ~MNAEventListener() = default;
    /// The circuit's rate changed (Hz); at most at a block boundary.
    virtual void samplingRateChanged(scalar rate) = 0;
    /// A new sample is about to be solved: the context's solution is the finished sample.
    virtual void timeStep() = 0;
    /// The analysis mode changes from `oldMode` to `newMode` (0 DC, 1 AC).
    virtual void analysisChanged(int32 oldMode, int32 newMode) = 0;
};

} // namespace nodara
