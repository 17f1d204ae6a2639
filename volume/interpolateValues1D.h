// Interpolating four values on any spacing.
#pragma once

#include "common/Math.h"
#include "volume/cubicKernels.h"

#include <array>
#include <cstddef>

namespace KDX::TileTree3D {

/// Interpolates four values at four positions along one axis, at x between the middle two: with
/// the mode's even kernel, or at a resolution jump with the uneven one. Positions must ascend.
template <class T>
T interpolateValues1D(InterpolationMode mode, const std::array<T, 4>& values,
                      const std::array<Vantor::Math::ScalarOf<T>, 4>& positions,
                      Vantor::Math::ScalarOf<T> x, bool atResolutionJump) {
    using S = Vantor::Math::ScalarOf<T>;
    std::array<Vantor::Math::Components<T>, 4> y;
    for (std::size_t i = 0; i < 4; ++i)
        y[i] = Vantor::Math::toComponents(values[i]);
    Vantor::Math::Components<T> result{};
    if (atResolutionJump) {
        const NonUniformKernel<S> kernel(mode, positions.data(), x);
        for (std::size_t c = 0; c < result.size(); ++c) {
            const std::array<S, 4> component{y[0][c], y[1][c], y[2][c], y[3][c]};
            result[c] = kernel(component.data());
        }
    } else {
        withUniformKernel<S>(mode, [&]<class Kernel>() {
            const auto kernel = Kernel::at((x - positions[1]) / (positions[2] - positions[1]));
            for (std::size_t c = 0; c < result.size(); ++c)
                result[c] = kernel(y[0][c], y[1][c], y[2][c], y[3][c]);
        });
    }
    return Vantor::Math::fromComponents<T>(result);
}

} // namespace KDX::TileTree3D
