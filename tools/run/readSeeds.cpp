#include "run/readSeeds.h"

namespace Stratum::tools::graph {

ArrayPtr<std::int64_t> readBits64Array(const Json& json, const Inputs& inputs) {
    if (Inputs::isReference(json))
        return inputs.array<std::int64_t>(json);
    auto array = Ostrum::makePtr<Ostrum::Array<std::int64_t>>();
    for (const Json& element : json.list())
        array->push_back(readBits64(element));
    return array;
}

std::int64_t readSeed(const Json& json, const Inputs& inputs) {
    if (!Inputs::isReference(json))
        return readBits64(json);
    const auto array = inputs.array<std::int64_t>(json);
    if (array->size() != 1)
        json.fail("one number is wanted, and the node has " + std::to_string(array->size()));
    return (*array)[0];
}

} // namespace Stratum::tools::graph
