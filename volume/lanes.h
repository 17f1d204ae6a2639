// Several numbers in one variable, which compilers keep in whatever registers the processor has.
#pragma once

#include "volume/alwaysInline.h"

#include <cstddef>
#include <utility>

namespace KDX::TileTree3D::detail {

template <class S, int N>
struct LanesOf {
    typedef S Type __attribute__((vector_size(N * sizeof(S))));
};
template <class S, int N>
using Lanes = typename LanesOf<S, N>::Type;

template <class V, class S>
STRATUM_ALWAYS_INLINE void load(V& lanes, const S* from) {
    __builtin_memcpy(&lanes, from, sizeof(V));
}
template <class V, class S>
STRATUM_ALWAYS_INLINE void store(const V& lanes, S* to) {
    __builtin_memcpy(to, &lanes, sizeof(V));
}

/// Sets lane i of `result` to lane Source::from(i) of `a` and `b` together. Not returned: how
/// vectors are returned depends on the instruction set.
template <class Source, class V, std::size_t... I>
STRATUM_ALWAYS_INLINE void shuffle(const V& a, const V& b, V& result, std::index_sequence<I...>) {
    result = __builtin_shufflevector(a, b, Source::from(static_cast<int>(I))...);
}

/// Patterns within groups of four lanes, of two vectors of N.
/// a0 b0 a1 b1, or a2 b2 a3 b3.
template <int N, int kFirst>
struct Interleaved {
    static constexpr int from(int i) {
        return i / 4 * 4 + kFirst + i % 4 / 2 + (i % 2 == 1 ? N : 0);
    }
};
/// a0 a1 b0 b1, or a2 a3 b2 b3.
template <int N, int kFirst>
struct Paired {
    static constexpr int from(int i) { return i / 4 * 4 + kFirst + i % 2 + (i % 4 < 2 ? 0 : N); }
};
/// The last `kCount` of a, then the first of b.
template <int N, int kCount>
struct Following {
    static constexpr int from(int i) {
        const int place = 4 - kCount + i % 4;
        return i / 4 * 4 + (place < 4 ? place : N + place - 4);
    }
};

/// Transposes: lane i of vector j becomes lane j of vector i, within groups of four lanes.
template <int N, class V>
STRATUM_ALWAYS_INLINE void transpose(V& v0, V& v1, V& v2, V& v3) {
    constexpr std::make_index_sequence<N> all;
    V low01, high01, low23, high23;
    shuffle<Interleaved<N, 0>>(v0, v1, low01, all);
    shuffle<Interleaved<N, 2>>(v0, v1, high01, all);
    shuffle<Interleaved<N, 0>>(v2, v3, low23, all);
    shuffle<Interleaved<N, 2>>(v2, v3, high23, all);
    shuffle<Paired<N, 0>>(low01, low23, v0, all);
    shuffle<Paired<N, 2>>(low01, low23, v1, all);
    shuffle<Paired<N, 0>>(high01, high23, v2, all);
    shuffle<Paired<N, 2>>(high01, high23, v3, all);
}

template <class Half, class V, std::size_t... I>
STRATUM_ALWAYS_INLINE void join(const Half& a, const Half& b, V& result,
                                std::index_sequence<I...>) {
    result = __builtin_shufflevector(a, b, static_cast<int>(I)...);
}

/// N lanes, of which the i-th group of four is loaded from first(i).
template <class S, int N, class First>
STRATUM_ALWAYS_INLINE void loadFours(Lanes<S, N>& lanes, const First& first) {
    if constexpr (N == 4) {
        load(lanes, first(0));
    } else {
        constexpr int kHalf = N / 2;
        Lanes<S, kHalf> lower, upper;
        loadFours<S, kHalf>(lower, first);
        loadFours<S, kHalf>(upper, [&](int i) STRATUM_INLINED { return first(i + kHalf / 4); });
        join(lower, upper, lanes, std::make_index_sequence<N>{});
    }
}

} // namespace KDX::TileTree3D::detail
