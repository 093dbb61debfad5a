#pragma once

#include "tools/torvane/CommandLine.h"

#include <string>

namespace torvane::cli {

/// Each command returns the process's exit code; usage and file errors are thrown.
int checkCommand(Arguments& arguments);
int runCommand(Arguments& arguments);
int generateCommand(Arguments& arguments);
int ampCommand(Arguments& arguments);
int tablesCommand(Arguments& arguments);
int infoCommand(Arguments& arguments);
int designCommand(Arguments& arguments);
int renderCommand(Arguments& arguments);
int editorCommand(Arguments& arguments);

/// Torvane.so in the folder of the running program.
std::string defaultPluginPath();

/// The text of a file, or a FileError naming it.
std::string readTextFile(const std::string& path);

} // namespace torvane::cli
