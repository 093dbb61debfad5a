#pragma once

#include "dsp/resampling/polyphase/KaiserDesign.h"
#include "dsp/resampling/polyphase/PolyphaseDownsampler.h"

namespace nodara {

/// A polyphase downsampler that designs its own taps: a Kaiser-windowed sinc (KaiserDesign.h)
/// of Order taps with unity gain.
///
/// Properties: Factor, Order (1 to 256), Attenuation (dB, above 1), and either
/// RelativeCornerFrequency (cycles per sample at the high rate, between 0 and 1) or
/// AbsoluteCornerFrequency (Hz). A change of Factor moves the graph's rate; the driver's
/// next block brings the new rate, and with it the new design.
class ResamplingDecimator : public PolyphaseDownsampler {
public:
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// `sampleRate` is the rate at the graph's input, the high rate. Clears the history and
    /// designs anew. Allocates: at a rate change only.
    void setSampleRate(scalar sampleRate) override;

private:
    KaiserSettings settings;
};

} // namespace nodara
