// Reading .vdb files. The only source that includes OpenVDB, whose headers take long to compile.
#include "io/readVdb.h"

#include "io/Cancelled.h"
#include "io/vdbFile.h"
#include "io/vdbGrid.h"
#include "io/vdbTopology.h"

#include <openvdb/io/File.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <stdexcept>

namespace Stratum::io {

namespace {

using openvdb::GridBase;
using UsableGrids = openvdb::TypeList<openvdb::FloatGrid, openvdb::DoubleGrid, openvdb::Int32Grid,
                                      openvdb::Int64Grid, openvdb::Vec3SGrid, openvdb::Vec3DGrid,
                                      openvdb::Vec3IGrid>;

// Names that no two channels share, whatever the grids are called.
class UniqueNames {
public:
    std::string add(const std::string& wanted) {
        const std::string base = wanted.empty() ? "unnamed" : wanted;
        std::string name = base;
        for (int n = 1; !taken_.insert(name).second; ++n)
            name = base + "[" + std::to_string(n) + "]";
        return name;
    }
    bool isTaken(const std::string& name) const { return taken_.contains(name); }

private:
    std::set<std::string> taken_;
};

struct Found {
    std::string name;
    GridBase::ConstPtr grid;
};

bool isUsable(const GridBase& grid) {
    return grid.apply<UsableGrids>([](const auto&) {});
}

// Such as "level set of float".
std::string originOf(const GridBase& grid) {
    const std::string gridClass = grid.getGridClass() == openvdb::GRID_UNKNOWN
                                      ? "grid"
                                      : GridBase::gridClassToMenuName(grid.getGridClass());
    std::string text = "a " + gridClass + " of " + grid.valueType() +
                       (grid.saveFloatAsHalf() ? " stored in half precision" : "");
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// The grids that options ask for and that can be used; others are named in the warnings.
std::vector<Found> readGrids(const std::string& path, const VdbOptions& options,
                             std::vector<std::string>& warnings) {
    openvdb::io::File file(path);
    file.open(/*delayLoad=*/false);
    UniqueNames unique;
    std::vector<Found> found;
    std::string names;
    for (auto fileName = file.beginName(); fileName != file.endName(); ++fileName) {
        const auto header = file.readGridMetadata(fileName.gridName());
        const std::string name = unique.add(header->getName());
        names += (names.empty() ? "" : ", ") + name;
        if (!options.grid.empty() && options.grid != name)
            continue;
        if (!isUsable(*header)) {
            warnings.push_back("grid '" + name + "' is left out: values of type " +
                               header->valueType() + " cannot be sampled");
            continue;
        }
        throwIfCancelled();
        found.push_back({name, file.readGrid(fileName.gridName())});
    }
    if (!options.grid.empty() && !unique.isTaken(options.grid))
        throw std::runtime_error("it has no grid '" + options.grid +
                                 "'; it has: " + (names.empty() ? "none" : names));
    if (found.empty())
        throw std::runtime_error("it holds no grid of numbers or 3-vectors; it holds: " +
                                 (names.empty() ? "none" : names));
    return found;
}

std::unique_ptr<VdbGrid> typedGrid(const Found& found, std::vector<std::string>& warnings) {
    const auto placement = placementOf(found.grid->transform());
    if (!placement.placement)
        throw std::runtime_error("grid '" + found.name +
                                 "' has a transform that tiles cannot follow: " + placement.reason +
                                 " (a uniform scale and translations by half voxels are possible)");
    if (found.grid->isType<openvdb::Int64Grid>())
        warnings.push_back("grid '" + found.name +
                           "' holds 64-bit integers; beyond 2^53 they are rounded");
    std::unique_ptr<VdbGrid> typed;
    found.grid->apply<UsableGrids>([&](const auto& grid) {
        using GridT = std::decay_t<decltype(grid)>;
        typed = std::make_unique<TypedVdbGrid<GridT>>(openvdb::gridConstPtrCast<GridT>(found.grid),
                                                      found.name, *placement.placement);
    });
    return typed;
}

// The host's name for what a grid is, or none.
std::string hostName(const GridBase& grid) {
    const auto gridClass = grid.getGridClass();
    if (gridClass == openvdb::GRID_LEVEL_SET)
        return Vantor::Geometry::sVoxelSignedDistance.str();
    if (gridClass == openvdb::GRID_FOG_VOLUME ||
        (gridClass == openvdb::GRID_UNKNOWN && grid.getName() == "density"))
        return Vantor::Geometry::sVoxelFogDensity.str();
    return {};
}

ChannelInfo describe(const Found& found, std::set<std::string>& taken,
                     std::vector<std::string>& warnings) {
    ChannelInfo info{found.name, originOf(*found.grid), {}};
    if (const std::string name = hostName(*found.grid); !name.empty()) {
        if (taken.insert(name).second)
            info.alsoNamed.push_back(name);
        else
            warnings.push_back("grid '" + found.name + "' is not also named '" + name +
                               "': another channel has that name");
    }
    return info;
}

template <class Shape>
void addChannels(Vantor::Object& object, const VdbGrids& grids,
                 const std::vector<ChannelInfo>& infos) {
    const auto tree = VdbTopology<Shape>(grids).build();
    Vantor::Geometry::addTree<Shape>(object, tree);
    for (std::size_t i = 0; i < grids.size(); ++i) {
        std::vector<std::string> names = infos[i].alsoNamed;
        names.insert(names.begin(), infos[i].name);
        grids[i]->addChannel(object, tree, VdbTopology<Shape>::flags(*tree, *grids[i]), names);
    }
}

Volume readChecked(const std::string& path, const VdbOptions& options) {
    openvdb::initialize();
    std::ifstream stream = openVdbFile(path);
    VdbCompleteness::check(stream, std::filesystem::file_size(path));
    Volume volume{Ostrum::makePtr<Vantor::Object>(), {}, {}};
    const std::vector<Found> found = readGrids(path, options, volume.warnings);
    VdbGrids grids;
    std::set<std::string> taken;
    for (const Found& each : found) {
        grids.push_back(typedGrid(each, volume.warnings));
        taken.insert(each.name);
        if (!(grids.back()->placement == grids.front()->placement))
            throw std::runtime_error("grids '" + grids.front()->name + "' and '" + each.name +
                                     "' have different transforms; choose one grid");
    }
    for (const Found& each : found)
        volume.channels.push_back(describe(each, taken, volume.warnings));
    if (options.shape == TreeShape::kTwo)
        addChannels<Traits<2, 4, 1>>(*volume.object, grids, volume.channels);
    else
        addChannels<Traits<5, 5, 1>>(*volume.object, grids, volume.channels);
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
        throw std::runtime_error("cannot read '" + path + "': it is damaged (" + error.what() +
                                 ")");
    } catch (const std::exception& error) {
        throw std::runtime_error("cannot read '" + path + "': " + error.what());
    }
}

bool canReadVdb() {
    return true;
}

} // namespace Stratum::io
