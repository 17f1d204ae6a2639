#include "volume/cubicBlockKernels.h"
#include "volume/blockKernels.h"

namespace KDX::TileTree3D {

template <class S, int W>
const CubicBlockKernels<S, W>& cubicBlockKernels() {
#ifdef STRATUM_WIDE_KERNELS
    switch (blockKernels<S>().width) {
    case 512:
        return cubicBlockKernelsOf<S, W, 512>();
    case 256:
        return cubicBlockKernelsOf<S, W, 256>();
    }
#endif
    return cubicBlockKernelsOf<S, W, 128>();
}

#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    template const CubicBlockKernels<float, W>& cubicBlockKernels();                               \
    template const CubicBlockKernels<double, W>& cubicBlockKernels();
#include "common/rows.def"

} // namespace KDX::TileTree3D
