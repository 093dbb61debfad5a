#include "runtime/Element.h"

#include "runtime/Exceptions.h"

namespace nodara {

void Element::propertiesChanged(const Properties&) {
    throw OperationNotSupportedException("propertiesChanged is not supported. Element: " + name);
}

void Element::propertyChanged(const std::string&, scalar) {
    throw OperationNotSupportedException("propertyChanged(scalar) is not supported. Element: " +
                                         name);
}

void Element::propertyChanged(const std::string&, const std::shared_ptr<std::vector<scalar>>&) {
    throw OperationNotSupportedException("propertyChanged(vector) is not supported. Element: " +
                                         name);
}

} // namespace nodara
