// Positions and the values sampled there, whatever their type.
#pragma once

#include "io/ColumnTable.h"
#include "io/csvValues.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Stratum::io {

/// A view of positions and values; the arrays must outlive it.
class SampleTable {
public:
    template <class T>
    SampleTable(const std::string& name, const Ostrum::Array<Vantor::Math::float3>& positions,
                const Ostrum::Array<T>& samples)
        : shape{samples.size()} {
        constexpr std::size_t kCount = Vantor::Math::kComponentCount<T>;
        constexpr auto kMatrixColumns = static_cast<std::size_t>(matrixColumns<T>());
        const auto names = columnNames(name, kCount, matrixColumns<T>());
        all.addComponents({"x", "y", "z"}, positions);
        all.addComponents(names, samples);
        values.addComponents(names, samples);
        if constexpr (kMatrixColumns > 0)
            shape.insert(shape.end(), {kCount / kMatrixColumns, kMatrixColumns});
        else if constexpr (kCount > 1)
            shape.push_back(kCount);
    }

    ColumnTable all;    ///< x, y, z and the components of the values
    ColumnTable values; ///< the components alone
    std::vector<std::uint64_t>
        shape; ///< of the values: (N,), (N, components) or (N, rows, columns)
};

} // namespace Stratum::io
