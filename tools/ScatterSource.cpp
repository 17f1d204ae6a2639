#include "ScatterSource.h"

#include "CandidateSpace.h"
#include "Vantor/Geometry.h"
#include "Vantor/Volume.h"
#include "io/formulaGeometry.h"
#include "io/formulaVolume.h"
#include "io/lowerCase.h"
#include "loadGeometry.h"

#include <algorithm>
#include <stdexcept>

namespace Stratum::tools {

namespace {

using VantorExp::Geometry::SampleType;

std::string listed(const std::vector<std::string>& names) {
    std::string list;
    for (const auto& name : names)
        (list += list.empty() ? "" : ", ") += name;
    return list;
}

bool isVolumeFile(const std::string& file) {
    if (isFormula(file)) {
        const std::string name = formulaName(file);
        if (io::isFormulaGeometry(name))
            return false;
        if (io::isFormulaVolume(name))
            return true;
        throw std::runtime_error("there is no geometry 'formula:" + name + "'; there are: " +
                                 io::formulaGeometryNames() + ", " + io::formulaNames());
    }
    const std::string name = io::lowerCase(file);
    return name.ends_with(".vdb") || name.ends_with(".nvdb");
}

// A name that is none would leave all locations as if there were no mask.
void requireProperty(const io::LoadedGeometry& geometry, const std::string& name) {
    if (!name.empty() && !geometry.object->hasProperty(name))
        throw std::runtime_error(
            "the geometry has no property '" + name + "'" +
            (geometry.properties.empty() ? "" : "; there are: " + listed(geometry.properties)));
}

// Surfaces of what has any, else points.
SampleType geometryType(const ScatterOptions& options, const Vantor::Object& geometry) {
    using namespace Vantor::Geometry;
    const bool hasSurface =
        geometry.isA(*getMeshPrototype()) || geometry.isA(*getStrandPrototype());
    if (options.kind == "fog" || options.kind == "levelset")
        throw std::runtime_error("--kind " + options.kind + " is for volumes, and '" +
                                 options.common.file + "' is none");
    if (options.kind == "surface" && !hasSurface)
        throw std::runtime_error(options.common.file +
                                 " has neither faces nor strands; its points need --kind points");
    return options.kind == "points" || !hasSurface ? SampleType::Points : SampleType::Surface;
}

ScatterSource geometrySource(const ScatterOptions& options) {
    const io::LoadedGeometry geometry = loadGeometry(options.common);
    requireProperty(geometry, options.mask);
    requireProperty(geometry, options.picture.colour);
    ScatterSource source;
    source.object = geometry.object;
    source.type = geometryType(options, *geometry.object);
    source.mask = options.mask;
    source.measure = measureGeometry(*geometry.object, source.type);
    if (source.measure.leftOut > 0)
        source.warnings.push_back(std::to_string(source.measure.leftOut) +
                                  (source.measure.name == "area" ? " triangles" : " segments") +
                                  " get nothing: their " + source.measure.name +
                                  " is too large, or no number");
    if (source.type == SampleType::Points && options.density)
        source.warnings.emplace_back("points are chosen by count: --density has no effect other "
                                     "than that of --count");
    const std::pair<bool, const char*> onlyOfVolumes[] = {
        {!options.channel.empty(), "--channel"},
        {!options.common.grid.empty(), "--grid"},
        {options.common.tolerance.has_value(), "--tolerance"}};
    for (const auto& [given, option] : onlyOfVolumes)
        if (given)
            source.warnings.push_back(std::string(option) +
                                      " has no effect: it is for volumes, and this is none");
    return source;
}

const io::ChannelInfo* find(const io::Volume& volume, const std::string& name) {
    for (const auto& channel : volume.channels)
        if (channel.name == name || std::ranges::count(channel.alsoNamed, name) > 0)
            return &channel;
    return nullptr;
}

const io::ChannelInfo& require(const io::Volume& volume, const std::string& name) {
    const auto* found = find(volume, name);
    if (!found)
        failWithoutChannel(volume, name);
    return *found;
}

bool isFloat(const io::Volume& volume, const std::string& channel) {
    bool is = false;
    visitChannel(*volume.object, channel, [&]<class Shape, class T>(const PlainChannel<Shape, T>&) {
        is = std::is_same_v<T, float>;
    });
    return is;
}

// The first channel that is a fog or, failing that, a level set. Of what has --kind it is enough
// that nothing speaks against it.
const io::ChannelInfo& chooseChannel(const io::Volume& volume, const std::string& kind) {
    using io::ChannelKind;
    std::vector<ChannelKind> wanted{ChannelKind::kFog, ChannelKind::kLevelSet};
    if (!kind.empty())
        wanted = {kind == "fog" ? ChannelKind::kFog : ChannelKind::kLevelSet, ChannelKind::kOther};
    for (const ChannelKind each : wanted)
        for (const auto& channel : volume.channels)
            if (channel.kind == each && isFloat(volume, channel.name))
                return channel;
    std::vector<std::string> names;
    for (const auto& channel : volume.channels)
        names.push_back(channel.name);
    throw std::runtime_error(
        kind.empty() ? "no channel of float is said to be a fog volume or a level set; choose one "
                       "with --channel and --kind; there are: " +
                           listed(names)
                     : "no channel of float can be taken as --kind " + kind +
                           "; choose one with --channel; there are: " + listed(names));
}

bool isFog(const io::ChannelInfo& channel, const std::string& kind) {
    if (kind.empty() && channel.kind == io::ChannelKind::kOther)
        throw std::runtime_error("nothing says what channel '" + channel.name +
                                 "' holds: --kind fog scatters where it is above 0, --kind "
                                 "levelset where it is 0 or below");
    return kind.empty() ? channel.kind == io::ChannelKind::kFog : kind == "fog";
}

void addUnder(Vantor::Object& object, const io::Volume& volume, const std::string& channel,
              const std::string& name) {
    for (const auto& [known, component] : volume.object->volumeParts().components())
        if (known == channel)
            object.addComponent(name, component);
}

ScatterSource volumeSource(const ScatterOptions& options) {
    if (options.kind == "surface" || options.kind == "points")
        throw std::runtime_error("--kind " + options.kind +
                                 " is for meshes, strands and points; of a volume it is fog or "
                                 "levelset");
    const io::Volume volume = loadVolume(options.common);
    const auto& channel = options.channel.empty() ? chooseChannel(volume, options.kind)
                                                  : require(volume, options.channel);
    const bool fog = isFog(channel, options.kind);
    if (!isFloat(volume, channel.name))
        throw std::runtime_error("channel '" + channel.name +
                                 "' is no channel of float, which scattering needs");
    ScatterSource source;
    source.object = Ostrum::makePtr<Vantor::Object>(*volume.object);
    source.type = fog ? SampleType::Points : SampleType::Surface;
    using namespace Vantor::Geometry;
    addUnder(*source.object, volume, channel.name,
             (fog ? sVoxelFogDensity : sVoxelSignedDistance).str());
    if (!options.mask.empty()) {
        // The mask may be the channel that had that name before.
        source.mask = "mask:" + options.mask;
        addUnder(*source.object, volume, require(volume, options.mask).name, source.mask);
    }
    if (!options.picture.colour.empty())
        require(volume, options.picture.colour);
    const CandidateSpace space = candidateSpace(*volume.object, channel.name, fog);
    source.measure = {Common::kVolume, fog ? "fog" : "level set", "volume",
                      space.volume,    space.boxVolume(),         channel.name};
    source.bounds = space.box;
    if (space.box.empty())
        visitChannel(*volume.object, channel.name,
                     [&]<class Shape, class T>(const PlainChannel<Shape, T>& values) {
                         source.bounds = boundsOf<Shape, T>(values);
                     });
    if (space.cells == 0)
        source.warnings.push_back("channel '" + channel.name + "' has no voxel " +
                                  (fog ? "above 0" : "of 0 or below") +
                                  ": there is nowhere to scatter");
    if (options.density && options.most)
        source.warnings.emplace_back("--max has no effect on a --density in a volume");
    if (options.onReject == "discard")
        source.warnings.emplace_back("--on-reject has no effect on volumes: locations that the "
                                     "mask rejects are always drawn again");
    return source;
}

} // namespace

ScatterSource loadScatterSource(const ScatterOptions& options) {
    return isVolumeFile(options.common.file) ? volumeSource(options) : geometrySource(options);
}

} // namespace Stratum::tools
