#pragma once

#include "runtime/Element.h"
#include "runtime/Properties.h"
#include "runtime/Types.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace nodara {

class MNAContext;

/// A part of a circuit between named nodes. It speaks to modified nodal analysis through its
/// stamps: G (k×k, node by node), B (k×m, node by extra unknown), C (m×k), D (m×m), a
/// right-hand side of k + m values and, when non-linear, a Jacobian (k×k) of its currents by
/// its node voltages. The system solved per sample is A·x = rhs(x), iterated with
/// J = A + Σ Jacobians. A stamp is a table of row pointers the component owns; null adds
/// nothing.
///
/// `getRhs` and `getJacobian` take the iterate x writable: a non-linear part may limit the
/// voltages a Newton step proposes and write them back.
///
/// The context owns its components, so a component holds its context by a plain pointer.
/// Threads: `init` while the document is read; the rest on the thread that runs the circuit.
class Component : public Element {
public:
    using NodeNames = std::shared_ptr<std::vector<std::string>>;
    using NodeIndices = std::shared_ptr<std::vector<int32>>;
    using Stamp = const scalar* const*;

    /// Stores the name, the terminals (in the order the part defines) and the context, reads
    /// the properties, and registers the part with the context if it listens to time.
    void init(const std::string& name, const Properties& properties,
              const std::vector<std::string>& nodes, const std::shared_ptr<MNAContext>& context);

    // The stamps and answers of a part with none of them; each part overrides its own.
    virtual Stamp getConductanceMatrix() { return nullptr; }
    virtual Stamp getExtraColumnMatrix() { return nullptr; }
    virtual Stamp getExtraRowMatrix() { return nullptr; }
    virtual Stamp getExtraDiagonalMatrix() { return nullptr; }
    /// k + m values, or null. A part whose rhs does not read x may be given null for it.
    virtual const scalar* getRhs(scalar*) { return nullptr; }
    virtual int32 getExtraVariableCount() { return 0; }
    virtual bool isNonlinear() { return false; }
    virtual Stamp getJacobian(scalar*) { return nullptr; }
    virtual bool hasRhs() { return false; }
    /// Whether the rhs reads x; one that does not (a source, a capacitor's history) stays
    /// constant through the iterations of a sample.
    virtual bool rhsReadsIterate() { return false; }
    virtual bool isFixedVoltage() { return false; }
    /// Whether the part, a non-linear one that drives no node and has no extra unknowns, adds
    /// its rhs and Jacobian straight into the system (addRhsTo, addJacobianTo) rather than
    /// through its stamps: each iteration then spares the copy through the stamp and the
    /// context's walk over it. The values and their order are those of getRhs and getJacobian.
    virtual bool stampsDirectly() { return false; }
    /// out[index of terminal j] += rhs value j, j in order, grounded terminals skipped.
    virtual void addRhsTo(scalar*, scalar*) {}
    /// *targets[j·k + l] += Jacobian (j, l), row by row; an entry the system does not take
    /// points at a sink.
    virtual void addJacobianTo(scalar*, scalar* const*) {}
    /// The circuit's input samples of the present sample time, once the context is built;
    /// null for a circuit without inputs.
    virtual void connectInputs(const std::shared_ptr<std::vector<scalar>>& inputs);

    void setNodeIndices(const NodeIndices& indices) {
        nodeIndices = indices;
        terminalIndices = indices->data();
    }
    const NodeIndices& getNodeIndices() const { return nodeIndices; }
    const NodeNames& getNodeNames() const { return nodeNames; }
    void setExtraVariableIndex(int32 index) { extraIndex = index; }
    std::string getFixedVoltageNode() const { return fixedVoltageNode; }

protected:
    /// Reads and checks the part's properties; runs once, from `init`.
    virtual void configure(const Properties& properties) = 0;

    /// Throws `message` as an invalid argument unless the part has `count` terminals.
    void requireNodeCount(std::size_t count, const std::string& message) const;
    /// Throws "<class> cannot have a grounded node. <class> name=<name>" if any terminal is
    /// ground.
    void refuseGroundedNodes(const std::string& className) const;
    /// The first terminal that is not ground, or "" when both are.
    std::string firstUngroundedNode() const;
    /// Index of terminal `terminal` in x, −1 for ground.
    int32 indexOf(std::size_t terminal) const { return terminalIndices[terminal]; }
    /// Voltage of terminal `terminal` in x; ground reads 0.
    scalar voltageAt(const scalar* x, std::size_t terminal) const {
        const int32 index = indexOf(terminal);
        return index < 0 ? 0.0f : x[index];
    }
    /// Writes the voltage of terminal `terminal` into x; ground takes none.
    void setVoltageAt(scalar* x, std::size_t terminal, scalar value) const {
        if (const int32 index = indexOf(terminal); index >= 0) {
            x[index] = value;
        }
    }
    /// The component's scalar settings changed: the solver reassembles before the next block.
    void markMatrixChanged();

    MNAContext* context = nullptr;
    NodeNames nodeNames;
    NodeIndices nodeIndices;
    /// The data of nodeIndices, read by every evaluation of a stamp.
    const int32* terminalIndices = nullptr;
    int32 extraIndex = -1;
    std::string fixedVoltageNode;
};

} // namespace nodara
