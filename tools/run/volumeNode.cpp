// The node volume: trees with channels, or what a file holds.
#include "KDX/TreeBuilder.h"
#include "Vantor/Volume.h"
#include "commonOptions.h"
#include "run/addChannel.h"
#include "run/nodeTypes.h"
#include "run/tiles.h"

#include <cmath>

namespace Stratum::tools::graph {

namespace {

using namespace KDX::TileTree3D;

// What a graph may ask for, well below what a tree can hold.
constexpr double kMostTiles = 1 << 22;

template <class Traits>
Ostrum::Ptr<const TileTree<Traits>> readTree(const Json& json, float voxelSize,
                                             VoxelOffsetType offsetType) {
    TreeBuilder<Traits> builder;
    double count = 0;
    for (const Json& tiles : json.at("tiles").list()) {
        tiles.allowOnly({"depth", "at", "box", "holds_voxels"});
        const TileSelection selection = readTiles<Traits>(tiles);
        count += selection.count<Traits>();
        if (count > kMostTiles)
            tiles.fail("too many tiles; a graph's tree may have up to 4194304");
        const Json* holds = tiles.find("holds_voxels");
        io::throwIfInterrupted();
        builder.addBox(selection.depth, selection.box, !holds || holds->boolean());
    }
    return builder.build(voxelSize, offsetType);
}

float readVoxelSize(const Json* json) {
    const float size = json ? readScalar<float>(*json) : 1.0F;
    if (!std::isfinite(size) || size < 0)
        json->fail("a finite number of at least 0 is wanted");
    return size;
}

template <class Traits>
void addTree(const Json& json, const Inputs& inputs, Vantor::Object& object) {
    const Json* type = json.find("offset_type");
    const auto offsetType = static_cast<VoxelOffsetType>(type ? type->integer(0, 7) : 0);
    const auto tree = readTree<Traits>(json, readVoxelSize(json.find("voxel_size")), offsetType);
    object.addComponent(Vantor::Geometry::sVoxelTileTree, Ostrum::makePtr<Container<Traits>>(tree));
    const Json* topology = json.find("topology");
    if (!topology || topology->boolean()) {
        const Json* offset = json.find("offset");
        object.addComponent(
            Vantor::Geometry::sVoxelComp,
            Ostrum::makePtr<VoxelTopology<Traits>>(tree, offset ? readElement<float3>(*offset)
                                                                : voxelOffset(offsetType)));
    }
    for (const Json& channel : json.at("channels").list()) {
        io::throwIfInterrupted();
        addChannel<Traits>(channel, inputs, tree, object);
    }
}

void addTreeOfShape(const Json& json, const Inputs& inputs, Vantor::Object& object) {
    json.allowOnly(
        {"shape", "voxel_size", "offset_type", "offset", "topology", "tiles", "channels"});
    const int children = readShape(json.at("shape"));
#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    if (children == (B))                                                                           \
        return addTree<Traits<B, W, 1>>(json, inputs, object);
#include "common/rows.def"
}

ObjectPtr readFile(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "file", "grid", "shape", "tolerance"});
    CommonOptions options;
    options.quiet = inputs.quiet();
    const Json& file = node.at("file");
    options.file = isFormula(file.text()) ? file.text() : inputs.fileName(file);
    if (const Json* grid = node.find("grid")) {
        if (isFormula(options.file))
            grid->fail("a volume by formula has no grids");
        options.grid = grid->text();
    }
    if (const Json* tolerance = node.find("tolerance")) {
        options.tolerance = tolerance->isText() ? -1 : readScalar<double>(*tolerance);
        if (!(*options.tolerance >= 0))
            tolerance->fail("a number of at least 0 is wanted");
    }
    if (const Json* shape = node.find("shape"))
        options.shape = readShape(*shape);
    ObjectPtr object;
    readingFile(file, [&] { object = loadVolume(options).object; });
    return object;
}

} // namespace

Outcome evaluateVolume(const Json& node, const Inputs& inputs) {
    if (node.find("file"))
        return {{{"object", readFile(node, inputs)}}};
    node.allowOnly({"type", "trees", "file", "grid", "shape", "tolerance"});
    auto object = Ostrum::makePtr<Vantor::Object>();
    for (const Json& tree : node.at("trees").list())
        addTreeOfShape(tree, inputs, *object);
    return {{{"object", object}}};
}

} // namespace Stratum::tools::graph
