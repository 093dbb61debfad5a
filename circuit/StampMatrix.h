#pragma once

#include "runtime/Types.h"

#include <cstddef>
#include <vector>

namespace nodara {

/// A small dense stamp a component owns and hands to its context as a table of row pointers.
/// Zero when made; the rows stay where they are for the stamp's life.
class StampMatrix {
public:
    StampMatrix(std::size_t rowCount, std::size_t columnCount)
        : values(rowCount * columnCount, 0.0f), rowPointers(rowCount) {
        for (std::size_t r = 0; r < rowCount; ++r) {
            rowPointers[r] = values.data() + r * columnCount;
        }
    }
    StampMatrix(const StampMatrix&) = delete;
    StampMatrix& operator=(const StampMatrix&) = delete;

    scalar* operator[](std::size_t row) { return rowPointers[row]; }
    const scalar* const* rows() const { return rowPointers.data(); }

private:
    std::vector<scalar> values;
    std::vector<scalar*> rowPointers;
};

} // namespace nodara
