#include "io/gridVolume.h"

#include "io/gridTopology.h"

#include <stdexcept>

namespace Stratum::io {

namespace {

// The host's name for what a grid is, or none.
std::string hostName(ChannelKind kind) {
    return kind == ChannelKind::kLevelSet ? Vantor::Geometry::sVoxelSignedDistance.str()
           : kind == ChannelKind::kFog    ? Vantor::Geometry::sVoxelFogDensity.str()
                                          : std::string();
}

ChannelInfo describe(const FileGrid& source, std::set<std::string>& taken,
                     std::vector<std::string>& warnings) {
    const std::string& channelName = source.grid->name;
    ChannelInfo info{channelName, source.origin, {}, source.kind};
    if (const std::string name = hostName(source.kind); !name.empty()) {
        if (taken.insert(name).second)
            info.alsoNamed.push_back(name);
        else
            warnings.push_back("grid '" + channelName + "' is not also named '" + name +
                               "': another channel has that name");
    }
    return info;
}

template <class Shape>
void addChannels(Vantor::Object& object, const std::vector<FileGrid>& grids,
                 const std::vector<ChannelInfo>& infos, double mostBytes) {
    const GridTopology<Shape> topology(grids, mostBytes);
    const auto tree = topology.build();
    Vantor::Geometry::addTree<Shape>(object, tree);
    for (std::size_t i = 0; i < grids.size(); ++i) {
        std::vector<std::string> names = infos[i].alsoNamed;
        names.insert(names.begin(), infos[i].name);
        grids[i].grid->addChannel(object, tree, topology.flags(*tree, *grids[i].grid), names);
    }
}

} // namespace

std::string UniqueNames::add(const std::string& wanted) {
    const std::string base = wanted.empty() ? "unnamed" : wanted;
    std::string name = base;
    for (int& last = lastNumbers_[base]; !taken_.insert(name).second;)
        name = base + "[" + std::to_string(++last) + "]";
    return name;
}

GridPlacement requirePlacement(const std::string& name, const GridPlacementResult& result) {
    if (!result.placement)
        throw std::runtime_error("grid '" + name +
                                 "' has a transform that tiles cannot follow: " + result.reason +
                                 " (a uniform scale and translations by half voxels are possible)");
    return *result.placement;
}

void requireGrids(const std::string& wanted, const UniqueNames& unique, bool anyUsable,
                  const std::string& all) {
    constexpr std::size_t kMost = 1000; // letters: a file may have any number of grids
    const std::string names = all.empty()          ? "none"
                              : all.size() > kMost ? all.substr(0, kMost) + " ..."
                                                   : all;
    if (!wanted.empty() && !unique.isTaken(wanted))
        throw std::runtime_error("it has no grid '" + wanted + "'; it has: " + names);
    if (!anyUsable)
        throw std::runtime_error("it holds no grid of numbers or 3-vectors; it holds: " + names);
}

Volume makeGridVolume(const std::vector<FileGrid>& grids, const VdbOptions& options,
                      std::vector<std::string> warnings) {
    Volume volume{Ostrum::makePtr<Vantor::Object>(), {}, std::move(warnings)};
    const SourceGrid& first = *grids.front().grid;
    std::set<std::string> taken;
    for (const FileGrid& each : grids) {
        taken.insert(each.grid->name);
        if (!(each.grid->placement == first.placement))
            throw std::runtime_error("grids '" + first.name + "' and '" + each.grid->name +
                                     "' have different transforms; choose one grid");
    }
    for (const FileGrid& each : grids)
        volume.channels.push_back(describe(each, taken, volume.warnings));
    if (options.shape == TreeShape::kTwo)
        addChannels<Traits<2, 4, 1>>(*volume.object, grids, volume.channels, options.mostBytes);
    else
        addChannels<Traits<5, 5, 1>>(*volume.object, grids, volume.channels, options.mostBytes);
    return volume;
}

} // namespace Stratum::io
