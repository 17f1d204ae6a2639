// What the accuracy program measures.
#pragma once

#include "accuracyTable.h"

namespace Stratum::Accuracy {

/// Each prints its tables; false when something that must hold does not.
bool convergence(Format format);
bool levelChanges(Format format);
bool generalPath(Format format);
bool narrowBand(Format format);
/// Errors in a plane through a tree, and the tiles it cuts; always as CSV.
bool plane(Format format);

} // namespace Stratum::Accuracy
