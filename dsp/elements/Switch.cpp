#include "dsp/elements/Switch.h"

#include "runtime/Exceptions.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace nodara {

void Switch::propertiesChanged(const Properties& changed) {
    if (readProperty(changed, "NumberOfInputs", numberOfInputs, intParser)) {
        meta->setNumberOfInputs(numberOfInputs);
    }
    readProperty(changed, "Position", position, intParser);
    validate();
}

void Switch::validate() const {
    if (numberOfInputs < 0) {
        throw InvalidArgumentException("Switch: Number of inputs must be specified");
    }
    if (numberOfInputs < 2) {
        throw InvalidArgumentException("Switch: NumberOfInputs must be greater than 1.");
    }
    if (position >= numberOfInputs) {
        throw InvalidArgumentException(
            concat("Switch: Invalid position ", position, ". NumberOfInputs=", numberOfInputs));
    }
}

void Switch::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Position") {
        throw InvalidArgumentException("Switch: Unknown property " + propertyName);
    }
    position = static_cast<int32>(std::floor(value + 0.5f));
    validate();
}

void Switch::init(const std::string& switchName, const Properties& switchProperties,
                  std::shared_ptr<DSPContext>& switchContext) {
    Filter::init(switchName, switchProperties, switchContext);
    propertiesChanged(switchProperties);
    outputs.assign(1, buffer.get());
}

void Switch::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                     size_t framesPerBuffer) {
    // An unwired or impossible position gives silence rather than a read outside the inputs.
    const bool wired = position >= 0 && static_cast<size_t>(position) < in.size() &&
                       in[static_cast<size_t>(position)] != nullptr;
    if (wired) {
        std::memmove(out[0], in[static_cast<size_t>(position)], framesPerBuffer * sizeof(scalar));
    } else {
        std::fill_n(out[0], framesPerBuffer, 0.0f);
    }
}

// As in the block form, an impossible position gives silence.
Filter::IterationResults& Switch::iteration(const IterationResults& in, size_t, int32) {
    const bool possible = position >= 0 && static_cast<size_t>(position) < in->size();
    (*iterationResult)[0] = possible ? (*in)[static_cast<size_t>(position)] : 0.0f;
    return iterationResult;
}

} // namespace nodara
