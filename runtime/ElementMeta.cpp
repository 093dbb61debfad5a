#include "runtime/ElementMeta.h"

#include "runtime/Exceptions.h"

namespace nodara {

int32 singleOutputIndex(const std::string& port) {
    if (port != "out") {
        throw InvalidArgumentException("Invalid output port name: " + port + ". Expected \"out\".");
    }
    return 0;
}

int32 BasicFilterMeta::getInputIndex(const std::string& port) {
    if (port != "in") {
        throw InvalidArgumentException("Invalid input port name: " + port + ". Expected \"in\".");
    }
    return 0;
}

int32 BasicFilterMeta::getOutputIndex(const std::string& port) { return singleOutputIndex(port); }

const std::shared_ptr<ElementMeta>& BasicFilterMeta::instance() {
    static const std::shared_ptr<ElementMeta> meta = std::make_shared<BasicFilterMeta>();
    return meta;
}

} // namespace nodara
