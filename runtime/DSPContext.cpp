#include "runtime/DSPContext.h"

#include "runtime/Exceptions.h"

namespace nodara {

void DSPContext::setSampleRate(scalar rate) {
    Context::setSampleRate(rate);
    for (Filter* filter : filters) {
        filter->setSampleRate(rate);
    }
}

Element* DSPContext::getElement(const std::string& elementName) {
    auto found = elementsByName.find(elementName);
    if (found == elementsByName.end()) {
        throw InvalidArgumentException("DSOContext: Cannot find element with name " + elementName);
    }
    return found->second;
}

void DSPContext::addElement(Element* element) {
    auto* filter = dynamic_cast<Filter*>(element);
    if (filter == nullptr) {
        throw InvalidArgumentException("DSPContext: Element is not a filter: " +
                                       element->getName());
    }
    if (elementsByName.count(filter->getName()) != 0) {
        throw NodaraException("DSPContext: Duplicate element name: " + filter->getName());
    }
    elementsByName[filter->getName()] = filter;
    filters.push_back(filter);
    owned.emplace_back(filter);
}

} // namespace nodara
