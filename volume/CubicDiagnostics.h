// What cubic sampling prints: the report of a NaN, and its steps when debugging is on.
#pragma once

#include "volume/StencilTiles.h"
#include "volume/nanReport.h"

#include <cmath>
#include <sstream>
#include <string>

namespace KDX::TileTree3D {

/// The place that is sampled: a cell of a tile, and where in it.
template <class Traits, class PositionT>
struct CubicPlace {
    TreeIndex index;
    int3 tijk;               ///< the tile's origin
    int3 n;                  ///< the cell's lower voxel in the tile
    PositionT f;             ///< the fractions in the cell
    WideIndex llc;           ///< the cell's lower voxel, in index units
    bool dofIsValid = false; ///< whether the last flag word that was read had a bit of the mask
};

namespace detail {

template <class T>
bool hasNan(const T& value) {
    bool nan = false;
    for (const auto component : Vantor::Math::toComponents(value))
        nan |= std::isnan(component);
    return nan;
}

template <class V>
std::string vectorText(const V& v) {
    std::ostringstream text;
    text << "{" << v.x << ", " << v.y << ", " << v.z << "}";
    return text.str();
}

template <class T>
std::string valueText(const T& value) {
    std::ostringstream text;
    const char* separator = "";
    for (const auto component : Vantor::Math::toComponents(value)) {
        text << separator << component;
        separator = " ";
    }
    return text.str();
}

} // namespace detail

/// Reports a NaN, the first time in the process: the message, the place and the tiles around it.
template <class Traits, class T, class PositionT>
void reportNan(const std::string& message, const CubicPlace<Traits, PositionT>& place,
               const StencilTiles<Traits, T>& tiles) {
    if (isNanReported())
        return;
    using detail::vectorText;
    std::ostringstream out;
    const int depth = place.index.depth;
    out << "VoxelSamplerCubic.nanInfo '" << message << "'\nDEBUG BEGIN\n"
        << "in_depth = " << depth << "\nin_tijk = " << vectorText(place.tijk)
        << "\nllc = " << vectorText(place.llc) << "\nin_lijk = " << vectorText(place.n)
        << "\nin_frac = " << vectorText(place.f) << "\nvdw = " << Traits::voxelWidth(depth)
        << "\ntdw = " << Traits::kVoxelsPerAxis << "\ntvw = " << Traits::tileExtent(depth)
        << "\ndofIsValid = " << place.dofIsValid << "\norigin = "
        << (tiles.isFetched() ? vectorText(tiles.origin()) : vectorText(place.tijk)) << "\n";
    for (int i = 0; tiles.isFetched() && i < 8; ++i) {
        const auto& tile = tiles.tile(i);
        out << "Tile(" << i / 4 << "," << i / 2 % 2 << "," << i % 2 << ") = ";
        if (tile)
            out << vectorText(tile.tijk()) << ", depth = " << tile.depth() << "\n";
        else
            out << "nullptr\n";
    }
    out << "DEBUG END\n";
    printNanReport(out.str());
}

} // namespace KDX::TileTree3D
