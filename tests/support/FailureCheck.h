#pragma once

// Table-driven checks of failures: the exact exception class and the exact message.

#include "runtime/Exceptions.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <typeinfo>
#include <vector>

namespace failurecheck {

inline const std::type_info& plain = typeid(nodara::NodaraException);
inline const std::type_info& invalid = typeid(nodara::InvalidArgumentException);
inline const std::type_info& unsupported = typeid(nodara::OperationNotSupportedException);

struct Case {
    std::function<void()> action;
    const std::type_info& type;
    std::string message;
};

inline void expectFailures(const std::vector<Case>& cases) {
    for (size_t row = 0; row < cases.size(); ++row) {
        const Case& failure = cases[row];
        SCOPED_TRACE("row " + std::to_string(row + 1));
        try {
            failure.action();
            ADD_FAILURE() << "no exception; expected: " << failure.message;
        } catch (const nodara::NodaraException& error) {
            EXPECT_EQ(error.getMessage(), failure.message);
            EXPECT_EQ(std::string(typeid(error).name()), std::string(failure.type.name()));
        }
    }
}

} // namespace failurecheck
