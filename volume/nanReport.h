// Saying once that an interpolation came out as NaN.
#pragma once

#include <string>

namespace KDX::TileTree3D {

/// Whether printNanReport() has printed: nothing more is said about NaN then.
bool isNanReported();

/// Prints a report to the standard output, in one piece, unless one was printed before: from any
/// thread, any sampler, any tree shape and value type.
void printNanReport(const std::string& report);

/// Prints a line of diagnostics to the standard output, in one piece.
void printDiagnostic(const std::string& line);

} // namespace KDX::TileTree3D
