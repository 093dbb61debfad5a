#pragma once

#include "circuit/Component.h"
#include "circuit/StampMatrix.h"

#include <memory>
#include <vector>

namespace nodara {

/// A tabulated amplifier, nodes in, out: v(out) = Vout(v(in)), out a fixed-voltage node, and,
/// with UseInputCurrent (default true), an input current Iin(v(in)) drawn from the in node,
/// which makes the part non-linear (Jacobian entry dIin/dv at in, in). Entry i of a table
/// stands for VinMin + i·DeltaV, read by linear interpolation; the first interval reads
/// entry 0 flat, and beyond the table the last entry holds; the slope dIin is read the same way. The tables come as "|" lists or
/// later as vector properties "Vout" and "Iin".
class LookupTableAmp : public Component {
public:
    const scalar* getRhs(scalar* x) override;
    Stamp getJacobian(scalar* x) override;
    bool hasRhs() override { return true; }
    bool rhsReadsIterate() override { return true; }
    bool isFixedVoltage() override { return true; }
    bool isNonlinear() override { return useInputCurrent; }
    void propertyChanged(const std::string& propertyName,
                         const std::shared_ptr<std::vector<scalar>>& value) override;

protected:
    void configure(const Properties& properties) override;

private:
    void setInputCurrent(std::vector<scalar> values);
    /// The table read at v − VinMin, as above.
    scalar lookUp(const std::vector<scalar>& table, scalar offset) const;

    StampMatrix jacobian{2, 2};
    scalar rhs[2] = {0.0f, 0.0f};
    scalar vinMin = 0.0f;
    scalar vinMax = 0.0f;
    scalar deltaV = 0.0f;
    scalar reciprocalDeltaV = 0.0f;
    std::vector<scalar> vout;
    std::vector<scalar> iin;
    /// dIin/dv by central differences, one-sided at the ends.
    std::vector<scalar> dIin;
    bool useInputCurrent = true;
};

} // namespace nodara
