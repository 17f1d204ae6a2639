#include "peerGrids.h"

#include <map>

namespace Stratum::Bench {

const openvdb::FloatGrid& openGrid(const Scene& scene) {
    static std::map<Scene, openvdb::FloatGrid::Ptr> grids;
    openvdb::FloatGrid::Ptr& grid = grids[scene];
    if (!grid) {
        grid = openvdb::FloatGrid::create(0.0F);
        auto accessor = grid->getAccessor();
        for (int x = 0; x < scene.size; ++x)
            for (int y = 0; y < scene.size; ++y)
                for (int z = 0; z < scene.size; ++z)
                    if (scene.content == Content::kDense || isInBand(scene, x, y, z))
                        accessor.setValue({x, y, z}, fieldValue(x, y, z));
    }
    return *grid;
}

} // namespace Stratum::Bench
