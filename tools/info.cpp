// stratum info: what is in a volume.
#include "Results.h"
#include "Statistics.h"
#include "Terminal.h"
#include "channels.h"
#include "commands.h"
#include "commonOptions.h"
#include "infoJson.h"
#include "io/csvValues.h"
#include "io/quoted.h"

#include <CLI/App.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>

namespace Stratum::tools {

namespace {

template <class... Arguments>
std::string format(const char* pattern, Arguments... arguments) {
    std::array<char, 256> text{};
    std::snprintf(text.data(), text.size(), pattern, arguments...);
    return text.data();
}

std::string megabytes(std::size_t bytes) {
    return format("%.2f MiB", static_cast<double>(bytes) / 1048576);
}

template <class... Values>
std::string numbers(Values... values) {
    std::string text;
    ((io::appendNumber(text, values), text += ' '), ...);
    text.pop_back();
    return text;
}

// With the digits of a voxel size, which is of single precision.
std::string corner(const Vantor::Math::double3& p) {
    return "(" +
           numbers(static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)) + ")";
}

template <class T>
std::string valueText(const T& value) {
    std::string text;
    for (const auto component : Vantor::Math::toComponents(value)) {
        io::appendNumber(text, component);
        text += ' ';
    }
    text.pop_back();
    return text;
}

std::string describeSaving(const io::Saving& saving) {
    const auto line = [](const char* name, const io::Saving::Amount& amount) {
        return format("  %-8s %12zu tiles %14zu voxels %16s\n", name, amount.tiles, amount.voxels,
                      megabytes(amount.bytes).c_str());
    };
    return "coarsened  to within " + numbers(saving.tolerance) + " of all samples\n" +
           line("before", saving.before) + line("after", saving.after);
}

template <class Shape>
std::string describeTree(const KDX::TileTree3D::TileTree<Shape>& tree) {
    const auto offset = KDX::TileTree3D::voxelOffset(tree.offsetType());
    std::string text = format(
        "shape      %d children and %d voxels an axis\nvoxel      %s, samples at (%g %g %g) of a "
        "voxel (offset type %d)\n",
        Shape::kChildrenPerAxis, Shape::kVoxelsPerAxis, numbers(tree.voxelSize()).c_str(),
        static_cast<double>(offset.x), static_cast<double>(offset.y), static_cast<double>(offset.z),
        static_cast<int>(tree.offsetType()));
    std::size_t tiles = 0;
    for (int depth = 0; depth <= Shape::kFinestDepth; ++depth)
        tiles += tree.tiles(depth).size();
    return text +
           format("tree       %zu tiles, %s\n", tiles, megabytes(tree.memoryUsage()).c_str());
}

template <class Shape, class T>
std::string describeDepths(const PlainChannel<Shape, T>& channel) {
    std::string text = format("  %5s %12s %12s %12s %14s\n", "depth", "voxel size", "tiles",
                              "with data", "voxels");
    for (int depth = 0; depth <= Shape::kFinestDepth; ++depth) {
        const auto tiles = channel.tree()->tiles(depth).size();
        const auto voxels = channel.elementCount(depth);
        if (voxels == 0)
            continue;
        const double width = Shape::voxelWidth(depth) * double{channel.tree()->voxelSize()};
        text += format("  %5d %12.6g %12zu %12lld %14lld\n", depth, width, tiles,
                       static_cast<long long>(voxels / Shape::kVoxelCount),
                       static_cast<long long>(voxels));
    }
    return text;
}

template <class Shape, class T>
std::string describe(const io::ChannelInfo& info, const PlainChannel<Shape, T>& channel) {
    std::string text = "\nchannel    " + io::oneLine(info.name) + "\n";
    for (const auto& name : info.alsoNamed)
        text += "  also     " + io::oneLine(name) + "\n";
    text += "  type     " + valueTypeName<T>() + ", from " + info.origin + "\n";
    text += "  default  " + valueText(channel.defaultValue()) + "\n";
    const auto statistics = Statistics<T>::template of<Shape>(channel);
    const auto columns =
        io::columnNames("", Vantor::Math::kComponentCount<T>, io::matrixColumns<T>());
    for (std::size_t c = 0; c < columns.size() && statistics.values > 0; ++c)
        text += "  range    " + numbers(statistics.lowest[c]) + " .. " +
                numbers(statistics.highest[c]) + (columns[c].empty() ? "" : "  ") + columns[c] +
                "\n";
    text += format("  NaN      %zu\n", statistics.nanCount);
    const auto bounds = boundsOf<Shape, T>(channel);
    if (bounds.empty())
        text += "  bounds   none, no tile holds data\n";
    else
        text += "  bounds   " + corner(bounds.lower) + " .. " + corner(bounds.upper) + "\n";
    text += "  memory   " + megabytes(channel.memoryUsage()) + "\n";
    return text + describeDepths<Shape, T>(channel);
}

std::string describe(const io::Volume& volume, const CommonOptions& options) {
    std::string text = "file       " + displayName(options.file) + "\n";
    if (volume.saving)
        text += describeSaving(*volume.saving);
    bool treeDescribed = false;
    for (const auto& info : volume.channels)
        visitChannel(
            *volume.object, info.name,
            [&]<class Shape, class T>(
                const KDX::TileTree3D::Channel<Shape, T, Shape::kVoxelsPerAxis, 0, 0>& channel) {
                if (!std::exchange(treeDescribed, true))
                    text += describeTree(*channel.tree());
                text += describe<Shape, T>(info, channel);
            });
    return text;
}

// Beyond 2^20 voxels positions in single precision are an eighth of a voxel apart, and more.
void warnOfDistance(const io::Volume& volume) {
    constexpr double kFar = 0x1p20;
    double farthest = 0;
    for (const auto& info : volume.channels)
        visitChannel(*volume.object, info.name,
                     [&]<class Shape, class T>(const PlainChannel<Shape, T>& channel) {
                         farthest = std::max(farthest, farthestInVoxels<Shape, T>(channel));
                     });
    if (farthest > kFar)
        warn(format("data reach %.0f voxels from the origin; positions are of single precision and "
                    "lose their fractions there",
                    farthest));
}

void printInfo(const CommonOptions& options, io::Provenance provenance) {
    provenance.inputs.push_back(options.file);
    const Run run(options);
    Progress progress(options, 2);
    progress.step("reading the volume");
    const io::Volume volume = loadVolume(options);
    if (!options.quiet)
        warnOfDistance(volume);
    progress.step("looking at its values");
    Results results;
    results.out().write(options.json ? infoJson(volume, options.file, provenance)
                                     : describe(volume, options));
    results.commit();
}

} // namespace

void addInfo(CLI::App& app, const io::Provenance& provenance) {
    auto options = std::make_shared<CommonOptions>();
    CLI::App* command = app.add_subcommand("info", "Describe the channels of a volume");
    addVolumeOptions(*command, *options);
    command->footer("Example: stratum info smoke.vdb");
    command->callback([options, provenance] { printInfo(*options, provenance); });
}

} // namespace Stratum::tools
