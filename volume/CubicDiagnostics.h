// What cubic sampling prints: the report of a NaN, and its steps when debugging is on.
#pragma once

#include "volume/CubicPlace.h"
#include "volume/StencilTiles.h"
#include "volume/nanReport.h"

#include <cmath>
#include <sstream>
#include <string>

namespace KDX::TileTree3D {

/// Prints lines of diagnostics while it is on.
struct Trace {
    bool on = false;

    template <class... Args>
    void operator()(const Args&... args) const {
        if (!on)
            return;
        std::ostringstream line;
        (line << ... << args);
        printDiagnostic(line.str());
    }
};

namespace detail {

template <class T>
bool hasNan(const T& value) {
    bool nan = false;
    for (const auto component : Vantor::Math::toComponents(value))
        nan |= std::isnan(component);
    return nan;
}

// A vector as diagnostics print it, made into text only when it is printed.
template <class V>
struct VectorText {
    const V& v;
    friend std::ostream& operator<<(std::ostream& out, const VectorText& text) {
        return out << "{" << text.v.x << ", " << text.v.y << ", " << text.v.z << "}";
    }
};
template <class V>
VectorText<V> vectorText(const V& v) {
    return {v};
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
               const StencilTiles<Traits, T>& tiles, const Container<Traits>& container) {
    if (isNanReported())
        return;
    using detail::vectorText;
    std::ostringstream out;
    const int depth = place.index.depth;
    const WideIndex llc = place.llc();
    const WideIndex origin =
        tiles.isFetched() ? tiles.origin() : WideIndex{place.tijk.x, place.tijk.y, place.tijk.z};
    out << "VoxelSamplerCubic.nanInfo '" << message << "'\nDEBUG BEGIN\n"
        << "in_depth = " << depth << "\nin_tijk = " << vectorText(place.tijk)
        << "\nllc = " << vectorText(llc) << "\nin_lijk = " << vectorText(place.n)
        << "\nin_frac = " << vectorText(place.f) << "\nvdw = " << Traits::voxelWidth(depth)
        << "\ntdw = " << Traits::kVoxelsPerAxis << "\ntvw = " << Traits::tileExtent(depth)
        << "\ndofIsValid = " << place.dofIsValid << "\norigin = " << vectorText(origin) << "\n";
    for (int i = 0; tiles.isFetched() && i < 8; ++i) {
        const TreeIndex& tile = tiles.tile(i);
        out << "Tile(" << i / 4 << "," << i / 2 % 2 << "," << i % 2 << ") = ";
        if (tile.isValid())
            out << vectorText(container.tile(tile).tijk()) << ", depth = " << tile.depth << "\n";
        else
            out << "nullptr\n";
    }
    out << "DEBUG END\n";
    printNanReport(out.str());
}

} // namespace KDX::TileTree3D
