#pragma once

#include "tools/torvane/CommandLine.h"

namespace torvane::cli {

/// `torvane op DOC.xml`: the DC operating point of every circuit graph of a document.
int opCommand(Arguments& arguments);
extern const char* const opUsage;

} // namespace torvane::cli
