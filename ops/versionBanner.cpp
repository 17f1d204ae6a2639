// One line about the build on the standard error stream at load, for those who ask for it.
#include "buildStamp.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace Stratum {

namespace {

bool isAskedFor() {
    const char* value = std::getenv("MORAINE_DUMP_VERSION_INFO");
    return value != nullptr && std::strtol(value, nullptr, 10) != 0;
}

bool hasStandardError() {
    return ::fcntl(STDERR_FILENO, F_GETFD) != -1;
}

bool printBanner() {
    if (!isAskedFor() || !hasStandardError())
        return false;
    std::ostringstream line;
    line << std::setw(16) << "Stratum"
         << ": Vantor version ";
    for (int part = 0; part < 4; ++part)
        line << (part > 0 ? "." : "") << BuildStamp::kVersion[part];
    line << " (" << BuildStamp::kDate << ", build " << BuildStamp::kBuild << ", commit "
         << BuildStamp::kCommit << ", branch " << BuildStamp::kBranch << ")";
    std::cerr << line.str() << std::endl;
    return true;
}

} // namespace

/// Whether the banner was asked for and could be printed when the library was loaded.
extern const bool dumpVersion;
const bool dumpVersion = printBanner();

} // namespace Stratum
