#include "dsp/elements/LookupTableFilter.h"

#include "kernels/signal/SignalKernels.h"
#include "runtime/Exceptions.h"

namespace nodara {

void LookupTableFilter::setDeltaV(scalar value) {
    deltaV = value;
    inverse = 1.0f / deltaV;
}

void LookupTableFilter::init(const std::string& filterName, std::shared_ptr<DSPContext>& ctx) {
    Filter::init(filterName, ctx);
    inputIndex = 0;
    outputs.assign(1, buffer.get());
    iterationResult->assign(1, 0.0f);
}

void LookupTableFilter::init(const std::string& filterName, const Properties& filterProperties,
                             std::shared_ptr<DSPContext>& ctx) {
    Filter::init(filterName, filterProperties, ctx);
    inputIndex = 0;
    outputs.assign(1, buffer.get());
    iterationResult->assign(1, 0.0f);
    if (filterProperties.empty()) {
        return;
    }
    requireProperty(filterProperties, "VinMin", vinMin, scalarParser,
                    InvalidArgumentException("VinMin is not defined. LookupTableAmp name=" +
                                             filterName));
    requireProperty(filterProperties, "VinMax", vinMax, scalarParser,
                    InvalidArgumentException("VinMax is not defined. LookupTableAmp name=" +
                                             filterName));
    scalar spacing = 0.0f;
    requireProperty(filterProperties, "DeltaV", spacing, scalarParser,
                    InvalidArgumentException("DeltaV is not defined. LookupTableAmp name=" +
                                             filterName));
    if (!(spacing > 0.0f)) {
        throw InvalidArgumentException("DeltaV must be greater than 0. LookupTableAmp name=" +
                                       filterName);
    }
    setDeltaV(spacing);
    std::string table;
    if (readProperty(filterProperties, "Vout", table, stringParser)) {
        splitScalars(table, listSeparator, *values);
    }
}

void LookupTableFilter::propertiesChanged(const Properties& changed) {
    if (changed.empty()) {
        return;
    }
    readProperty(changed, "VinMin", vinMin, scalarParser);
    readProperty(changed, "VinMax", vinMax, scalarParser);
    scalar spacing = 0.0f;
    if (readProperty(changed, "DeltaV", spacing, scalarParser)) {
        setDeltaV(spacing);
    }
    std::string table;
    if (readProperty(changed, "Vout", table, stringParser)) {
        splitScalars(table, listSeparator, *values);
    }
}

void LookupTableFilter::propertyChanged(const std::string& propertyName,
                                        const std::shared_ptr<std::vector<scalar>>& newValues) {
    if (propertyName != "Vout") {
        throw InvalidArgumentException("LookupTableFilter: Unknown property " + propertyName);
    }
    if (!newValues || newValues->empty()) {
        throw InvalidArgumentException("LookupTableFiter: empty Vout values array. ");
    }
    if (!values->empty() && values->size() != newValues->size()) {
        throw InvalidArgumentException(concat("LookupTableFilter: size of Vout (", values->size(),
                                              ") is not equal to the size of values (",
                                              newValues->size(), " )"));
    }
    values = newValues;
}

scalar LookupTableFilter::process(scalar in) { return lookupOne(in); }

void LookupTableFilter::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                                size_t framesPerBuffer) {
    process(in[static_cast<size_t>(inputIndex)], out[0], framesPerBuffer);
}

scalar* LookupTableFilter::process(scalar*, size_t) { return nullptr; }

void LookupTableFilter::process(const scalar* in, scalar* out, size_t framesPerBuffer) {
    if (framesPerBuffer == 0 || in == nullptr || out == nullptr) {
        return;
    }
    if (values->empty()) {
        throw NodaraException("LookupTableFilter: " + name + " lookup data is not defined.");
    }
    // The same arithmetic as one lookup, in vector lanes.
    kernels::tableLookup(values->data(), static_cast<int32>(values->size()) - 1, vinMin, deltaV,
                         inverse, in, out, static_cast<int32>(framesPerBuffer));
}

Filter::IterationResults& LookupTableFilter::iteration(const IterationResults& in, size_t,
                                                       int32) {
    if (values->empty()) {
        throw NodaraException("LookupTableFilter: " + name + " lookup data is not defined.");
    }
    (*iterationResult)[0] = process(in->at(0));
    return iterationResult;
}

} // namespace nodara
