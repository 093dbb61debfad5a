#pragma once

#include <exception>
#include <sstream>
#include <string>
#include <utility>

namespace nodara {

/// Every failure of the framework is one of these; no operation returns a status.
class NodaraException : public std::exception {
public:
    explicit NodaraException(std::string message) : message(std::move(message)) {}
    ~NodaraException() override = default;

    const std::string& getMessage() const noexcept { return message; }
    const char* what() const noexcept override { return message.c_str(); }

private:
    std::string message;
};

/// A bad name or value handed over as an argument.
class InvalidArgumentException : public NodaraException {
public:
    using NodaraException::NodaraException;
};

/// An optional operation that a class does not provide.
class OperationNotSupportedException : public NodaraException {
public:
    using NodaraException::NodaraException;
};

/// Builds a message by concatenation; numbers take the default form of a string stream.
template <class... Parts>
std::string concat(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

} // namespace nodara
