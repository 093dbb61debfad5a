#pragma once

#include "circuit/Analysis.h"
#include "circuit/MNAContext.h"
#include "runtime/Graph.h"

#include <Eigen/Dense>

#include <memory>
#include <string>
#include <vector>

namespace nodara {

/// A graph solved by modified nodal analysis, sample by sample: the graph's inputs drive its
/// VoltageInputSources (a sample of 1.0 is 1 V), the solver finds the node voltages, and the
/// named output nodes' voltages go out unscaled. Each sample starts from the previous
/// sample's solution; a solve that does not converge leaves its last iterate and the circuit
/// goes on. Voltages, capacitor histories and the solution run on across blocks, so the output
/// is the same at every block size.
///
/// Threads: `process` on the audio thread, allocation-free; a property change (matrixChanged)
/// reassembles the system at the head of the next block. `setSampleRate` reassembles too.
class Circuit : public Graph {
public:
    /// The DC solution with the inputs at 0, and whether its solve converged.
    struct OperatingPoint {
        Eigen::VectorXf x;
        bool converged = false;
    };

    std::shared_ptr<Context> getContext() override { return context; }
    const std::shared_ptr<MNAContext>& getMNAContext() const { return context; }
    void setContext(const std::shared_ptr<MNAContext>& mnaContext) { context = mnaContext; }
    void setAnalysis(std::unique_ptr<Analysis> value) { analysis = std::move(value); }

    /// The circuit nodes whose voltages are the graph's outputs, in order.
    void setOutputs(const std::shared_ptr<std::vector<std::string>>& names);
    void setMaxBlockSize(int32 size) override;
    void setSampleRate(scalar rate) override;
    void process(const std::vector<scalar*>& inputs, size_t frames) override;
    void process(const std::vector<scalar*>& inputs, std::vector<scalar*>& outputs,
                 size_t frames) override;
    /// Runs the inputs' first frames, held, for a fixed time whatever `frames` is (a
    /// converged Newton iterate still moves within its tolerance, so a run as long as the host's
    /// block would make the start depend on the block size), then holds the outputs it reached.
    void settle(const std::vector<scalar*>& inputs, size_t frames) override;
    /// Numbers the system, takes the initial condition and readies the solver; allocates.
    void init() override;

    /// For inspection, before the first block: the operating point the circuit started from,
    /// or, for one that starts from zero or runs in DC, one solved now by its DC solver (or
    /// its solver) with the capacitors open. Leaves the circuit ready to start as it was.
    OperatingPoint getOperatingPoint();

private:
    void initializeAt(int32 mode);
    void solveInitialOperatingPoint();
    OperatingPoint solveOperatingPointNow();
    /// One time step with the present input values; the outputs' values come back.
    const std::vector<scalar>& solveSample(bool timeStepping);
    void runSamples(const std::vector<scalar*>& inputs, std::vector<scalar*>& out, size_t frames);
    void doBypass(const std::vector<scalar*>& inputs, std::vector<scalar*>& out, size_t frames);

    std::shared_ptr<MNAContext> context;
    std::unique_ptr<Analysis> analysis;
    std::shared_ptr<std::vector<std::string>> outputNames;
    /// This sample's input values, read by the VoltageInputSources.
    std::shared_ptr<std::vector<scalar>> inputValues;
    Eigen::VectorXf x;
    std::vector<std::vector<scalar>> buffers;
    /// Set by an operating-point start.
    std::unique_ptr<OperatingPoint> startingPoint;
    bool initialized = false;
};

} // namespace nodara
