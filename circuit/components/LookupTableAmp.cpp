#include "circuit/components/LookupTableAmp.h"

#include "runtime/Exceptions.h"

#include <algorithm>

namespace nodara {

void LookupTableAmp::configure(const Properties& properties) {
    requireNodeCount(2, "LookupTableAmp must have two nodes");
    refuseGroundedNodes("LookupTableAmp");
    fixedVoltageNode = nodeNames->back();
    const auto require = [&](const char* key, scalar& out) {
        requireProperty(properties, key, out, scalarParser,
                        InvalidArgumentException(std::string(key) +
                                                 " is not defined. LookupTableAmp name=" + name));
    };
    require("VinMin", vinMin);
    require("VinMax", vinMax);
    require("DeltaV", deltaV);
    if (!(deltaV > 0.0f)) {
        throw InvalidArgumentException("DeltaV must be greater than 0. LookupTableAmp name=" + name);
    }
    reciprocalDeltaV = 1.0f / deltaV;
    readProperty(properties, "UseInputCurrent", useInputCurrent, boolParser);
    if (auto found = properties.find("Vout"); found != properties.end()) {
        splitScalars(found->second, listSeparator, vout);
    } else {
        // Zero until the table arrives as a vector property.
        vout.assign(static_cast<size_t>(std::max((vinMax - vinMin) * reciprocalDeltaV, 0.0f)) + 1,
                    0.0f);
    }
    if (auto found = properties.find("Iin"); useInputCurrent && found != properties.end()) {
        std::vector<scalar> values;
        splitScalars(found->second, listSeparator, values);
        setInputCurrent(std::move(values));
    }
}

void LookupTableAmp::propertyChanged(const std::string& propertyName,
                                     const std::shared_ptr<std::vector<scalar>>& value) {
    if (propertyName == "Vout") {
        vout = *value;
    } else if (propertyName == "Iin") {
        setInputCurrent(*value);
    } else {
        throw InvalidArgumentException("propertyChanged: Invalid property name: " + propertyName +
                                       ". LookupTableAmp name=" + name);
    }
}

void LookupTableAmp::setInputCurrent(std::vector<scalar> values) {
    iin = std::move(values);
    if (iin.size() < 2) {
        dIin.clear();
        return;
    }
    const size_t last = iin.size() - 1;
    dIin.resize(iin.size());
    dIin[0] = (iin[1] - iin[0]) * reciprocalDeltaV;
    for (size_t i = 1; i < last; ++i) {
        dIin[i] = (iin[i + 1] - iin[i - 1]) * reciprocalDeltaV * 0.5f;
    }
    dIin[last] = (iin[last] - iin[last - 1]) * reciprocalDeltaV;
}

scalar LookupTableAmp::lookUp(const std::vector<scalar>& table, scalar offset) const {
    if (table.empty()) {
        return 0.0f;
    }
    const scalar position = offset * reciprocalDeltaV;
    if (!(position >= 1.0f)) {
        return table.front();
    }
    if (position >= static_cast<scalar>(table.size() - 1)) {
        return table.back();
    }
    const auto i = static_cast<size_t>(position);
    return (offset - static_cast<scalar>(i) * deltaV) * (table[i + 1] - table[i]) *
               reciprocalDeltaV +
           table[i];
}

const scalar* LookupTableAmp::getRhs(scalar* x) {
    const scalar offset = voltageAt(x, 0) - vinMin;
    rhs[0] = useInputCurrent ? -lookUp(iin, offset) : 0.0f;
    rhs[1] = lookUp(vout, offset);
    return rhs;
}

Component::Stamp LookupTableAmp::getJacobian(scalar* x) {
    jacobian[0][0] = lookUp(dIin, voltageAt(x, 0) - vinMin);
    return jacobian.rows();
}

} // namespace nodara
