// Reading .vdb files. The only source that includes OpenVDB, whose headers take long to compile.
#include "io/readVdb.h"

#include "io/MemoryBudget.h"
#include "io/gridVolume.h"
#include "io/lowerCase.h"
#include "io/quoted.h"
#include "io/returnMemory.h"
#include "io/vdbFile.h"

#include <stdexcept>

namespace Stratum::io {

namespace {

using openvdb::GridBase;

// How GridRegion reads the nodes of a tree.
template <class TreeT>
struct VdbAccess {
    using Value = typename TreeT::ValueType;
    using Upper = typename TreeT::RootNodeType::ChildNodeType;
    using Lower = typename Upper::ChildNodeType;
    using Leaf = typename Lower::ChildNodeType;
    static constexpr int kLeafLog2 = Leaf::LOG2DIM, kLowerLog2 = Lower::LOG2DIM,
                         kUpperLog2 = Upper::LOG2DIM;

    template <class Node>
    static bool isChild(const Node& node, unsigned n) {
        return node.isChildMaskOn(n);
    }
    template <class Node>
    static const typename Node::ChildNodeType* child(const Node& node, unsigned n) {
        return node.getTable()[n].getChild();
    }
    template <class Node>
    static const Value& value(const Node& node, unsigned n) {
        return node.getTable()[n].getValue();
    }
    static const Value* voxels(const Leaf& leaf) { return leaf.buffer().data(); }

    // No other grid shares the tree (see VdbFile::grid), and its channel is made but once.
    static constexpr bool kReleasesLeaves = true;
    static void release(const Leaf& leaf) {
        typename Leaf::Buffer nothing(openvdb::PartialCreate(), Value{});
        const_cast<Leaf&>(leaf).swap(nothing);
    }
};

template <class TreeT>
GridRegion<VdbAccess<TreeT>> regionOf(const TreeT& tree) {
    typename GridRegion<VdbAccess<TreeT>>::Cells cells;
    const auto at = [](const openvdb::Coord& c) { return GridIndex{c.x(), c.y(), c.z()}; };
    for (auto child = tree.root().cbeginChildOn(); child; ++child)
        cells[at(child.getCoord())] = {&*child, tree.background()};
    for (auto tile = tree.root().cbeginValueAll(); tile; ++tile)
        cells[at(tile.getCoord())] = {nullptr, *tile};
    return {std::move(cells), tree.background()};
}

struct Found {
    std::string name;
    GridBase::ConstPtr grid;
};

// Such as "level set of float".
std::string originOf(const GridBase& grid) {
    const std::string gridClass = grid.getGridClass() == openvdb::GRID_UNKNOWN
                                      ? "grid"
                                      : GridBase::gridClassToMenuName(grid.getGridClass());
    return lowerCase("a " + gridClass + " of " + grid.valueType() +
                     (grid.saveFloatAsHalf() ? " stored in half precision" : ""));
}

ChannelKind kindOf(const GridBase& grid) {
    const auto gridClass = grid.getGridClass();
    if (gridClass == openvdb::GRID_LEVEL_SET)
        return ChannelKind::kLevelSet;
    const bool fog = gridClass == openvdb::GRID_FOG_VOLUME ||
                     (gridClass == openvdb::GRID_UNKNOWN && grid.getName() == "density");
    return fog ? ChannelKind::kFog : ChannelKind::kOther;
}

GridPlacementResult placementOf(const openvdb::math::Transform& transform) {
    if (!transform.isLinear())
        return {{}, "it is a frustum"};
    const auto affine = transform.baseMap()->getAffineMap()->getMat4();
    GridTransform result;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column)
            result.matrix[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] =
                affine[column][row];
        result.translation[static_cast<std::size_t>(row)] = affine[3][row];
    }
    return placementOf(result);
}

// The grids that options ask for and that can be used; others are named in the warnings.
std::vector<Found> readGrids(const std::string& path, const VdbOptions& options,
                             std::vector<std::string>& warnings) {
    VdbFile file(path);
    UniqueNames unique;
    std::vector<Found> found;
    MemoryBudget budget(options.mostBytes); // many grids may name the same voxels
    std::string names;
    for (std::size_t i = 0; i < file.gridCount(); ++i) {
        const auto header = file.header(i);
        const std::string name = unique.add(header->getName());
        names += (names.empty() ? "" : ", ") + name;
        if (!options.grid.empty() && options.grid != name)
            continue;
        if (!isUsable(*header)) {
            warnings.push_back("grid '" + name + "' is left out: values of type " +
                               header->valueType() + " cannot be sampled");
            continue;
        }
        throwIfInterrupted();
        found.push_back({name, file.grid(i)});
        budget.add(found.back().grid->memUsage());
        budget.check();
    }
    requireGrids(options.grid, unique, !found.empty(), names);
    return found;
}

FileGrid fileGrid(const Found& found, std::vector<std::string>& warnings) {
    const auto placement = requirePlacement(found.name, placementOf(found.grid->transform()));
    if (found.grid->isType<openvdb::Int64Grid>())
        warnings.push_back("grid '" + found.name +
                           "' holds 64-bit integers; beyond 2^53 they are rounded");
    FileGrid result{nullptr, originOf(*found.grid), kindOf(*found.grid)};
    found.grid->apply<UsableVdbGrids>([&](const auto& grid) {
        using Access = VdbAccess<typename std::decay_t<decltype(grid)>::TreeType>;
        result.grid = std::make_unique<TypedSourceGrid<Access>>(found.grid, regionOf(grid.tree()),
                                                                found.name, placement);
    });
    return result;
}

Volume readChecked(const std::string& path, const VdbOptions& options) {
    openvdb::initialize();
    // What it says about values that are read later, which none are here, is expanded to whatever
    // size it claims. Without its type it is passed over.
    openvdb::io::DelayedLoadMetadata::unregisterType();
    std::vector<std::string> warnings;
    std::vector<FileGrid> grids;
    for (const Found& each : readGrids(path, options, warnings))
        grids.push_back(fileGrid(each, warnings));
    Volume volume = makeGridVolume(grids, options, std::move(warnings));
    grids.clear();
    returnMemory();
    return volume;
}

} // namespace

Volume readVdb(const std::string& path, const VdbOptions& options) {
    try {
        return readChecked(path, options);
    } catch (const Cancelled&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw std::runtime_error("cannot read '" + path + "': out of memory");
    } catch (const openvdb::Exception& error) {
        throw std::runtime_error("cannot read '" + path + "': it is damaged (" +
                                 oneLine(error.what()) + ")");
    } catch (const std::exception& error) {
        throw std::runtime_error("cannot read '" + path + "': " + oneLine(error.what()));
    }
}

bool canReadVdb() {
    return true;
}

} // namespace Stratum::io
