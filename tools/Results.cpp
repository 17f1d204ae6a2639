#include "Results.h"

#include "io/Cancelled.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

namespace Stratum::tools {

namespace {

int resultsDescriptor = STDOUT_FILENO;

// Also under the names that would open what the stream has become here.
bool isStandardOutput(std::string_view path) {
    return path == "-" || path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
}

} // namespace

void Results::keepForResultsOnly() {
    // Above the standard streams, and not for programs that this one may start.
    resultsDescriptor = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (resultsDescriptor < 0 || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        throw std::system_error(errno, std::generic_category(), "cannot use the output streams");
}

Results::Results(const std::string& path)
    : out_(isStandardOutput(path) ? io::OutputFile(resultsDescriptor, "standard output")
                                  : io::OutputFile(path)) {}

void Results::commit() {
    io::throwIfInterrupted();
    out_.commit();
}

} // namespace Stratum::tools
