// Outcomes as JSON text.
#pragma once

#include "run/Node.h"

#include <map>
#include <string>

namespace Stratum::tools::graph {

/// Rendered members, by key: keys come out sorted.
using Members = std::map<std::string, std::string>;
std::string toJson(const Members& members);

/// A text; bytes that are no UTF-8 become U+FFFD.
std::string toJson(const std::string& text);

/// All that a node left behind, numbers with the fewest digits that readScalar() takes for the same
/// bits. `withSeconds` adds how long timers ran. Fails, at `place`, for an
/// object, which has no text.
std::string toJson(const Outcome& outcome, bool withSeconds, const Json& place);

} // namespace Stratum::tools::graph
