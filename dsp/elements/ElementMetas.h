#pragma once

#include "runtime/ElementMeta.h"

namespace nodara {

/// Ports "in_0" to "in_<n-1>"; each Switch has its own, since n varies.
class SwitchMeta : public ElementMeta {
public:
    int32 getInputIndex(const std::string& port) override;
    int32 getNumberOfInputs() override { return numberOfInputs; }
    int32 getOutputIndex(const std::string& port) override { return singleOutputIndex(port); }
    int32 getNumberOfOutputs() override { return 1; }
    virtual void setNumberOfInputs(int32 count) { numberOfInputs = count; }

private:
    int32 numberOfInputs = -1;
};

/// A single named input "in", although a mixer sums several faders.
class MixerMeta : public BasicFilterMeta {
public:
    static const std::shared_ptr<ElementMeta>& instance();
};

/// Ports "plus" (0) and "minus" (1).
class DifferentialFilterMeta : public ElementMeta {
public:
    int32 getInputIndex(const std::string& port) override;
    int32 getNumberOfInputs() override { return numberOfInputs; }
    int32 getOutputIndex(const std::string& port) override { return singleOutputIndex(port); }
    int32 getNumberOfOutputs() override { return 1; }
    static const std::shared_ptr<ElementMeta>& instance();

private:
    int32 numberOfInputs = 2;
};

} // namespace nodara
