#include "volume/nanReport.h"

#include <atomic>
#include <iostream>

namespace KDX::TileTree3D {

namespace {
std::atomic<bool> reported{false};
} // namespace

bool isNanReported() {
    return reported.load(std::memory_order_relaxed);
}

void printNanReport(const std::string& report) {
    if (!reported.exchange(true, std::memory_order_relaxed))
        std::cout << report << std::flush;
}

void printDiagnostic(const std::string& line) {
    std::cout << line + "\n" << std::flush;
}

} // namespace KDX::TileTree3D
