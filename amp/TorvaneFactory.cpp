#include "amp/TorvaneFactory.h"

#include "amp/networks/FilterWrapper.h"
#include "amp/Newton.h"
#include "runtime/Exceptions.h"

#include <functional>
#include <unordered_map>

namespace torvane {

namespace {

const std::unordered_map<std::string, std::function<nodara::Filter*()>>& table() {
    static const std::unordered_map<std::string, std::function<nodara::Filter*()>> makers = {
        {"FilterWrapper", [] { return new FilterWrapper(); }},
        {"Newton", [] { return new Newton(); }},
    };
    return makers;
}

} // namespace

nodara::Filter* TorvaneFactory::create(const std::string& type) {
    auto found = table().find(type);
    if (found == table().end()) {
        throw nodara::NodaraException("Unknown element type: " + type);
    }
    return found->second();
}

bool TorvaneFactory::hasType(const std::string& type) { return table().count(type) != 0; }

} // namespace torvane
