// The rows of common/rows.def for typed tests, and values made from one number each.
#pragma once

#include "KDX/Traits.h"
#include "common/Math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace StratumTest {

using namespace Vantor::Math;
using KDX::TileTree3D::Traits;

template <class TraitsT, class ValueT>
struct Row {
    using Traits = TraitsT;
    using Value = ValueT;
    using Position = std::conditional_t<std::is_same_v<ScalarOf<Value>, double>, double3, float3>;
};

template <class T>
auto rowsOfType() {
#define STRATUM_TREE_SHAPE(B, W) std::tuple<Row<Traits<B, W, 1>, T>>(),
    return std::tuple_cat(
#include "common/rows.def"
        std::tuple<>());
}

template <class Tuple>
struct AsTypes;
template <class... R>
struct AsTypes<std::tuple<R...>> {
    using Types = ::testing::Types<R...>;
};

/// The rows of a value type: one for each tree shape.
template <class T>
using RowsOfType = typename AsTypes<decltype(rowsOfType<T>())>::Types;
using AllShapes = ::testing::Types<Traits<2, 4, 1>, Traits<5, 5, 1>>;
static_assert(std::tuple_size_v<decltype(rowsOfType<float>())> == 2);

/// A value whose components all follow `s`, each in its own way.
template <class T>
T valueFrom(double s) {
    Components<T> components;
    for (std::size_t c = 0; c < components.size(); ++c)
        components[c] = static_cast<ScalarOf<T>>(s * (1 + 0.25 * static_cast<double>(c)) +
                                                 static_cast<double>(c));
    return fromComponents<T>(components);
}

/// The largest difference of two values' components; infinite when one is NaN.
template <class T>
double distance(const T& a, const T& b) {
    const auto x = toComponents(a), y = toComponents(b);
    double largest = 0;
    for (std::size_t c = 0; c < x.size(); ++c) {
        const double d = std::abs(static_cast<double>(x[c]) - static_cast<double>(y[c]));
        largest = std::max(largest, std::isnan(d) ? INFINITY : d);
    }
    return largest;
}

} // namespace StratumTest
