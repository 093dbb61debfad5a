#include "circuit/components/VoltageSource.h"

namespace nodara {

VoltageSource::VoltageSource() {
    b[0][0] = 1.0f;
    b[1][0] = -1.0f;
    c[0][0] = 1.0f;
    c[0][1] = -1.0f;
}

void VoltageSource::configureSource(const Properties& properties, const std::string& className) {
    requireNodeCount(2, className + " must have two nodes");
    readProperty(properties, "UseFixedVoltage", useFixedVoltage, boolParser);
    if (useFixedVoltage) {
        fixedVoltageNode = firstUngroundedNode();
    }
    readVoltageProperties(properties);
}

void VoltageSource::setSourceValue(scalar u) {
    if (useFixedVoltage) {
        rhs[0] = u;
        rhs[1] = -u;
        rhs[2] = 0.0f;
    } else {
        rhs[0] = 0.0f;
        rhs[1] = 0.0f;
        rhs[2] = u;
    }
}

void VoltageSource::propertiesChanged(const Properties& properties) {
    readVoltageProperties(properties);
    markMatrixChanged();
}

} // namespace nodara
