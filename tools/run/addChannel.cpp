#include "run/addChannel.h"

#include "KDX/ChannelBuilder.h"
#include "Vantor/Volume.h"
#include "interrupt.h"
#include "run/Formula.h"
#include "run/tiles.h"

#include <optional>

namespace Stratum::tools::graph {

namespace {

using namespace KDX::TileTree3D;

template <class Traits, class T>
using Builder = ChannelBuilder<Traits, T>;

template <class Traits>
typename Builder<Traits, float>::Holds readHolds(const Json& channel) {
    const Json* json = channel.find("tiles");
    if (!json)
        return Builder<Traits, float>::holdsWhereVoxelsAre;
    std::vector<TileSelection> selections;
    for (const Json& tiles : json->list()) {
        tiles.allowOnly({"depth", "at", "box"});
        selections.push_back(readTiles<Traits>(tiles));
    }
    return [selections](const auto& tile, const TreeIndex&) {
        return std::ranges::any_of(selections, [&](const auto& s) { return s.matches(tile); });
    };
}

template <class T>
Formula readFormula(const Json& json) {
    return Formula(json, [](const Json& coefficient) {
        const auto components = Vantor::Math::toComponents(readElement<T>(coefficient));
        return Formula::Coefficient(components.begin(), components.end());
    });
}

// Positions of a formula are in world units unless "space" says "index".
double readUnit(const Json& json, double voxelSize) {
    const Json* space = json.find("space");
    if (!space || space->text() == "world")
        return voxelSize;
    if (space->text() != "index")
        space->fail("there is no space '" + space->text() + "'; allowed are: world, index");
    return 1;
}

template <class Traits, class T>
void fillByFormula(const Json& json, double voxelSize, Builder<Traits, T>& builder) {
    const Formula formula = readFormula<T>(json);
    const double unit = readUnit(json, voxelSize);
    const Json* depthJson = json.find("depth");
    const std::optional<int> depth =
        depthJson ? std::optional(readDepth<Traits>(*depthJson)) : std::nullopt;
    builder.fillTiles([&](const auto& tile, const TreeIndex&, auto values) {
        if ((depth && tile.depth() != *depth) || isInterrupted())
            return;
        builder.forEachSample(tile, [&](std::size_t flat, const double3& index) {
            using Scalar = Vantor::Math::ScalarOf<T>;
            std::array<double, Vantor::Math::kComponentCount<T>> exact;
            formula.evaluate(index * unit, exact);
            Vantor::Math::Components<T> components;
            for (std::size_t c = 0; c < exact.size(); ++c)
                components[c] = static_cast<Scalar>(exact[c]);
            values[flat] = Vantor::Math::fromComponents<T>(components);
        });
    });
}

template <class Traits, class T>
void fillTile(const Json& json, const Inputs& inputs, const TileTree<Traits>& tree,
              Builder<Traits, T>& builder) {
    json.allowOnly({"tile", "values"});
    const Json& place = json.at("tile");
    place.allowOnly({"depth", "at"});
    const int depth = readDepth<Traits>(place.at("depth"));
    const int3 at = readIndex<Traits>(place.at("at"));
    typename TileTree<Traits>::Cursor cursor;
    const TreeIndex index = tree.find(at, depth, cursor).treeIndex();
    const Json& json_values = json.at("values");
    const auto values = inputs.array<T>(json_values);
    if (values->size() != std::size_t{Traits::kVoxelCount})
        json_values.fail("a tile has " + std::to_string(Traits::kVoxelCount) +
                         " values, and these are " + std::to_string(values->size()));
    if (index.depth != depth)
        place.fail("the tree has no such tile");
    try {
        builder.setTile(index, std::span<const T, Traits::kVoxelCount>(
                                   values->data(), std::size_t{Traits::kVoxelCount}));
    } catch (const std::out_of_range& error) {
        place.fail(error.what());
    }
}

template <class Traits, class T>
void fillBlock(const Json& json, const Inputs& inputs, Builder<Traits, T>& builder) {
    json.allowOnly({"block", "values"});
    const Json& block = json.at("block");
    block.allowOnly({"depth", "first", "size"});
    const int depth = readDepth<Traits>(block.at("depth"));
    for (const Json& along : block.at("size").list(3))
        along.integer(0, std::numeric_limits<int>::max());
    const int3 size = readInt3(block.at("size"));
    const auto values = inputs.array<T>(json.at("values"));
    try {
        builder.setBlock(depth, readInt3(block.at("first")), size,
                         std::span<const T>(values->data(), values->size()));
    } catch (const std::invalid_argument&) {
        json.at("values").fail("a block of this size has x * y * z values, x fastest; these are " +
                               std::to_string(values->size()));
    }
}

template <class Traits, class T>
void fill(const Json& json, const Inputs& inputs, const TileTree<Traits>& tree,
          Builder<Traits, T>& builder) {
    if (json.find("formula"))
        fillByFormula<Traits, T>(json, tree.voxelSize(), builder);
    else if (json.find("tile"))
        fillTile<Traits, T>(json, inputs, tree, builder);
    else if (json.find("block"))
        fillBlock<Traits, T>(json, inputs, builder);
    else
        json.fail("one of 'formula', 'tile' and 'block' is wanted");
}

} // namespace

template <class Traits>
void addChannel(const Json& json, const Inputs& inputs,
                const Ostrum::Ptr<const TileTree<Traits>>& tree, Vantor::Object& object) {
    json.allowOnly({"name", "value_type", "default", "tiles", "fill"});
    visitValueType(json.at("value_type"), [&]<class T>(std::type_identity<T>) {
        const Json* outside = json.find("default");
        Builder<Traits, T> builder(tree, json.at("name").text(),
                                   outside ? readElement<T>(*outside) : T{},
                                   readHolds<Traits>(json));
        if (const Json* fills = json.find("fill"))
            for (const Json& one : fills->list()) {
                fill<Traits, T>(one, inputs, *tree, builder);
                io::throwIfInterrupted();
            }
        Vantor::Geometry::addChannel(object, builder.finish());
    });
}

#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    template void addChannel<Traits<B, W, 1>>(const Json&, const Inputs&,                          \
                                              const Ostrum::Ptr<const TileTree<Traits<B, W, 1>>>&, \
                                              Vantor::Object&);
#include "common/rows.def"

} // namespace Stratum::tools::graph
