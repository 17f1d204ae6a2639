// Interpolation between four values along one axis.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

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

namespace detail {

/// A tangent without the part that runs against the rise d.
template <class S>
S clampTangent(S m, S d) {
    return d > 0 ? std::max(m, S{0}) : d < 0 ? std::min(m, S{0}) : S{0};
}

} // namespace detail

/// A kernel on even spacing, at one place t in [0, 1) between y1 and y2: made once for an axis and
/// applied to every row.
template <class S, InterpolationMode mode>
class UniformKernel;

template <class S>
class UniformKernel<S, InterpolationMode::kQuadraticC0Averaged> {
public:
    explicit UniformKernel(S t)
        : w03_((t * t - t) / 4), w1_(1 - S(0.75) * t - S(0.25) * t * t), w2_((5 * t - t * t) / 4) {}
    S operator()(S y0, S y1, S y2, S y3) const {
        return w03_ * y0 + w1_ * y1 + w2_ * y2 + w03_ * y3;
    }

private:
    S w03_, w1_, w2_;
};

template <class S>
class UniformKernel<S, InterpolationMode::kCubicC0> {
public:
    explicit UniformKernel(S t) {
        const S t2 = t * t, t3 = t2 * t;
        w0_ = t2 / 2 - t / 3 - t3 / 6;
        w1_ = (t3 - t) / 2 + 1 - t2;
        w2_ = (t2 - t3) / 2 + t;
        w3_ = (t3 - t) / 6;
    }
    S operator()(S y0, S y1, S y2, S y3) const { return w0_ * y0 + w1_ * y1 + w2_ * y2 + w3_ * y3; }

private:
    S w0_, w1_, w2_, w3_;
};

namespace detail {

/// The Hermite cubic y1 + m1 t + (3 d - 2 m1 - m2) t^2 + (m1 + m2 - 2 d) t^3 from y1 at t = 0,
/// which rises by d until t = 1, with the tangents m1 and m2 there.
template <class S>
S hermite(S y1, S d, S m1, S m2, S t) {
    const S left = d - m1;
    const S cubic = (m2 - d) - left;
    return y1 + t * (m1 + t * ((left - cubic) + t * cubic));
}

} // namespace detail

template <class S>
class UniformKernel<S, InterpolationMode::kCubicC1> {
public:
    explicit UniformKernel(S t) : t_(t) {}
    S operator()(S y0, S y1, S y2, S y3) const {
        return detail::hermite(y1, y2 - y1, (y2 - y0) * S(0.5), (y3 - y1) * S(0.5), t_);
    }

private:
    S t_;
};

template <class S>
class UniformKernel<S, InterpolationMode::kCubicC1Monotonic> {
public:
    explicit UniformKernel(S t) : t_(t) {}
    S operator()(S y0, S y1, S y2, S y3) const {
        const S rise = y2 - y1;
        const S m1 = detail::clampTangent((y2 - y0) * S(0.5), rise);
        const S m2 = detail::clampTangent((y3 - y1) * S(0.5), rise);
        return detail::hermite(y1, rise > 0 || rise < 0 ? rise : S{0}, m1, m2, t_);
    }

private:
    S t_;
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
