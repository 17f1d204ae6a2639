// Interpolation between four values along one axis.
#pragma once

#include "volume/alwaysInline.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace KDX::TileTree3D {

/// How four values y0 .. y3 along an axis are interpolated between y1 and y2.
///
/// kQuadraticC0Averaged and kCubicC0 are continuous; kCubicC1 also has a continuous derivative.
/// kCubicC1Monotonic clamps the tangents of kCubicC1 to the sign of y2 - y1 and does not bound
/// their size, so it is *not* monotone: y = (-10, 0, 1, 1) has the tangents 5.5 and 0.5 and passes
/// 1.125 half-way. Clamp to the cell's range to keep values within.
enum class InterpolationMode : std::uint32_t {
    kQuadraticC0Averaged = 0, ///< the mean of the parabolas through y0 .. y2 and y1 .. y3
    kCubicC0 = 1,             ///< the cubic through all four values (Lagrange)
    kCubicC1 = 2,             ///< cubic Hermite with central differences as tangents (Catmull-Rom)
    kCubicC1Monotonic = 3,    ///< the same with the tangents' signs clamped
};

/// "kQuadraticC0Averaged", "kCubicC0", "kCubicC1", "kCubicC1Monotonic"; "kError" for any other.
constexpr const char* modeName(InterpolationMode mode) {
    constexpr const char* kNames[] = {"kQuadraticC0Averaged", "kCubicC0", "kCubicC1",
                                      "kCubicC1Monotonic"};
    const auto index = static_cast<std::uint32_t>(mode);
    return index < 4 ? kNames[index] : "kError";
}

constexpr bool isMode(InterpolationMode mode) {
    return static_cast<std::uint32_t>(mode) < 4;
}

namespace detail {

/// The type of one number of S, which is a floating-point type or a vector of it.
template <class S>
struct ElementOf {
    using Type = std::remove_cvref_t<decltype(S{}[0])>;
};
template <>
struct ElementOf<float> {
    using Type = float;
};
template <>
struct ElementOf<double> {
    using Type = double;
};

// As std::min() and std::max(), for vectors too.
template <class S>
STRATUM_ALWAYS_INLINE S smaller(const S& a, const S& b) {
    return b < a ? b : a;
}
template <class S>
STRATUM_ALWAYS_INLINE S larger(const S& a, const S& b) {
    return a < b ? b : a;
}

/// The nearest fraction in [0, 1), 0 for NaN.
template <class S>
STRATUM_ALWAYS_INLINE S toFraction(const S& f) {
    constexpr S kLargest = 1 - std::numeric_limits<S>::epsilon() / 2;
    return smaller(kLargest, larger(S{0}, f));
}

/// A tangent without the part that runs against the rise d.
template <class S>
STRATUM_ALWAYS_INLINE S clampTangent(const S& m, const S& d) {
    constexpr S zero{};
    return d > zero ? larger(m, zero) : d < zero ? smaller(m, zero) : zero;
}

/// The Hermite cubic y1 + m1 t + (3 d - 2 m1 - m2) t^2 + (m1 + m2 - 2 d) t^3 from y1 at t = 0,
/// which rises by d until t = 1, with the tangents m1 and m2 there.
template <class S, class Y>
STRATUM_ALWAYS_INLINE Y hermite(const Y& y1, const Y& d, const Y& m1, const Y& m2, const S& t) {
    const Y left = d - m1;
    const Y cubic = (m2 - d) - left;
    return y1 + t * (m1 + t * ((left - cubic) + t * cubic));
}

} // namespace detail

/// A kernel on even spacing, at one place t in [0, 1) between y1 and y2: made once for an axis and
/// applied to every row. Its coefficients are all that depends on t. `S` is a floating-point type,
/// or a vector of it for several places at a time; values are the same, or for one place vectors.
template <class S, InterpolationMode mode>
struct UniformKernel;

template <class S>
struct UniformKernel<S, InterpolationMode::kQuadraticC0Averaged> {
    using E = typename detail::ElementOf<S>::Type;
    static constexpr std::size_t kCoefficients = 3;

    S coefficients[kCoefficients];

    STRATUM_ALWAYS_INLINE static UniformKernel at(const S& t) {
        return {
            {(t * t - t) / E(4), E(1) - E(0.75) * t - E(0.25) * t * t, (E(5) * t - t * t) / E(4)}};
    }
    template <class Y>
    STRATUM_ALWAYS_INLINE Y operator()(const Y& y0, const Y& y1, const Y& y2, const Y& y3) const {
        const auto& [w03, w1, w2] = coefficients;
        return w03 * y0 + w1 * y1 + w2 * y2 + w03 * y3;
    }
};

template <class S>
struct UniformKernel<S, InterpolationMode::kCubicC0> {
    using E = typename detail::ElementOf<S>::Type;
    static constexpr std::size_t kCoefficients = 4;

    S coefficients[kCoefficients];

    STRATUM_ALWAYS_INLINE static UniformKernel at(const S& t) {
        const S t2 = t * t, t3 = t2 * t;
        return {{t2 / E(2) - t / E(3) - t3 / E(6), (t3 - t) / E(2) + E(1) - t2,
                 (t2 - t3) / E(2) + t, (t3 - t) / E(6)}};
    }
    template <class Y>
    STRATUM_ALWAYS_INLINE Y operator()(const Y& y0, const Y& y1, const Y& y2, const Y& y3) const {
        const auto& [w0, w1, w2, w3] = coefficients;
        return w0 * y0 + w1 * y1 + w2 * y2 + w3 * y3;
    }
};

