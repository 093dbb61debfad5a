#pragma once

#include <cstdio>
#include <string>

namespace torvane::host {

/// While it lives, what the process writes on stderr (file descriptor 2) goes to a temporary
/// file instead: an effect reports its refusals there, and the host wants them as its own
/// failure, not as a stray line beside it. Single-threaded use only.
class StderrCapture {
public:
    StderrCapture();
    /// Gives stderr back if `finish` did not.
    ~StderrCapture();
    StderrCapture(const StderrCapture&) = delete;
    StderrCapture& operator=(const StderrCapture&) = delete;

    /// Ends the capture and returns what was written; empty when nothing was, or when no
    /// temporary file could be made (then nothing was captured either).
    std::string finish();

private:
    void restore();

    std::FILE* file = nullptr;
    int saved = -1;
};

/// The first line of `text` that holds more than blanks, without its line end.
std::string firstLine(const std::string& text);

} // namespace torvane::host
