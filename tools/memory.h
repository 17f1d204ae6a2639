// How much memory there is.
#pragma once

#include <string>

namespace Stratum::tools {

/// Bytes that this program can have before the system would have to end programs; infinite where
/// the system does not tell.
double availableMemory();

/// Throws std::runtime_error when `what`, such as "5 locations", takes more bytes than are to be
/// had: a system may promise more than it has, and end programs that take it at its word.
void requireMemory(double bytes, const std::string& what);

} // namespace Stratum::tools
