#pragma once

#include "runtime/Properties.h"

#include <string>

namespace nodara {

/// Adds the parameters of the built-in triode set `type` ("12AX7", "12AY7") to `properties`,
/// keeping the entries already there; an unknown name throws.
void addTriodeSet(const std::string& type, Properties& properties);

/// The same for the pentode sets "JJEL34", "5881", "GE6L6GC", "KT66", "GE6V6GT".
void addPentodeSet(const std::string& type, Properties& properties);

} // namespace nodara
