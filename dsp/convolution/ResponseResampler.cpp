#include "dsp/convolution/ResponseResampler.h"

#include "runtime/Exceptions.h"

#include <soxr.h>

#include <cmath>

namespace nodara {

std::vector<scalar> resampleResponse(const std::vector<scalar>& samples, double fromRate,
                                     double toRate) {
    if (samples.empty()) {
        return {};
    }
    if (!(fromRate > 0.0) || !(toRate > 0.0)) {
        throw InvalidArgumentException(
            concat("ResponseResampler: Invalid sample rates ", fromRate, " and ", toRate));
    }
    const auto length =
        static_cast<size_t>(std::llround(static_cast<double>(samples.size()) * toRate / fromRate));
    if (length == 0) {
        return {};
    }
    const std::vector<double> in(samples.begin(), samples.end());
    std::vector<double> out(length);
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
    size_t consumed = 0;
    size_t produced = 0;
    // One call converts the whole response, flush included; a short result stays padded
    // with zeros.
    if (soxr_error_t error =
            soxr_oneshot(fromRate, toRate, 1, in.data(), in.size(), &consumed, out.data(),
                         out.size(), &produced, &io, &quality, nullptr)) {
        throw NodaraException(concat("ResponseResampler: ", error));
    }
    const double energyScale = fromRate / toRate;
    std::vector<scalar> result(out.size());
    for (size_t i = 0; i < out.size(); ++i) {
        result[i] = static_cast<scalar>(out[i] * energyScale);
    }
    return result;
}

} // namespace nodara
