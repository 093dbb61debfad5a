#pragma once

#include "runtime/Properties.h"
#include "runtime/Types.h"

#include <memory>
#include <string>
#include <vector>

namespace nodara {

/// Anything that a graph holds by name: a filter of a DSP graph or a component of a circuit.
/// The property operations are optional; the defaults refuse them.
class Element {
public:
    virtual ~Element() = default;

    /// Several properties were replaced at once.
    virtual void propertiesChanged(const Properties& properties);
    virtual void propertyChanged(const std::string& name, scalar value);
    virtual void propertyChanged(const std::string& name,
                                 const std::shared_ptr<std::vector<scalar>>& value);
    virtual const std::string& getName() const { return name; }

protected:
    std::string name;
};

} // namespace nodara
