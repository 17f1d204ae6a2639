#include "memory.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace Stratum::tools {

namespace {

constexpr double kUnknown = std::numeric_limits<double>::infinity();

// What the system could hand out without swapping.
double freeMemory() {
    std::ifstream in("/proc/meminfo");
    std::string name, unit;
    for (double amount = 0; in >> name >> amount; std::getline(in, unit))
        if (name == "MemAvailable:")
            return amount * 1024;
    return kUnknown;
}

// The limit of the group of processes that this one belongs to, as containers set it; "max" is no
// number.
double groupLimit() {
    std::ifstream in("/sys/fs/cgroup/memory.max");
    double bytes = 0;
    return in >> bytes ? bytes : kUnknown;
}

std::string gigabytes(double bytes) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.3g GB", bytes / 1e9);
    return text.data();
}

} // namespace

double availableMemory() {
    return std::min(freeMemory(), groupLimit());
}

void requireMemory(double bytes, const std::string& what) {
    const double available = availableMemory();
    if (!(bytes <= available)) // also what is no number
        throw std::runtime_error("out of memory: " + what + " take " + gigabytes(bytes) + ", and " +
                                 gigabytes(available) + " are to be had");
}

} // namespace Stratum::tools
