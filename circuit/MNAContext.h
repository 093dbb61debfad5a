#pragma once

#include "circuit/Component.h"
#include "circuit/MNAEventListener.h"
#include "runtime/Context.h"

#include <Eigen/Dense>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace nodara {

/// The context of a circuit: turns named components into one modified-nodal-analysis system
/// F(x) = A·x − rhs(x) = 0, with J(x) = A + Σ Jacobian stamps for Newton's method.
///
/// Unknowns, n = nodes + extra + fixed:
///   0 .. nodeIndexMax                ordinary nodes, numbered as first met;
///   then the extra unknowns          currents of voltage-type parts, part by part;
///   then the fixed-voltage nodes     rows replaced by the identity, x[f] = the driven value.
/// Ground ("0" or "GND", exact) is −1 and has no row or column.
///
/// All in 32-bit floats. Order of calls: addComponent for every part, setOutputNames,
/// setAnalysisMode, build, setInputs, the solvers' init; then per sample stepListeners, a
/// solve, setSolution, getOutputs. `build` and the solvers' `init` allocate; the per-sample
/// operations do not.
class MNAContext : public Context {
public:
    MNAContext();
    /// Not copied: the direct parts' Jacobian targets point into this context's own matrix.
    MNAContext(const MNAContext&) = delete;
    MNAContext& operator=(const MNAContext&) = delete;

    /// The node names that mean ground.
    static bool isGround(const std::string& node) { return node == "0" || node == "GND"; }

    /// Takes ownership of `element`, a component, once it is accepted.
    void addElement(Element* element) override { addComponent(element); }
    void addComponent(Element* element);
    Element* getElement(const std::string& name) override;
    /// Stores the rate (Hz); once built, tells the listeners in order of registration.
    void setSampleRate(scalar rate) override;
    /// Registers a listener once; not owned.
    void addListener(MNAEventListener* listener);

    /// Hands the circuit's input samples to the parts that read them.
    void setInputs(const std::shared_ptr<std::vector<scalar>>& values);
    void setOutputNames(const std::shared_ptr<std::vector<std::string>>& names) {
        outputNames = names;
    }
    /// 0 DC, 1 AC; once built, the listeners hear of the change first.
    void setAnalysisMode(int32 mode);
    int32 getAnalysisMode() const { return analysisMode; }

    /// Numbers the nodes and extra unknowns and allocates the system; once.
    void build();
    /// Fills A from the parts' constant stamps.
    void assembleStaticMatrix();
    /// J = A + the non-linear parts' Jacobians at x; the parts may limit x.
    Eigen::MatrixXf& assembleJacobian(Eigen::VectorXf& x);
    /// out = rhs(x); the parts may limit x.
    void computeRhs(Eigen::VectorXf& x, Eigen::VectorXf& out);
    /// The same in two steps for the iterations of one sample: first the parts that do not
    /// read x, once; then out = that + the parts that do (out as long as that already).
    void computeSampleRhs(Eigen::VectorXf& out);
    void computeRhs(Eigen::VectorXf& x, const Eigen::VectorXf& sampleRhs, Eigen::VectorXf& out);
    void setSolution(const Eigen::VectorXf& x) { solution = x; }
    /// The output nodes' values in the solution.
    const std::shared_ptr<std::vector<scalar>>& getOutputs();
    void stepListeners();

    const Eigen::MatrixXf& getStaticMatrix() const { return staticMatrix; }
    const Eigen::VectorXf& getSolution() const { return solution; }
    int32 getSize() const { return static_cast<int32>(solution.size()); }
    /// Minus one less the number of fixed-voltage nodes: their rows are the last ones.
    int32 getFixedCounter() const { return fixedCounter; }
    bool isMatrixChanged() const { return matrixChanged; }
    void setMatrixChanged(bool value) { matrixChanged = value; }

