#pragma once

#include "kernels/signal/TableLookup.h"
#include "runtime/Filter.h"

#include <memory>
#include <vector>

namespace nodara {

/// A memoryless non-linearity: a whole tube stage as one table of output voltages over input
/// voltages. Entry i is the output for VinMin + i·DeltaV; below and above the table the end
/// values hold. The first interval is flat: interpolation starts at entry 1.
///
/// Properties: VinMin, VinMax (stored, never read), DeltaV (> 0), optional Vout ("|" list).
/// The table is normally delivered as the vector property "Vout", shared, not copied.
class LookupTableFilter : public BufferedFilter {
public:
    LookupTableFilter() : BufferedFilter("LookupTableFilter") {}

    using BufferedFilter::process;
    using BufferedFilter::propertyChanged;
    /// Overwrites VinMin, VinMax, DeltaV and the table's contents, where present.
    void propertiesChanged(const Properties& properties) override;
    /// "Vout" only: shares `values` as the new table; a table in use keeps its length.
    void propertyChanged(const std::string& name,
                         const std::shared_ptr<std::vector<scalar>>& values) override;
    void init(const std::string& name, std::shared_ptr<DSPContext>& context) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// One lookup; the table must be set.
    scalar process(scalar in) override;
    /// The same, inline and not virtual, for callers that look up sample by sample.
    scalar lookupOne(scalar in) const {
        return kernels::lookupOne(in, values->data(), static_cast<int32>(values->size()) - 1,
                                  vinMin, deltaV, inverse);
    }
    /// The index `lookupOne` reads `in` at; below 1, it gives the first entry.
    int32 indexOf(scalar in) const { return kernels::lookupIndex(in, vinMin, inverse); }
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    scalar* process(scalar* in, size_t framesPerBuffer) override;
    /// In place is allowed. Many lookups side by side in vector lanes, each as the single one.
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    IterationResults& iteration(const IterationResults& in, size_t frame,
                                int32 iteration) override;

    scalar getVinMin() const { return vinMin; }
    scalar getVinMax() const { return vinMax; }
    scalar getDeltaV() const { return deltaV; }
    /// 1/DeltaV, as the lookups use it.
    scalar getInverse() const { return inverse; }
    const std::shared_ptr<std::vector<scalar>>& getValues() const { return values; }

private:
    void setDeltaV(scalar value);

    int32 inputIndex = 0;
    scalar vinMin = 0.0f;
    scalar vinMax = 0.0f;
    scalar inverse = 0.0f;
    scalar deltaV = 0.0f;
    std::shared_ptr<std::vector<scalar>> values = std::make_shared<std::vector<scalar>>();
};

} // namespace nodara
