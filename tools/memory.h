// How much memory there is.
#pragma once

#include <string>

namespace Stratum::tools {

/// Bytes that this program can have before the system would have to end programs; infinite where
/// the system does not tell.
double availableMemory();

/// Such as "1.5 GB".
std::string gigabytes(double bytes);

} // namespace Stratum::tools
