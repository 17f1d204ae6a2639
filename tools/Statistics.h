// What the stored values of a channel amount to.
#pragma once

#include "channels.h"

#include <cmath>
#include <limits>

namespace Stratum::tools {

/// Ranges by component, and how many of all stored numbers are NaN.
template <class T>
struct Statistics {
    Vantor::Math::Components<T> lowest{}, highest{};
    std::size_t nanCount = 0, values = 0;

    Statistics() {
        using Scalar = Vantor::Math::ScalarOf<T>;
        lowest.fill(std::numeric_limits<Scalar>::infinity());
        highest.fill(-std::numeric_limits<Scalar>::infinity());
    }
    template <class Shape>
    static Statistics of(const PlainChannel<Shape, T>& channel) {
        Statistics statistics;
        forEachDataTile<Shape, T>(channel, [&](const auto&, const auto& view) {
            for (int v = 0; v < Shape::kVoxelCount; ++v)
                statistics.add(view(v));
        });
        return statistics;
    }

private:
    void add(const T& value) {
        ++values;
        const auto components = Vantor::Math::toComponents(value);
        for (std::size_t c = 0; c < components.size(); ++c) {
            nanCount += std::isnan(components[c]);
            lowest[c] = std::min(lowest[c], components[c]);
            highest[c] = std::max(highest[c], components[c]);
        }
    }
};

} // namespace Stratum::tools
