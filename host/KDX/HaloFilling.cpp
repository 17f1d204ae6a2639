#include "KDX/HaloFilling.h"

#include <atomic>

namespace KDX::TileTree3D {

namespace {
std::atomic<bool> isEager{false};
}

bool HaloFilling::eager() {
    return isEager;
}

void HaloFilling::setEager(bool eager) {
    isEager = eager;
}

} // namespace KDX::TileTree3D
