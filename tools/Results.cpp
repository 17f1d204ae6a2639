#include "Results.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Stratum::tools {

namespace {

int resultsDescriptor = STDOUT_FILENO;

} // namespace

void Results::keepForResultsOnly() {
    resultsDescriptor = ::dup(STDOUT_FILENO);
    if (resultsDescriptor < 0 || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        throw std::system_error(errno, std::generic_category(), "cannot use the output streams");
}

Results::Results(const std::string& path)
    : out_(path == "-" ? io::OutputFile(resultsDescriptor, "standard output")
                       : io::OutputFile(path)) {}

} // namespace Stratum::tools
