// Writes a volume of one voxel at an index: farVolume FILE X Y Z.
#include <openvdb/openvdb.h>

#include <cstdlib>

int main(int, char** arguments) {
    openvdb::initialize();
    const auto grid = openvdb::FloatGrid::create();
    grid->setName("density");
    grid->getAccessor().setValue(
        openvdb::Coord(std::atoi(arguments[2]), std::atoi(arguments[3]), std::atoi(arguments[4])),
        1.0F);
    openvdb::io::File(arguments[1]).write({grid});
}
