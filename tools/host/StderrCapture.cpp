#include "tools/host/StderrCapture.h"

#include <iostream>
#include <unistd.h>

namespace torvane::host {

StderrCapture::StderrCapture() {
    std::cerr.flush();
    std::fflush(stderr);
    file = std::tmpfile();
    if (file == nullptr) {
        return;
    }
    saved = ::dup(STDERR_FILENO);
    if (saved < 0 || ::dup2(::fileno(file), STDERR_FILENO) < 0) {
        std::fclose(file);
        file = nullptr;
    }
}

StderrCapture::~StderrCapture() {
    restore();
    if (file != nullptr) {
        std::fclose(file);
    }
}

void StderrCapture::restore() {
    if (saved < 0) {
        return;
    }
    std::cerr.flush();
    std::fflush(stderr);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    saved = -1;
}

std::string StderrCapture::finish() {
    restore();
    std::string text;
    if (file == nullptr) {
        return text;
    }
    std::rewind(file);
    char chunk[4096];
    while (const size_t count = std::fread(chunk, 1, sizeof chunk, file)) {
        text.append(chunk, count);
    }
    std::fclose(file);
    file = nullptr;
    return text;
}

std::string firstLine(const std::string& text) {
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, end - start);
        if (line.find_first_not_of(" \t\r") != std::string::npos) {
            return line;
        }
        start = end + 1;
    }
    return {};
}

} // namespace torvane::host
