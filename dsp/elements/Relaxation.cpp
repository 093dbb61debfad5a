#include "dsp/elements/Relaxation.h"

#include "runtime/Exceptions.h"

namespace nodara {

void Relaxation::init(const std::string& relaxationName, const Properties& relaxationProperties,
                      std::shared_ptr<DSPContext>& relaxationContext) {
    Filter::init(relaxationName, relaxationProperties, relaxationContext);
    requireProperty(relaxationProperties, "Relaxation", relaxation, scalarParser,
                    NodaraException("Relaxation: Relaxation is not defined. Relaxation name=" +
                                    relaxationName));
    if (!(relaxation > 0.0f)) {
        throw InvalidArgumentException(concat("Relaxation: Relaxation must be greater than 0. "
                                              "Relaxation=",
                                              relaxation, " Relaxation name=", relaxationName));
    }
    readProperty(relaxationProperties, "Extrapolate", extrapolate, boolParser);
    iterationResult->assign(1, 0.0f);
}

void Relaxation::refuseBlocks() const {
    throw OperationNotSupportedException(
        "Relaxation: Block processing mode is not supported. Name: " + name);
}

scalar Relaxation::process(scalar) { return 0.0f; }

void Relaxation::process(const std::vector<scalar*>&, size_t) { refuseBlocks(); }

void Relaxation::process(const std::vector<scalar*>&, std::vector<scalar*>&, size_t) {
    refuseBlocks();
}

scalar* Relaxation::process(scalar*, size_t) { refuseBlocks(); }

void Relaxation::process(const scalar*, scalar*, size_t) { refuseBlocks(); }

scalar* Relaxation::getOutput(int32) { refuseBlocks(); }

std::vector<scalar*>& Relaxation::getOutputs() { refuseBlocks(); }

Filter::IterationResults& Relaxation::iteration(const IterationResults& in, size_t, int32) {
    const scalar result = (1.0f - relaxation) * previous + relaxation * in->at(0);
    (*iterationResult)[0] = result;
    previous = result;
    return iterationResult;
}

size_t Relaxation::endIteration(size_t frame) {
    if (extrapolate) {
        const scalar predicted = 2.0f * previous - older;
        (*iterationResult)[0] = predicted;
        older = previous;
        previous = predicted;
    }
    return frame;
}

} // namespace nodara