    /// Node names and their indices in x, ordinary and fixed.
    const std::unordered_map<std::string, int32>& getNodeMap() const { return nodeMap; }
    /// Component names and the index of their first extra unknown.
    const std::unordered_map<std::string, int32>& getExtraMap() const { return extraMap; }

private:
    /// What the per-sample passes need of one part, gathered once by `build`.
    struct PartRows {
        Component* component;
        /// Its terminals' indices in x, −1 for ground.
        const int32* nodes;
        int32 nodeCount;
        /// The node it drives, −1 for none.
        int32 fixedIndex;
        int32 extraBase;
        int32 extraCount;
        /// Its Jacobian's entries that reach J, in the order of the stamping rule, as
        /// [first, end) of `jacobianEntries`.
        int32 firstEntry;
        int32 endEntry;
        /// Its rhs values that reach the system, as [first, end) of `rhsEntries`.
        int32 firstRhsEntry;
        int32 endRhsEntry;
        /// Whether it adds into the system itself; its Jacobian's k·k targets then begin at
        /// `firstTarget` of `jacobianTargets`.
        bool direct;
        int32 firstTarget;
    };
    /// Where value `source` of a part's rhs goes: added to out[target], or, at the node the part
    /// drives, assigned to the fixed values.
    struct RhsEntry {
        int32 source;
        int32 target;
        bool drives;
    };
    /// Where entry (row, column) of a part's Jacobian stamp is added: J's data at `offset`.
    struct StampEntry {
        int32 row;
        int32 column;
        int32 offset;
    };

    /// Sorts the parts by what they stamp, for a system of n unknowns.
    void gatherPartRows(int32 n);
    /// The entries of a node-by-node stamp that the rule of G keeps, for J's data.
    void gatherStampEntries(PartRows& part, int32 n);
    /// The same as addresses in J, the entries left out pointing at the sink.
    void gatherStampTargets(PartRows& part);
    void gatherRhsEntries(PartRows& part);
    void addRhs(const std::vector<PartRows>& parts, scalar* x, Eigen::VectorXf& out);
    void assignFixedRows(Eigen::VectorXf& out);
    /// Adds a node-by-node stamp by the rule of G: rows of ground and fixed nodes skipped.
    void addNodeStamp(Eigen::MatrixXf& target, const int32* nodes, int32 nodeCount,
                      Component::Stamp stamp) const;
    void numberFixedNodes();
    void numberNodes();
    int32 fixedIndexOf(size_t component) const;
    void assignExtraUnknowns();
    void resolveFixedNodes();
    void findOutputs();
    void addExtraStamps(size_t component);

    int32 nodeIndexMax = -1;
    int32 extraCount = 0;
    int32 fixedCounter = -1;
    Eigen::MatrixXf staticMatrix;
    Eigen::VectorXf solution;
    Eigen::MatrixXf dynamicMatrix;
    std::unordered_map<std::string, Element*> componentsByName;
    std::vector<Component*> components;
    std::vector<std::unique_ptr<Component>> owned;
    std::unordered_map<std::string, int32> nodeMap;
    std::unordered_map<std::string, int32> extraMap;
    std::vector<int32> extraBase;
    std::vector<bool> hasRhsFlags;
    std::vector<bool> nonlinearFlags;
    std::vector<int32> extraCounts;
    std::vector<Component::NodeIndices> nodeIndices;
    std::vector<MNAEventListener*> listeners;
    std::vector<std::string> componentNames;
    std::shared_ptr<std::vector<scalar>> outputs = std::make_shared<std::vector<scalar>>();
    std::vector<int32> outputIndices;
    std::shared_ptr<std::vector<std::string>> outputNames;
    std::vector<bool> fixedVoltageFlags;
    std::vector<int32> fixedIndex;
    Eigen::VectorXf fixedValues;
    /// Parts with a rhs that does not read x, and parts with one that does.
    std::vector<PartRows> sampleRhsParts;
    std::vector<PartRows> iterateRhsParts;
    std::vector<PartRows> nonlinearParts;
    std::vector<StampEntry> jacobianEntries;
    std::vector<RhsEntry> rhsEntries;
    std::vector<scalar*> jacobianTargets;
    /// Takes the Jacobian entries of direct parts that J does not; never read.
    scalar jacobianSink = 0.0f;
    /// The fixed-voltage nodes driven, once each.
    std::vector<int32> fixedRows;
    int32 analysisMode = 1;
    bool initialized = false;
    bool matrixChanged = false;
};

} // namespace nodara
