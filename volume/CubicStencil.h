// The 4 x 4 x 4 values around a cell, and the tensor product of a kernel over them.
#pragma once

#include "common/Math.h"
#include "volume/cubicKernels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace KDX::TileTree3D {

/// Values at the offsets -1, 0, 1, 2 of a cell on every axis, z fastest: interpolating along x,
/// then y, then z then reads and writes rows of 16, 4 and 1 values that lie side by side, which is
/// what compilers turn into vector instructions.
template <class T>
class CubicStencil {
    using S = Vantor::Math::ScalarOf<T>;
    static constexpr std::size_t kComponents = Vantor::Math::kComponentCount<T>;

public:
    /// Sets the value x, y and z places (0 to 3) along the axes.
    void set(int x, int y, int z, const T& value) {
        std::memcpy(&values_[place(x, y, z)], &value, sizeof(T));
    }

    /// Scalars as they lie: (x, y, z) at 16 x + 4 y + z. All others follow component by component.
    S* values() { return values_.data(); }

    /// Finds the range of the eight corners once all values are in.
    void finish() {
        std::copy_n(&values_[place(1, 1, 1)], kComponents, low_.data());
        high_ = low_;
        for (int c = 1; c < 8; ++c) {
            const S* value = &values_[place(1 + (c & 1), 1 + (c >> 1 & 1), 1 + (c >> 2))];
            for (std::size_t i = 0; i < kComponents; ++i) {
                low_[i] = std::min(low_[i], value[i]);
                high_[i] = std::max(high_[i], value[i]);
            }
        }
    }

    /// The interpolation at fractions f of the cell, 0 for what is no mode. Clamped, no component
    /// leaves the range of the cell's corners; a NaN stays NaN.
    template <class PositionT>
    T interpolate(InterpolationMode mode, const PositionT& f, bool clamp) const {
        std::array<S, kComponents> result{};
        withUniformKernel<S>(mode, [&]<class Kernel>() {
            alignas(16) std::array<S, 16 * kComponents> planes;
            alignas(16) std::array<S, 4 * kComponents> rows;
            const auto alongX = Kernel::at(f.x), alongY = Kernel::at(f.y), alongZ = Kernel::at(f.z);
            reduce(alongX, values_.data(), planes);
            reduce(alongY, planes.data(), rows);
            reduce(alongZ, rows.data(), result);
        });
        if (clamp)
            for (std::size_t i = 0; i < kComponents; ++i)
                result[i] = std::max(std::min(result[i], high_[i]), low_[i]);
        return Vantor::Math::fromComponents<T>(result);
    }

private:
    static std::size_t place(int x, int y, int z) {
        return static_cast<std::size_t>(16 * x + 4 * y + z) * kComponents;
    }

    template <class Kernel, std::size_t N>
    static void reduce(const Kernel& kernel, const S* __restrict in, std::array<S, N>& out) {
        for (std::size_t i = 0; i < N; ++i)
            out[i] = kernel(in[i], in[N + i], in[2 * N + i], in[3 * N + i]);
    }

    alignas(16) std::array<S, 64 * kComponents> values_;
    std::array<S, kComponents> low_, high_;
};

} // namespace KDX::TileTree3D
