// Whether the host fills halo channels when they are made or tile by tile when they are read.
#pragma once

#if __has_include("KDX/HaloFilling.h")
#include "KDX/HaloFilling.h"
#endif

namespace Stratum::Bench {

#if __has_include("KDX/HaloFilling.h")

/// While it lives, halo channels are filled when they are made.
class EagerHalos {
public:
    EagerHalos() { KDX::TileTree3D::HaloFilling::setEager(true); }
    ~EagerHalos() { KDX::TileTree3D::HaloFilling::setEager(before_); }
    EagerHalos(const EagerHalos&) = delete;
    EagerHalos& operator=(const EagerHalos&) = delete;

private:
    bool before_ = KDX::TileTree3D::HaloFilling::eager();
};

#else

/// This host always fills them when they are made.
struct EagerHalos {
    EagerHalos() {}
};

#endif

} // namespace Stratum::Bench
