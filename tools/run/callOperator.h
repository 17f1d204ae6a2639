// Calling an operator under observation.
#pragma once

#include "Ostrum/RuntimeServices.h"
#include "run/Node.h"

#include <functional>

namespace Stratum::tools::graph {

using OperatorCall = std::function<void(Ostrum::RuntimeServices& services)>;

/// Makes the call with the host misbehaving as the node's "settings" say, for that call alone, and
/// reports what the host was told, what was printed and how the call ended. Throws io::Cancelled
/// when the user cancelled the job meanwhile.
Report callOperator(const Json& node, const OperatorCall& call);

} // namespace Stratum::tools::graph
