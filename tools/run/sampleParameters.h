// What the nodes of sampling operators share.
#pragma once

#include "run/Node.h"

namespace Stratum::tools::graph {

/// The value type that a default value has by its form: numbers are float.
const char* typeByForm(const Json& value);

/// Calls `f(std::type_identity<T>)` for the node's "value_type" or, without one, for the type that
/// its "default_value" has by its form.
template <class F>
void visitSampledType(const Json& node, const F& f) {
    Json byForm{Json::Data(std::string())};
    const Json* type = node.find("value_type");
    if (!type) {
        byForm.data = std::string(typeByForm(node.at("default_value")));
        type = &byForm;
    }
    visitValueType(*type, f);
}

} // namespace Stratum::tools::graph
