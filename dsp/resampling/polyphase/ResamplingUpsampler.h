#pragma once

#include "dsp/resampling/polyphase/KaiserDesign.h"
#include "dsp/resampling/polyphase/PolyphaseUpsampler.h"

namespace nodara {

/// A polyphase upsampler that designs its own taps: a Kaiser-windowed sinc (KaiserDesign.h)
/// of Order taps, each multiplied by Factor to make up for the inserted zeros.
///
/// Properties: Factor, Order (1 to 256), Attenuation (dB, above 1), and either
/// RelativeCornerFrequency (cycles per sample at the high rate, between 0 and 1) or
/// AbsoluteCornerFrequency (Hz). A change of Factor moves the graph's rate; the driver's
/// next block brings the new rate, and with it the new design.
class ResamplingUpsampler : public PolyphaseUpsampler {
public:
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// `sampleRate` is the rate at the graph's input, the low rate. Clears the history and
    /// designs anew. Allocates: at a rate change only.
    void setSampleRate(scalar sampleRate) override;

protected:
    /// The design follows at the next rate.
    void factorChanged() override {}

private:
    KaiserSettings settings;
};

} // namespace nodara
