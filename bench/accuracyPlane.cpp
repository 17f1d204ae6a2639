// Errors in a plane through a tree, for a picture.
#include "accuracySections.h"
#include "accuracyTrees.h"

#include <iostream>

namespace Stratum::Accuracy {

namespace {

using Shape = Traits<2, 4, 1>;
using Cube = RefinedCube<Shape>;
constexpr double kHeight = 7.3, kReach = 40;
constexpr int kPixels = 400;

// The tiles with data that the plane z = kHeight cuts.
void printTiles(const TileTree<Shape>& tree) {
    for (int depth = Cube::coarsestDepth; depth <= Shape::kFinestDepth; ++depth)
        for (const auto& tile : tree.tiles(depth)) {
            const int extent = Shape::tileExtent(depth);
            if (tile.holdsVoxels() && tile.tijk().z <= kHeight && kHeight < tile.tijk().z + extent)
                std::cout << "tile," << tile.tijk().x << ',' << tile.tijk().y << ',' << extent
                          << '\n';
        }
}

} // namespace

bool plane(Format) {
    const Field field = smoothField({0, 0, 0}, Cube::coarse, 16);
    const Volume<Shape> volume(Cube::sphere(VoxelOffsetType::kCellCentre), field);
    printTiles(*volume.container.tree());
    const std::vector<Method> methods = levelChangeMethods(volume);
    std::cout << "pixel,x,y";
    for (const Method& method : methods)
        std::cout << ',' << method.name;
    std::cout << '\n';
    for (int j = 0; j < kPixels; ++j)
        for (int i = 0; i < kPixels; ++i) {
            const auto at = [](int pixel) { return 2 * kReach * (pixel + 0.5) / kPixels; };
            const double3 p{at(i), at(j) - kReach, kHeight};
            std::cout << "pixel," << p.x << ',' << p.y;
            for (const Method& method : methods)
                std::cout << ',' << method.sample(p) - field.value(p);
            std::cout << '\n';
        }
    return true;
}

} // namespace Stratum::Accuracy
