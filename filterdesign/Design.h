#pragma once

#include "filterdesign/IirDesignContext.h"
#include "filterdesign/Recurrence.h"
#include "filterdesign/Request.h"

namespace nodara::filterdesign {

/// Designs the context's filter and stores `a` (Order values, twice as many for band-pass and
/// band-stop) and `b` (one more), narrowed to float. On failure throws NodaraException with the
/// message of the failing check and leaves the context's vectors as they were.
/// Allocates: not for the audio thread's steady state.
void design(IirDesignContext& context);

/// The pole-zero design method in double precision: validation, prototype poles, band
/// transform, pre-warping, mapping to the z-plane, expansion and gain.
Recurrence designRecurrence(const Request& request);

} // namespace nodara::filterdesign
