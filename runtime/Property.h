#pragma once

#include "runtime/Types.h"

#include <memory>
#include <string>
#include <vector>

namespace nodara {

class Element;
class Graph;

/// One target of a control: a property of an element, or of a graph when `elementName` is empty.
struct Property {
    enum Type : int32 { ScalarType = 0, VectorType = 1 };

    /// Position in the driver's flat property list; -1 until bound.
    int32 index = -1;
    std::string name;
    int32 type = ScalarType;
    /// The pending scalar value, written under the control's lock.
    scalar value = 0.0f;
    std::shared_ptr<std::vector<scalar>> vectorValue;
    std::string graphName;
    std::string elementName;
    /// Bound by the driver; not owning; null for a graph property.
    Element* element = nullptr;
    std::shared_ptr<Graph> graph;
};

} // namespace nodara
