#pragma once

#include "circuit/Component.h"
#include "circuit/StampMatrix.h"

#include <string>

namespace nodara {

/// A voltage between two nodes, plus and minus, in one of two forms:
/// - with an extra unknown, the branch current i: B = [1, −1]ᵀ puts i into both nodes'
///   equations, C = [1, −1] and rhs [0, 0, u] give the row v(plus) − v(minus) = u;
/// - with UseFixedVoltage, without one: the first terminal that is not ground is a fixed node,
///   whose row the context replaces by x = u; rhs [u, −u, 0], the −u going to the second
///   node's equation when that is not ground. The circuit is one unknown smaller.
/// The form is chosen once, at init.
class VoltageSource : public Component {
public:
    VoltageSource();

    Stamp getExtraColumnMatrix() override { return useFixedVoltage ? nullptr : b.rows(); }
    Stamp getExtraRowMatrix() override { return useFixedVoltage ? nullptr : c.rows(); }
    int32 getExtraVariableCount() override { return useFixedVoltage ? 0 : 1; }
    bool hasRhs() override { return true; }
    bool isFixedVoltage() override { return useFixedVoltage; }
    void propertiesChanged(const Properties& properties) override;

protected:
    /// Reads the values a running source may change.
    virtual void readVoltageProperties(const Properties& properties) = 0;
    /// Checks the terminals, reads UseFixedVoltage and the values.
    void configureSource(const Properties& properties, const std::string& className);
    /// Writes u into the rhs of the form in use.
    void setSourceValue(scalar u);

    scalar rhs[3] = {0.0f, 0.0f, 0.0f};
    bool useFixedVoltage = false;

private:
    StampMatrix b{2, 1};
    StampMatrix c{1, 2};
};

} // namespace nodara
