// The node cubic_sampler: the sampler itself, with the settings that no operator selects.
#include "interrupt.h"
#include "run/callOperator.h"
#include "run/nodeTypes.h"
#include "run/samplerNode.h"
#include "volume/VoxelSamplerCubic.h"

#include <limits>

namespace Stratum::tools::graph {

namespace {

using namespace KDX::TileTree3D;

InterpolationMode readMode(const Json* json) {
    if (!json)
        return InterpolationMode::kCubicC1;
    std::string names;
    // The last one is the name of every number that is no mode.
    for (std::uint32_t i = 0; i <= 4; ++i) {
        const auto mode = static_cast<InterpolationMode>(i);
        if (json->text() == modeName(mode))
            return mode;
        names += (i > 0 ? ", " : "") + std::string(modeName(mode));
    }
    json->fail("there is no mode '" + json->text() + "'; allowed are: " + names);
}

template <class Traits>
using Mask = Channel<Traits, std::uint16_t, Traits::kVoxelsPerAxis, 0, 0>;

// The flag words of a tile: one for all voxels, or one each.
void readFlags(const Json& json, std::span<std::uint16_t> flags) {
    const auto word = [](const Json& number) {
        return static_cast<std::uint16_t>(
            number.integer(0, std::numeric_limits<std::uint16_t>::max()));
    };
    if (std::holds_alternative<std::int64_t>(json.data)) {
        std::ranges::fill(flags, word(json));
        return;
    }
    const auto& list = json.list(flags.size());
    for (std::size_t i = 0; i < flags.size(); ++i)
        flags[i] = word(list[i]);
}

// The flag words that a node gives to some tiles; all others are 0.
template <class Traits>
Ostrum::Ptr<Mask<Traits>> readMask(const Json* json, const VoxelTopology<Traits>& topology) {
    if (!json)
        return {};
    auto mask =
        Ostrum::makePtr<Mask<Traits>>("", std::uint16_t{0}, false, true, 0, Traits::kFinestDepth);
    mask->update(topology);
    for (const Json& entry : json->list()) {
        entry.allowOnly({"depth", "at", "box", "flags"});
        const TileSelection selection = readTiles<Traits>(entry);
        const auto tiles = topology.tree()->tiles(selection.depth);
        for (std::size_t i = 0; i < tiles.size(); ++i) {
            const TreeIndex index{static_cast<std::int64_t>(i), selection.depth};
            if (std::uint16_t* flags = mask->writableTileData(index);
                flags && selection.matches(tiles[i]))
                readFlags(entry.at("flags"), {flags, std::size_t{Traits::kVoxelCount}});
        }
    }
    return mask;
}

struct Settings {
    InterpolationMode mode;
    bool clamp, debug;
    std::uint32_t jumpPolicy, maskBits;
    std::uint64_t cacheSize;
    int maxDepth, space;
};

Settings readSettings(const Json& node) {
    const auto flag = [&](const char* key, bool otherwise) {
        const Json* json = node.find(key);
        return json ? json->boolean() : otherwise;
    };
    const auto number = [&](const char* key, std::int64_t lowest, std::int64_t highest,
                            std::int64_t otherwise) {
        const Json* json = node.find(key);
        return json ? json->integer(lowest, highest) : otherwise;
    };
    constexpr std::int64_t kMost32 = std::numeric_limits<std::uint32_t>::max();
    using Int = std::numeric_limits<int>;
    return {readMode(node.find("mode")),
            flag("clamp", true),
            flag("debug", false),
            static_cast<std::uint32_t>(number("jump_policy", 0, kMost32, 1)),
            static_cast<std::uint32_t>(number("mask_bits", 0, kMost32, 0)),
            static_cast<std::uint64_t>(
                number("cache_size", 0, std::numeric_limits<std::int64_t>::max(), 0)),
            static_cast<int>(number("max_depth", Int::min(), Int::max(), 28)),
            static_cast<int>(number("space", Int::min(), Int::max(), kWorld))};
}

template <class Sampler, class T, class PositionT>
void sampleAll(Sampler& sampler, int finestDepth, const Settings& settings,
               const Ostrum::Array<PositionT>& positions, Ostrum::Array<T>& values) {
    for (std::size_t i = 0; i < positions.size() && !isInterrupted(); ++i) {
        VoxelLocation<PositionT> at;
        sampler.locate(positions[i], std::min(finestDepth, settings.maxDepth), settings.space, at);
        values[i] = sampler.sample(at.treeIndex, at.n, at.f, settings.maxDepth, settings.debug);
    }
}

template <class Traits, class T>
Outcome sample(const Json& node, const Inputs& inputs, const KDX::Object& volume) {
    using Sampler = CubicSampler<Traits, T>;
    const Settings settings = readSettings(node);
    const auto parts = volumeParts<Traits, T>(node.at("property"), volume);
    const auto mask = readMask<Traits>(node.find("mask"), *parts.topology);
    const auto positions =
        readPositions<typename Sampler::PositionType>(node.at("positions"), inputs);
    const auto values = Ostrum::makePtr<Ostrum::Array<T>>(positions->size(), T());
    const Report report = callOperator(node, [&](Ostrum::RuntimeServices&) {
        Sampler sampler(*parts.container, *parts.topology, *parts.channel, settings.mode,
                        settings.clamp, settings.jumpPolicy, mask.get(), settings.maskBits,
                        settings.cacheSize);
        sampleAll(sampler, parts.channel->depth(), settings, *positions, *values);
    });
    return {{{"values", report.exception ? Data() : Data(values)}}, report};
}

} // namespace

Outcome evaluateCubicSampler(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "value_type", "shape", "object", "property", "positions", "mode",
                    "clamp", "jump_policy", "mask", "mask_bits", "cache_size", "max_depth", "space",
                    "debug", "settings"});
    return sampleShape(node, inputs, [&]<class Traits, class T>(const KDX::Object& volume) {
        return sample<Traits, T>(node, inputs, volume);
    });
}

} // namespace Stratum::tools::graph
