#include "standardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Stratum::tools {

void holdClosedStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) != -1 || errno != EBADF)
            continue;
        // Open the wrong way round, so that whoever uses it is told. The lowest number that is free
        // is this stream's, since those below are open by now.
        if (::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) != stream)
            throw std::system_error(errno, std::generic_category(), "cannot open '/dev/null'");
    }
}

} // namespace Stratum::tools