template <class S>
struct UniformKernel<S, InterpolationMode::kCubicC1> {
    using E = typename detail::ElementOf<S>::Type;
    static constexpr std::size_t kCoefficients = 1;

    S coefficients[kCoefficients]; // t itself

    STRATUM_ALWAYS_INLINE static UniformKernel at(const S& t) { return {{t}}; }
    template <class Y>
    STRATUM_ALWAYS_INLINE Y operator()(const Y& y0, const Y& y1, const Y& y2, const Y& y3) const {
        return detail::hermite<S, Y>(y1, y2 - y1, (y2 - y0) * E(0.5), (y3 - y1) * E(0.5),
                                     coefficients[0]);
    }
};

template <class S>
struct UniformKernel<S, InterpolationMode::kCubicC1Monotonic> {
    using E = typename detail::ElementOf<S>::Type;
    static constexpr std::size_t kCoefficients = 1;

    S coefficients[kCoefficients]; // t itself

    STRATUM_ALWAYS_INLINE static UniformKernel at(const S& t) { return {{t}}; }
    template <class Y>
    STRATUM_ALWAYS_INLINE Y operator()(const Y& y0, const Y& y1, const Y& y2, const Y& y3) const {
        constexpr Y zero{};
        const Y rise = y2 - y1;
        const Y m1 = detail::clampTangent<Y>((y2 - y0) * E(0.5), rise);
        const Y m2 = detail::clampTangent<Y>((y3 - y1) * E(0.5), rise);
        return detail::hermite<S, Y>(y1, ((rise > zero) | (rise < zero)) ? rise : zero, m1, m2,
                                     coefficients[0]);
    }
};

/// A kernel on the positions p[0] < p[1] < p[2] < p[3], at x between p[1] and p[2].
template <class S>
class NonUniformKernel {
public:
    NonUniformKernel(InterpolationMode mode, const S* p, S x) : mode_(mode), p_(p), x_(x) {}

    /// 0 for what is no mode.
    S operator()(const S* y) const {
        switch (mode_) {
        case InterpolationMode::kQuadraticC0Averaged:
            return S(0.5) * (newton(0, y) + newton(1, y));
        case InterpolationMode::kCubicC0:
            return lagrange(y);
        case InterpolationMode::kCubicC1:
        case InterpolationMode::kCubicC1Monotonic:
            return hermite(y);
        }
        return 0;
    }

private:
    S h(int i) const { return p_[i + 1] - p_[i]; }
    S slope(int i, const S* y) const { return (y[i + 1] - y[i]) / h(i); }

    // The parabola through points i .. i + 2.
    S newton(int i, const S* y) const {
        const S first = slope(i, y), second = slope(i + 1, y);
        return y[i] + first * (x_ - p_[i]) +
               (second - first) / (p_[i + 2] - p_[i]) * (x_ - p_[i]) * (x_ - p_[i + 1]);
    }

    S lagrange(const S* y) const {
        S value = 0;
        for (int i = 0; i < 4; ++i) {
            S weight = 1;
            for (int j = 0; j < 4; ++j)
                if (j != i)
                    weight *= (x_ - p_[j]) / (p_[i] - p_[j]);
            value += weight * y[i];
        }
        return value;
    }

    S hermite(const S* y) const {
        const S s01 = slope(0, y), s12 = slope(1, y), s23 = slope(2, y);
        S m1 = (h(1) * s01 + h(0) * s12) / (h(0) + h(1));
        S m2 = (h(2) * s12 + h(1) * s23) / (h(1) + h(2));
        if (mode_ == InterpolationMode::kCubicC1Monotonic) {
            m1 = detail::clampTangent(m1, y[2] - y[1]);
            m2 = detail::clampTangent(m2, y[2] - y[1]);
        }
        const S s = (x_ - p_[1]) / h(1), s2 = s * s, s3 = s2 * s;
        return (2 * s3 - 3 * s2 + 1) * y[1] + (s3 - 2 * s2 + s) * h(1) * m1 +
               (3 * s2 - 2 * s3) * y[2] + (s3 - s2) * h(1) * m2;
    }

    InterpolationMode mode_;
    const S* p_;
    S x_;
};

/// Calls `use` with the uniform kernel of a mode as its template argument; false, and no call, for
/// what is no mode.
template <class S, class Use>
bool withUniformKernel(InterpolationMode mode, const Use& use) {
    using enum InterpolationMode;
    switch (mode) {
    case kQuadraticC0Averaged:
        use.template operator()<UniformKernel<S, kQuadraticC0Averaged>>();
        return true;
    case kCubicC0:
        use.template operator()<UniformKernel<S, kCubicC0>>();
        return true;
    case kCubicC1:
        use.template operator()<UniformKernel<S, kCubicC1>>();
        return true;
    case kCubicC1Monotonic:
        use.template operator()<UniformKernel<S, kCubicC1Monotonic>>();
        return true;
    }
    return false;
}

} // namespace KDX::TileTree3D
