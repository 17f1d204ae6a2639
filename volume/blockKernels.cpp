#include "volume/blockKernels.h"

#include <cstdlib>
#include <initializer_list>

namespace KDX::TileTree3D {

#define STRATUM_KERNELS(WIDTH)                                                                     \
    extern const BlockKernels<float> kFloatKernels##WIDTH;                                         \
    extern const BlockKernels<double> kDoubleKernels##WIDTH;
STRATUM_KERNELS(128)
#ifdef STRATUM_WIDE_KERNELS
STRATUM_KERNELS(256)
STRATUM_KERNELS(512)
#endif
#undef STRATUM_KERNELS

namespace {

[[maybe_unused]] int widthAllowed() {
    const char* const wish = std::getenv("STRATUM_KERNEL_WIDTH");
    const long bits = wish ? std::strtol(wish, nullptr, 10) : 0;
    return bits > 0 && bits < 512 ? static_cast<int>(bits) : 512;
}

template <class S>
const BlockKernels<S>& widest([[maybe_unused]] const BlockKernels<S>& k512,
                              [[maybe_unused]] const BlockKernels<S>& k256,
                              const BlockKernels<S>& k128) {
#ifdef STRATUM_WIDE_KERNELS
    const int allowed = widthAllowed();
    if (allowed >= 512 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl"))
        return k512;
    if (allowed >= 256 && __builtin_cpu_supports("avx2"))
        return k256;
#endif
    return k128;
}

} // namespace

#ifdef STRATUM_WIDE_KERNELS
#define STRATUM_ALL_WIDTHS(KERNELS) KERNELS##512, KERNELS##256, KERNELS##128
#else
#define STRATUM_ALL_WIDTHS(KERNELS) KERNELS##128, KERNELS##128, KERNELS##128
#endif

template <>
const BlockKernels<float>& blockKernels<float>() {
    static const auto& kernels = widest(STRATUM_ALL_WIDTHS(kFloatKernels));
    return kernels;
}

template <>
const BlockKernels<double>& blockKernels<double>() {
    static const auto& kernels = widest(STRATUM_ALL_WIDTHS(kDoubleKernels));
    return kernels;
}

} // namespace KDX::TileTree3D
