#include "dsp/elements/ElementMetas.h"

#include "runtime/Exceptions.h"

#include <cstdlib>

namespace nodara {

int32 SwitchMeta::getInputIndex(const std::string& port) {
    if (port.compare(0, 3, "in_") != 0) {
        throw InvalidArgumentException(
            "Invalid input port name: " + port +
            ". INput port name must start with \"in_\" followed by a number.");
    }
    const int32 index = std::atoi(port.c_str() + 3);
    if (index < 0 || index >= numberOfInputs) {
        throw InvalidArgumentException(concat("SwitchMeta: Invalid input port ", port,
                                              ", NumberOfInputs=", numberOfInputs));
    }
    return index;
}

const std::shared_ptr<ElementMeta>& MixerMeta::instance() {
    static const std::shared_ptr<ElementMeta> meta = std::make_shared<MixerMeta>();
    return meta;
}

int32 DifferentialFilterMeta::getInputIndex(const std::string& port) {
    if (port == "plus") {
        return 0;
    }
    if (port == "minus") {
        return 1;
    }
    throw InvalidArgumentException("Invalid input port name: " + port +
                                   ". Expected \"plus\" or \"minus\".");
}

const std::shared_ptr<ElementMeta>& DifferentialFilterMeta::instance() {
    static const std::shared_ptr<ElementMeta> meta = std::make_shared<DifferentialFilterMeta>();
    return meta;
}

} // namespace nodara
