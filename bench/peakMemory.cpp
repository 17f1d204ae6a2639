#include "peakMemory.h"

#include "KDX/ChannelPool.h"

#include <fstream>
#include <limits>
#include <malloc.h>
#include <string>

namespace Stratum::Bench {

namespace {

// A line of the system's report on this process, in bytes; negative when there is none.
double statusOf(const std::string& wanted) {
    std::ifstream in("/proc/self/status");
    std::string name;
    for (double kilobytes = 0; in >> name;
         in.ignore(std::numeric_limits<std::streamsize>::max(), '\n'))
        if (name == wanted && in >> kilobytes)
            return kilobytes * 1024;
    return -1;
}

// Makes the peak what is resident now.
bool resetPeak() {
    std::ofstream out("/proc/self/clear_refs");
    out << "5" << std::flush;
    return out.good();
}

} // namespace

double extraMemory(const std::function<void()>& call) {
    KDX::TileTree3D::ChannelMemoryPool::trim();
    malloc_trim(0);
    if (!resetPeak())
        return -1;
    const double before = statusOf("VmRSS:");
    call();
    const double peak = statusOf("VmHWM:");
    return before < 0 || peak < 0 ? -1 : peak - before;
}

} // namespace Stratum::Bench
