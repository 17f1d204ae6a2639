// Positions and the values sampled there, whatever their type.
#pragma once

#include "Ostrum/Array.h"
#include "common/Math.h"
#include "io/csvValues.h"

#include <cstddef>
#include <string>
#include <utility>

namespace Stratum::io {

/// A view of sampled values, component by component; the arrays must outlive it.
class SampleTable {
public:
    using Positions = Ostrum::Array<Vantor::Math::float3>;

    template <class T>
    SampleTable(std::string valueName, const Positions& where, const Ostrum::Array<T>& values)
        : name(std::move(valueName)), positions(where),
          componentCount(Vantor::Math::kComponentCount<T>), matrixColumnCount(matrixColumns<T>()),
          isDouble(std::is_same_v<Vantor::Math::ScalarOf<T>, double>), values_(values.data()) {}

    std::size_t size() const { return positions.size(); }

    /// Calls `f(component)` with all components of a row's value, as `float` or `double`.
    template <class F>
    void forEachComponent(std::size_t row, const F& f) const {
        for (std::size_t c = 0; c < componentCount; ++c)
            if (isDouble)
                f(static_cast<const double*>(values_)[row * componentCount + c]);
            else
                f(static_cast<const float*>(values_)[row * componentCount + c]);
    }

    const std::string name;
    const Positions& positions;
    const std::size_t componentCount;
    const int matrixColumnCount; ///< 0 for what is no matrix
    const bool isDouble;

private:
    const void* values_;
};

} // namespace Stratum::io
