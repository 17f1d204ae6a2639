// Writes a volume of a cube of voxels: cubeVolume FILE X Y Z EDGE NAME... The cube's lowest voxel
// has the index (X, Y, Z). A grid named "distance" is a level set that holds -1, others grow from
// 0.
#include <openvdb/openvdb.h>

#include <cstdlib>
#include <string>

namespace {

openvdb::FloatGrid::Ptr cube(const openvdb::Coord& first, int edge, const std::string& name) {
    const bool isDistance = name == "distance";
    const auto grid = openvdb::FloatGrid::create(isDistance ? 3.0F : 0.0F);
    grid->setName(name);
    grid->setGridClass(isDistance ? openvdb::GRID_LEVEL_SET : openvdb::GRID_FOG_VOLUME);
    const openvdb::CoordBBox box(first, first.offsetBy(edge - 1));
    float next = 0;
    for (auto at = box.begin(); at; ++at)
        grid->tree().setValue(*at, isDistance ? -1.0F : ++next / static_cast<float>(box.volume()));
    return grid;
}

} // namespace

int main(int count, char** arguments) {
    openvdb::initialize();
    const auto number = [&](int i) { return std::atoi(arguments[i]); };
    openvdb::GridPtrVec grids;
    for (int i = 6; i < count; ++i)
        grids.push_back(cube({number(2), number(3), number(4)}, number(5), arguments[i]));
    openvdb::io::File(arguments[1]).write(grids);
}
