// The command as it was typed, and what it was built from.
#pragma once

#include <string>

namespace Stratum::tools {

inline constexpr char kVersion[] = STRATUM_VERSION;

/// The versions of the program, of the TBB that runs, and of the compiler, one a line.
std::string versionText();

/// The arguments as a shell would take them.
std::string commandText(int argc, char** argv);

} // namespace Stratum::tools
