// Whether the host fills halo channels when they are made or tile by tile when they are read.
#pragma once

#include "KDX/HaloFilling.h"

namespace Stratum::Bench {

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

} // namespace Stratum::Bench
