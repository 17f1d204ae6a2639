// Options, geometries and comparisons that the tests of scattering share.
#pragma once

#include "support/locations.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

namespace StratumTest {

inline constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

inline GenerateLocationOptions byCount(double amount, std::int64_t seed = 7) {
    GenerateLocationOptions options;
    options.amount = amount;
    options.amount_type = AmountType::Count;
    options.seed = seed;
    return options;
}
inline GenerateLocationOptions byDensity(double amount, std::int64_t seed = 7) {
    GenerateLocationOptions options = byCount(amount, seed);
    options.amount_type = AmountType::Density;
    return options;
}
inline GenerateLocationOptions masked(GenerateLocationOptions options,
                                      MaskControl control = MaskControl::Resample,
                                      bool invert = false) {
    options.use_mask = true;
    options.mask_property = "mask";
    options.mask_control = control;
    options.invert_mask = invert;
    return options;
}
inline GenerateLocationOptions capped(GenerateLocationOptions options, std::int64_t most) {
    options.use_max_number = true;
    options.max_number = most;
    return options;
}
inline GenerateLocationOptions onPoints(GenerateLocationOptions options) {
    options.sample_type = SampleType::Points;
    return options;
}

template <class T>
Vantor::Object withMask(Vantor::Object object, const Ostrum::String& target,
                        const std::vector<T>& values) {
    const auto mask = makePtr<Array<T>>();
    for (const T value : values)
        mask->push_back(value);
    object.setProperty("mask", target, mask);
    return object;
}

// A quad and a triangle; two strands.
inline const SlowMesh kSmallMesh{{{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {0, 1, 0}, {5, 0, 0}, {5, 3, 1}},
                                 {{0, 1, 2, 3}, {1, 4, 5}}};
inline const SlowStrands kSmallStrands{{{0, 0, 0}, {1, 0, 0}, {1, 2, 0}, {9, 9, 9}, {9, 9, 9.5F}},
                                       {0, 3, 5}};
// One triangle, one strand of one segment, one point: whatever is drawn, it is they.
inline const SlowMesh kTriangle{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}};
inline const SlowStrands kSegment{{{0, 0, 0}, {1, 0, 0}}, {0, 2}};

inline SlowMesh randomMesh(std::uint64_t seed, std::size_t faces) {
    SlowMesh mesh;
    auto draw = [seed, i = std::uint64_t{0}]() mutable { return randomUnit<float>(++i, seed); };
    for (std::size_t p = 0; p < faces + 5; ++p)
        mesh.points.push_back({draw(), draw() * 3, draw()});
    for (std::size_t f = 0; f < faces; ++f) {
        const auto corners = static_cast<std::size_t>(draw() * 6); // also too few
        mesh.faces.emplace_back();
        for (std::size_t c = 0; c < corners; ++c)
            mesh.faces.back().push_back(std::uint32_t(draw() * 0.999F * float(faces + 5)));
    }
    return mesh;
}

inline SlowStrands randomStrands(std::uint64_t seed, std::size_t strands) {
    SlowStrands result{{}, {0}};
    auto draw = [seed, i = std::uint64_t{0}]() mutable { return randomUnit<float>(++i, seed); };
    for (std::size_t s = 0; s < strands; ++s) {
        for (auto points = static_cast<int>(draw() * 8); points > 0; --points)
            result.points.push_back({draw(), draw(), draw()});
        result.offsets.push_back(std::uint32_t(result.points.size()));
    }
    return result;
}

inline void expectSame(const Locations& ours, const std::vector<GeoLocation>& slow,
                       const char* what, std::int64_t seed) {
    ASSERT_EQ(ours.size(), slow.size()) << what << ", seed " << seed;
    for (std::size_t i = 0; i < slow.size(); ++i)
        ASSERT_EQ(ours[i], slow[i]) << what << ", seed " << seed << ", sample " << i;
}

/// Chi-square against expected shares, at a chance of one in ten thousand (the Wilson-Hilferty
/// approximation); every bin should expect ten or more.
inline void expectShares(const std::vector<double>& counts, const std::vector<double>& shares) {
    const double total = std::accumulate(counts.begin(), counts.end(), 0.0),
                 all = std::accumulate(shares.begin(), shares.end(), 0.0);
    double chi = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double expected = total * shares[i] / all;
        ASSERT_GE(expected, 10);
        chi += (counts[i] - expected) * (counts[i] - expected) / expected;
    }
    const double k = double(counts.size()) - 1, a = 2 / (9 * k);
    EXPECT_LT(chi, k * std::pow(1 - a + 3.719 * std::sqrt(a), 3)) << counts.size() << " bins";
}

} // namespace StratumTest
