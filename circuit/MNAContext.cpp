#include "circuit/MNAContext.h"

#include "runtime/Exceptions.h"

#include <algorithm>

namespace nodara {

MNAContext::MNAContext() { sampleRate = 48000.0f; }

void MNAContext::addComponent(Element* element) {
    if (initialized) {
        throw NodaraException("Cannot add components after the context was initialized");
    }
    auto* component = dynamic_cast<Component*>(element);
    if (component == nullptr) {
        throw InvalidArgumentException("MNAContext: Element is not a component: " +
                                       element->getName());
    }
    const std::string& name = component->getName();
    if (!componentsByName.emplace(name, element).second) {
        throw NodaraException("Duplicate component name: " + name);
    }
    if (component->isFixedVoltage() && !component->hasRhs()) {
        componentsByName.erase(name);
        throw NodaraException("Fixed voltage component must have rhs. Component name=" + name);
    }
    components.push_back(component);
    owned.emplace_back(component);
    componentNames.push_back(name);
    hasRhsFlags.push_back(component->hasRhs());
    extraCounts.push_back(component->getExtraVariableCount());
    fixedVoltageFlags.push_back(component->isFixedVoltage());
    nonlinearFlags.push_back(component->isNonlinear());
}

Element* MNAContext::getElement(const std::string& name) {
    auto found = componentsByName.find(name);
    if (found == componentsByName.end()) {
        throw InvalidArgumentException("MNAContext cannot find element with name " + name);
    }
    return found->second;
}

void MNAContext::setSampleRate(scalar rate) {
    Context::setSampleRate(rate);
    if (initialized) {
        for (MNAEventListener* listener : listeners) {
            listener->samplingRateChanged(rate);
        }
    }
}

void MNAContext::addListener(MNAEventListener* listener) {
    if (std::find(listeners.begin(), listeners.end(), listener) == listeners.end()) {
        listeners.push_back(listener);
    }
}

void MNAContext::setInputs(const std::shared_ptr<std::vector<scalar>>& values) {
    for (Component* component : components) {
        component->connectInputs(values);
    }
}

void MNAContext::setAnalysisMode(int32 mode) {
    if (initialized) {
        for (MNAEventListener* listener : listeners) {
            listener->analysisChanged(analysisMode, mode);
        }
    }
    analysisMode = mode;
}

void MNAContext::build() {
    numberFixedNodes();
    numberNodes();
    if (nodeIndexMax == -1) {
        throw NodaraException("No MNA nodes.");
    }
    assignExtraUnknowns();
    resolveFixedNodes();
    for (size_t c = 0; c < components.size(); ++c) {
        components[c]->setNodeIndices(nodeIndices[c]);
    }
    findOutputs();
    const int32 n = nodeIndexMax + 1 + extraCount + (-1 - fixedCounter);
    solution = Eigen::VectorXf::Zero(n);
    fixedValues = Eigen::VectorXf::Zero(n);
    staticMatrix = Eigen::MatrixXf::Zero(n, n);
    dynamicMatrix = Eigen::MatrixXf::Zero(n, n);
    gatherPartRows(n);
    initialized = true;
}

// Fixed nodes get provisional numbers −2, −3, ... that cannot be taken for ground; they move
// behind the extra unknowns once those are counted.
void MNAContext::numberFixedNodes() {
    for (size_t c = 0; c < components.size(); ++c) {
        if (!fixedVoltageFlags[c]) {
            continue;
        }
        const std::string fixedNode = components[c]->getFixedVoltageNode();
        for (const std::string& node : *components[c]->getNodeNames()) {
            if (node == fixedNode && nodeMap.count(node) == 0) {
                nodeMap[node] = --fixedCounter;
            }
        }
    }
}

void MNAContext::numberNodes() {
    for (size_t c = 0; c < components.size(); ++c) {
        const auto& names = *components[c]->getNodeNames();
        auto indices = std::make_shared<std::vector<int32>>(names.size());
        for (size_t t = 0; t < names.size(); ++t) {
            if (isGround(names[t])) {
                (*indices)[t] = -1;
            } else if (auto found = nodeMap.find(names[t]); found != nodeMap.end()) {
                (*indices)[t] = found->second;
            } else {
                (*indices)[t] = nodeMap[names[t]] = ++nodeIndexMax;
            }
        }
        nodeIndices.push_back(indices);
        fixedIndex.push_back(fixedIndexOf(c));
    }
}

// A fixed-voltage part with both terminals grounded drives no node of its own.
int32 MNAContext::fixedIndexOf(size_t c) const {
    if (!fixedVoltageFlags[c]) {
        return -1;
    }
    auto found = nodeMap.find(components[c]->getFixedVoltageNode());
    return found == nodeMap.end() ? -1 : found->second;
}

void MNAContext::assignExtraUnknowns() {
    for (size_t c = 0; c < components.size(); ++c) {
        const int32 count = extraCounts[c];
        if (count < 1) {
            extraBase.push_back(nodeIndexMax + 1);
            continue;
        }
        const int32 base = nodeIndexMax + extraCount + 1;
        components[c]->setExtraVariableIndex(base);
        extraMap[componentNames[c]] = base;
        extraBase.push_back(base);
        extraCount += count;
    }
}

void MNAContext::resolveFixedNodes() {
    if (fixedCounter == -1) {
        return;
    }
    const int32 last = nodeIndexMax + extraCount;
    const auto resolve = [last](int32& index) {
        if (index < -1) {
            index = last - index - 1;
        }
    };
    for (auto& entry : nodeMap) {
        resolve(entry.second);
    }
    for (auto& indices : nodeIndices) {
        std::for_each(indices->begin(), indices->end(), resolve);
    }
    for (size_t c = 0; c < components.size(); ++c) {
        if (fixedVoltageFlags[c]) {
            resolve(fixedIndex[c]);
        }
    }
}

void MNAContext::findOutputs() {
    if (!outputNames) {
        return;
    }
    outputIndices.clear();
    for (const std::string& name : *outputNames) {
        auto found = nodeMap.find(name);
        if (found == nodeMap.end()) {
            throw NodaraException("Output node with name " + name + " does not exist.");
        }
        outputIndices.push_back(found->second);
    }
    outputs = std::make_shared<std::vector<scalar>>(outputNames->size());
}

void MNAContext::gatherPartRows(int32 n) {
    for (size_t c = 0; c < components.size(); ++c) {
        // A part that drives a node or has extra unknowns goes through its stamps whatever it
        // answers: the direct calls know neither.
        const bool direct = components[c]->stampsDirectly() && fixedIndex[c] < 0 &&
                            extraCounts[c] == 0;
        PartRows rows{components[c], nodeIndices[c]->data(),
                      static_cast<int32>(nodeIndices[c]->size()), fixedIndex[c],
                      extraBase[c], extraCounts[c], 0, 0, 0, 0, direct, 0};
        if (hasRhsFlags[c]) {
            if (!direct) {
                gatherRhsEntries(rows);
            }
            (components[c]->rhsReadsIterate() ? iterateRhsParts : sampleRhsParts).push_back(rows);
        }
        if (nonlinearFlags[c]) {
            if (direct) {
                gatherStampTargets(rows);
            } else {
                gatherStampEntries(rows, n);
            }
            nonlinearParts.push_back(rows);
        }
        if (fixedIndex[c] >= 0 &&
            std::find(fixedRows.begin(), fixedRows.end(), fixedIndex[c]) == fixedRows.end()) {
            fixedRows.push_back(fixedIndex[c]);
        }
    }
}

void MNAContext::gatherStampEntries(PartRows& part, int32 n) {
    const int32 last = nodeIndexMax + extraCount;
    part.firstEntry = static_cast<int32>(jacobianEntries.size());
    for (int32 j = 0; j < part.nodeCount; ++j) {
        const int32 row = part.nodes[j];
        if (row == -1 || row > last) {
            continue;
        }
        for (int32 l = 0; l < part.nodeCount; ++l) {
            if (part.nodes[l] != -1) {
                jacobianEntries.push_back({j, l, part.nodes[l] * n + row});
            }
        }
    }
    part.endEntry = static_cast<int32>(jacobianEntries.size());
}

void MNAContext::gatherStampTargets(PartRows& part) {
    const int32 last = nodeIndexMax + extraCount;
    part.firstTarget = static_cast<int32>(jacobianTargets.size());
    for (int32 j = 0; j < part.nodeCount; ++j) {
        const int32 row = part.nodes[j];
        const bool rowTaken = row != -1 && row <= last;
        for (int32 l = 0; l < part.nodeCount; ++l) {
            jacobianTargets.push_back(rowTaken && part.nodes[l] != -1
                                          ? &dynamicMatrix(row, part.nodes[l])
                                          : &jacobianSink);
        }
    }
}

void MNAContext::gatherRhsEntries(PartRows& part) {
    part.firstRhsEntry = static_cast<int32>(rhsEntries.size());
    for (int32 j = 0; j < part.nodeCount; ++j) {
        if (part.nodes[j] != -1) {
            rhsEntries.push_back({j, part.nodes[j], part.nodes[j] == part.fixedIndex});
        }
    }
    for (int32 t = 0; t < part.extraCount; ++t) {
        rhsEntries.push_back({part.nodeCount + t, part.extraBase + t, false});
    }
    part.endRhsEntry = static_cast<int32>(rhsEntries.size());
}

void MNAContext::addNodeStamp(Eigen::MatrixXf& target, const int32* nodes, int32 nodeCount,
                              Component::Stamp stamp) const {
    const int32 last = nodeIndexMax + extraCount;
    for (int32 j = 0; j < nodeCount; ++j) {
        const int32 row = nodes[j];
        if (row == -1 || row > last) {
            continue;
        }
        for (int32 l = 0; l < nodeCount; ++l) {
            if (nodes[l] != -1) {
                target(row, nodes[l]) += stamp[j][l];
            }
        }
    }
}

void MNAContext::addExtraStamps(size_t c) {
    const int32 count = extraCounts[c];
    const int32 base = extraBase[c];
    const int32 last = nodeIndexMax + extraCount;
    const auto& nodes = *nodeIndices[c];
    Component& component = *components[c];
    if (Component::Stamp b = component.getExtraColumnMatrix()) {
        for (size_t l = 0; l < nodes.size(); ++l) {
            if (nodes[l] == -1 || nodes[l] > last) {
                continue;
            }
            for (int32 r = 0; r < count; ++r) {
                staticMatrix(nodes[l], base + r) += b[l][r];
            }
        }
    }
    if (Component::Stamp rows = component.getExtraRowMatrix()) {
        for (int32 r = 0; r < count; ++r) {
            for (size_t l = 0; l < nodes.size(); ++l) {
                if (nodes[l] != -1) {
                    staticMatrix(base + r, nodes[l]) += rows[r][l];
                }
            }
        }
    }
    if (Component::Stamp d = component.getExtraDiagonalMatrix()) {
        for (int32 r = 0; r < count; ++r) {
            for (int32 k = 0; k < count; ++k) {
                staticMatrix(base + r, base + k) += d[r][k];
            }
        }
    }
}

void MNAContext::assembleStaticMatrix() {
    staticMatrix.setZero();
    for (size_t c = 0; c < components.size(); ++c) {
        if (Component::Stamp g = components[c]->getConductanceMatrix()) {
            addNodeStamp(staticMatrix, nodeIndices[c]->data(),
                         static_cast<int32>(nodeIndices[c]->size()), g);
        }
        if (extraCounts[c] >= 1) {
            addExtraStamps(c);
        }
    }
    for (size_t c = 0; c < components.size(); ++c) {
        if (fixedIndex[c] >= 0) {
            staticMatrix(fixedIndex[c], fixedIndex[c]) = 1.0f;
        }
    }
}

Eigen::MatrixXf& MNAContext::assembleJacobian(Eigen::VectorXf& x) {
    std::copy(staticMatrix.data(), staticMatrix.data() + staticMatrix.size(), dynamicMatrix.data());
    scalar* target = dynamicMatrix.data();
    for (const PartRows& part : nonlinearParts) {
        if (part.direct) {
            part.component->addJacobianTo(
                x.data(), jacobianTargets.data() + static_cast<size_t>(part.firstTarget));
            continue;
        }
        if (Component::Stamp jacobian = part.component->getJacobian(x.data())) {
            for (int32 e = part.firstEntry; e < part.endEntry; ++e) {
                const StampEntry& entry = jacobianEntries[static_cast<size_t>(e)];
                target[entry.offset] += jacobian[entry.row][entry.column];
            }
        }
    }
    return dynamicMatrix;
}

void MNAContext::computeRhs(Eigen::VectorXf& x, Eigen::VectorXf& out) {
    out.setZero();
    addRhs(sampleRhsParts, x.data(), out);
    addRhs(iterateRhsParts, x.data(), out);
    assignFixedRows(out);
}

void MNAContext::computeSampleRhs(Eigen::VectorXf& out) {
    out.setZero();
    addRhs(sampleRhsParts, nullptr, out);
}

void MNAContext::computeRhs(Eigen::VectorXf& x, const Eigen::VectorXf& sampleRhs,
                            Eigen::VectorXf& out) {
    std::copy(sampleRhs.data(), sampleRhs.data() + sampleRhs.size(), out.data());
    addRhs(iterateRhsParts, x.data(), out);
    assignFixedRows(out);
}

// A fixed-voltage part's value at its driven node is assigned, not added; the others add.
void MNAContext::addRhs(const std::vector<PartRows>& parts, scalar* x, Eigen::VectorXf& out) {
    scalar* sum = out.data();
    scalar* driven = fixedValues.data();
    for (const PartRows& part : parts) {
        if (part.direct) {
            part.component->addRhsTo(x, sum);
            continue;
        }
        const scalar* r = part.component->getRhs(x);
        if (r == nullptr) {
            continue;
        }
        for (int32 e = part.firstRhsEntry; e < part.endRhsEntry; ++e) {
            const RhsEntry& entry = rhsEntries[static_cast<size_t>(e)];
            if (entry.drives) {
                driven[entry.target] = r[entry.source];
            } else {
                sum[entry.target] += r[entry.source];
            }
        }
    }
}

void MNAContext::assignFixedRows(Eigen::VectorXf& out) {
    for (const int32 f : fixedRows) {
        out[f] = fixedValues[f];
    }
}

const std::shared_ptr<std::vector<scalar>>& MNAContext::getOutputs() {
    for (size_t i = 0; i < outputIndices.size(); ++i) {
        (*outputs)[i] = solution[outputIndices[i]];
    }
    return outputs;
}

void MNAContext::stepListeners() {
    for (MNAEventListener* listener : listeners) {
        listener->timeStep();
    }
}

} // namespace nodara
