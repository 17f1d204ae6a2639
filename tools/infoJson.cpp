#include "infoJson.h"

#include "Statistics.h"
#include "commandLine.h"
#include "io/provenanceJson.h"

namespace Stratum::tools {

namespace {

using io::jsonNumber;
using io::jsonText;

template <class Numbers>
std::string jsonList(const Numbers& numbers) {
    std::string text = "[";
    for (const auto number : numbers)
        (text += text.size() > 1 ? ", " : "") += jsonNumber(number);
    return text + "]";
}

std::string member(const char* name, std::size_t count) {
    return std::string("\"") + name + "\": " + std::to_string(count);
}

std::string jsonAmount(const io::Saving::Amount& amount) {
    return std::string("{") + member("tiles", amount.tiles) + ", " +
           member("voxels", amount.voxels) + ", " + member("bytes", amount.bytes) + "}";
}

template <class Shape>
std::string jsonTree(const KDX::TileTree3D::TileTree<Shape>& tree) {
    std::size_t tiles = 0;
    for (int depth = 0; depth <= Shape::kFinestDepth; ++depth)
        tiles += tree.tiles(depth).size();
    return std::string("{") + member("shape", Shape::kChildrenPerAxis) +
           ", \"voxel_size\": " + jsonNumber(tree.voxelSize()) + ", " +
           member("offset_type", static_cast<std::size_t>(tree.offsetType())) + ", " +
           member("tiles", tiles) + ", " + member("bytes", tree.memoryUsage()) + "}";
}

template <class Shape, class T>
std::string jsonDepths(const PlainChannel<Shape, T>& channel) {
    std::string text = "[";
    for (int depth = 0; depth <= Shape::kFinestDepth; ++depth)
        if (const auto voxels = static_cast<std::size_t>(channel.elementCount(depth)); voxels > 0)
            (text += text.size() > 1 ? ", " : "") +=
                std::string("{") + member("depth", static_cast<std::size_t>(depth)) + ", " +
                member("tiles_with_data", voxels / Shape::kVoxelCount) + ", " +
                member("voxels", voxels) + "}";
    return text + "]";
}

template <class Shape, class T>
std::string jsonChannel(const io::ChannelInfo& info, const PlainChannel<Shape, T>& channel) {
    std::string also = "[";
    for (const auto& name : info.alsoNamed)
        (also += also.size() > 1 ? ", " : "") += jsonText(name);
    const auto statistics = Statistics<T>::template of<Shape>(channel);
    const WorldBounds bounds = boundsOf<Shape, T>(channel);
    const auto corner = [](const Vantor::Math::double3& p) {
        return jsonList(Vantor::Math::toComponents(p));
    };
    return std::string("{\"name\": ") + jsonText(info.name) + ", \"also\": " + also +
           "],\n   \"value_type\": " + jsonText(valueTypeName<T>()) +
           ", \"origin\": " + jsonText(info.origin) +
           ",\n   \"default\": " + jsonList(Vantor::Math::toComponents(channel.defaultValue())) +
           ", \"lowest\": " + jsonList(statistics.lowest) +
           ", \"highest\": " + jsonList(statistics.highest) + ", " +
           member("nan", statistics.nanCount) + ",\n   \"bounds\": " +
           (bounds.empty()
                ? std::string("null")
                : std::string("[") + corner(bounds.lower) + ", " + corner(bounds.upper) + "]") +
           ", " + member("bytes", channel.memoryUsage()) +
           ",\n   \"depths\": " + jsonDepths<Shape, T>(channel) + "}";
}

} // namespace

std::string infoJson(const io::Volume& volume, const std::string& file,
                     const io::Provenance& provenance) {
    std::string tree = "null", channels;
    for (const auto& info : volume.channels)
        visitChannel(*volume.object, info.name,
                     [&]<class Shape, class T>(const PlainChannel<Shape, T>& channel) {
                         tree = jsonTree(*channel.tree());
                         (channels += channels.empty() ? "\n  " : ",\n  ") +=
                             jsonChannel<Shape, T>(info, channel);
                     });
    std::string saving;
    if (volume.saving)
        saving = std::string(",\n \"coarsened\": {\"tolerance\": ") +
                 jsonNumber(volume.saving->tolerance) +
                 ", \"before\": " + jsonAmount(volume.saving->before) +
                 ", \"after\": " + jsonAmount(volume.saving->after) + "}";
    return "{" + io::provenanceJson(provenance) + ",\n \"file\": " + jsonText(file) + saving +
           ",\n \"tree\": " + tree + ",\n \"channels\": [" + channels + "]}\n";
}

} // namespace Stratum::tools
