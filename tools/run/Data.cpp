#include "run/Data.h"

namespace Stratum::tools::graph {

namespace {

struct Describe {
    std::string operator()(std::monostate) const { return "nothing"; }
    std::string operator()(const ObjectPtr&) const { return "an object"; }
    template <class T>
    std::string operator()(const ArrayPtr<T>& array) const {
        return array ? "an array of " + elementTypeName<T>() : "no array";
    }
};

} // namespace

std::string describe(const Data& data) {
    return std::visit(Describe{}, data);
}

} // namespace Stratum::tools::graph
