// When halo channels are filled.
#pragma once

#include "Ostrum/Export.h"

namespace KDX::TileTree3D {

/// computeHalo() either fills every tile at once or leaves each to the first reader that asks for
/// it, so that a call pays for the tiles that it reads. Readers see the same bits either way.
class OSTRUM_API HaloFilling {
public:
    /// Whether every tile is filled at once. Off at the start.
    static bool eager();
    static void setEager(bool eager);
};

} // namespace KDX::TileTree3D
