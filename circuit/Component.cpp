#include "circuit/Component.h"

#include "circuit/MNAContext.h"
#include "runtime/Exceptions.h"

namespace nodara {

void Component::init(const std::string& componentName, const Properties& properties,
                     const std::vector<std::string>& nodes,
                     const std::shared_ptr<MNAContext>& owner) {
    name = componentName;
    nodeNames = std::make_shared<std::vector<std::string>>(nodes);
    context = owner.get();
    configure(properties);
    if (auto* listener = dynamic_cast<MNAEventListener*>(this)) {
        context->addListener(listener);
    }
}

void Component::connectInputs(const std::shared_ptr<std::vector<scalar>>&) {}

void Component::requireNodeCount(std::size_t count, const std::string& message) const {
    if (nodeNames->size() != count) {
        throw InvalidArgumentException(message);
    }
}

void Component::refuseGroundedNodes(const std::string& className) const {
    for (const std::string& node : *nodeNames) {
        if (MNAContext::isGround(node)) {
            throw InvalidArgumentException(className + " cannot have a grounded node. " +
                                           className + " name=" + name);
        }
    }
}

std::string Component::firstUngroundedNode() const {
    for (const std::string& node : *nodeNames) {
        if (!MNAContext::isGround(node)) {
            return node;
        }
    }
    return "";
}

void Component::markMatrixChanged() {
    if (context != nullptr) {
        context->setMatrixChanged(true);
    }
}

} // namespace nodara
