#pragma once

#include <string>
#include <vector>

namespace torvane::host {

/// The index of the parameter that `wanted` names among the names an effect reports: an exact
/// name first; else the first 8 characters without regard to case, since effects report at most
/// 8 ("Oversampling" and "oversampling" find "Oversamp"); else a whole number below the count.
/// Anything else is a std::runtime_error that names `wanted` and lists the names.
int findParameter(const std::vector<std::string>& names, const std::string& wanted);

} // namespace torvane::host
