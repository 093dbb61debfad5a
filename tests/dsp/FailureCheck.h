#pragma once

// Table-driven checks of failures: the exact exception class and the exact message.

#include "runtime/Exceptions.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <typeinfo>

namespace failurecheck {

struct Case {
    const char* label;
    std::function<void()> action;
    const std::type_info& type;
    std::string message;
};

inline void expectFailure(const Case& failure) {
    SCOPED_TRACE(failure.label);
    try {
        failure.action();
        ADD_FAILURE() << "no exception; expected: " << failure.message;
    } catch (const nodara::NodaraException& error) {
        EXPECT_EQ(error.getMessage(), failure.message);
        EXPECT_EQ(std::string(typeid(error).name()), std::string(failure.type.name()));
    }
}

} // namespace failurecheck
