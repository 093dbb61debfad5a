#pragma once

#include "runtime/Types.h"

#include <memory>
#include <string>

namespace nodara {

/// Resolves the port names of an element class to indices.
class ElementMeta {
public:
    virtual ~ElementMeta() = default;
    virtual int32 getInputIndex(const std::string& port) = 0;
    virtual int32 getNumberOfInputs() = 0;
    virtual int32 getOutputIndex(const std::string& port) = 0;
    virtual int32 getNumberOfOutputs() = 0;
};

/// One input "in" and one output "out": the ports of most filters.
class BasicFilterMeta : public ElementMeta {
public:
    int32 getInputIndex(const std::string& port) override;
    int32 getNumberOfInputs() override { return 1; }
    int32 getOutputIndex(const std::string& port) override;
    int32 getNumberOfOutputs() override { return 1; }

    /// The instance shared by every filter with the two plain ports.
    static const std::shared_ptr<ElementMeta>& instance();
};

/// The output side shared by every meta: the single port "out".
int32 singleOutputIndex(const std::string& port);

} // namespace nodara
