// stratum sample, stratum gradient: values of a channel at positions.
#include "Kelvane/Logger.h"
#include "Results.h"
#include "Terminal.h"
#include "channels.h"
#include "commands.h"
#include "common/randomUnit.h"
#include "commonOptions.h"
#include "io/Cancelled.h"
#include "io/jsonText.h"
#include "io/writeTable.h"
#include "memory.h"
#include "ops/sample_volume.h"
#include "optionChecks.h"
#include "tableOptions.h"

#include <CLI/App.hpp>

#include <memory>
#include <optional>
#include <stdexcept>

namespace Stratum::tools {

namespace {

using Vantor::Math::float3;
using Positions = Ostrum::Array<float3>;

struct SampleOptions : TableOptions {
    CommonOptions common;
    std::string channel, positions, sampler = "linear";
    std::uint64_t randomCount = 0, seed = 0;
    bool gradient = false;
    std::optional<double> fallback;
    io::Provenance provenance;
};

Positions randomPositions(const WorldBounds& bounds, std::uint64_t count, std::uint64_t seed) {
    if (bounds.empty())
        throw std::runtime_error("the channel holds no data to choose random positions in");
    requireMemory(static_cast<double>(count) * sizeof(float3),
                  std::to_string(count) + " positions");
    Positions positions(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        const auto between = [&](std::uint64_t axis, double lower, double upper) {
            const auto u = Vantor::Sample::randomUnit<double>(3 * i + axis, seed);
            return static_cast<float>(lower + (upper - lower) * u);
        };
        positions[i] = {between(0, bounds.lower.x, bounds.upper.x),
                        between(1, bounds.lower.y, bounds.upper.y),
                        between(2, bounds.lower.z, bounds.upper.z)};
    }
    return positions;
}

Positions positionsFor(const SampleOptions& options, const WorldBounds& bounds) {
    if (options.randomCount > 0)
        return randomPositions(bounds, options.randomCount, options.seed);
    const Kelvane::Logger::timer timer("read positions");
    return readPositions(options.positions, options);
}

template <class T>
void writeValues(const SampleOptions& options, const char* column, const Positions& positions,
                 const Ostrum::Ptr<Ostrum::Array<T>>& values) {
    io::throwIfInterrupted();
    const Kelvane::Logger::timer timer("write samples");
    const auto format = outputFormat(options, options.common.json);
    io::Provenance provenance = options.provenance;
    provenance.inputs.push_back(options.common.file);
    if (!options.positions.empty())
        provenance.inputs.push_back(options.positions);
    if (format == io::SampleFormat::kCsv && !options.withProvenance)
        provenance = {};
    Results results(options.output);
    io::writeSamples(results.out(), format, io::SampleTable(column, positions, *values),
                     provenance);
    results.commit();
}

template <class T>
void sampleValues(const SampleOptions& options, const Vantor::Object& object,
                  const Positions& positions) {
    using Vantor::Math::ScalarOf;
    const T fallback =
        Vantor::Math::splat<T>(static_cast<ScalarOf<T>>(options.fallback.value_or(0)));
    Ostrum::Ptr<Ostrum::Array<T>> values;
    Geometry::Query::sample_volume(object, positions, fallback, options.channel,
                                   samplerNamed(options.sampler), values);
    writeValues(options, "value", positions, values);
}

template <class T>
void sampleGradients(const SampleOptions& options, const Vantor::Object& object,
                     const Positions& positions) {
    if constexpr (std::is_floating_point_v<T>) {
        using Gradient =
            std::conditional_t<std::is_same_v<T, double>, Vantor::Math::double3, float3>;
        Ostrum::Ptr<Ostrum::Array<Gradient>> gradients;
        Geometry::Query::sample_volume_gradient(
            object, positions, static_cast<T>(options.fallback.value_or(0)), options.channel,
            samplerNamed(options.sampler), gradients);
        writeValues(options, "gradient", positions, gradients);
    } else {
        throw std::runtime_error("channel '" + options.channel + "' is of type " +
                                 valueTypeName<T>() + "; only float and double have a gradient");
    }
}

template <class T>
void sampleAs(const SampleOptions& options, const Vantor::Object& object,
              const WorldBounds& bounds) {
    const Positions positions = positionsFor(options, bounds);
    io::throwIfInterrupted();
    if (options.gradient)
        sampleGradients<T>(options, object, positions);
    else
        sampleValues<T>(options, object, positions);
}

// The operator takes any sampler, and gives the default for those without gradients.
void warnWithoutGradients(const SampleOptions& options) {
    if (!options.common.quiet && options.gradient && options.sampler != "linear")
        warn("there are no gradients of the sampler '" + options.sampler +
             "': all are the default, " + io::jsonNumber(options.fallback.value_or(0)));
}

void runSample(SampleOptions options) {
    warnWithoutGradients(options);
    refuseReplacing(options.output, {options.common.file, options.positions});
    const Run run(options.common);
    Progress progress(options.common, 2);
    progress.step("reading the volume");
    const io::Volume volume = loadVolume(options.common);
    if (options.channel.empty())
        options.channel = volume.channels.front().name;
    progress.step("sampling");
    const auto sample = [&]<class Shape, class T>(const PlainChannel<Shape, T>& channel) {
        sampleAs<T>(options, *volume.object, boundsOf<Shape, T>(channel));
    };
    if (visitChannel(*volume.object, options.channel, sample))
        return;
    if (!options.fallback)
        failWithoutChannel(volume, options.channel);
    sampleAs<float>(options, *volume.object, {});
}

void addOptions(CLI::App& command, SampleOptions& options) {
    addVolumeOptions(command, options.common);
    command.add_option("-c,--channel", options.channel, "channel to sample; the first by default");
    auto* from = command.add_option_group("positions", "exactly one of");
    from->add_option("-p,--positions", options.positions,
                     "positions in world units: a .csv file of x,y,z or with a header that names "
                     "these columns, an .npy array of shape (N, 3) or of records with these "
                     "fields, or the vertices of a .ply file; - for standard input");
    from->add_option("--random", options.randomCount,
                     "this many random positions within the channel's bounds")
        ->check(isWhole<std::uint64_t>)
        ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 32));
    from->require_option(1);
    command.add_option("--seed", options.seed, "seed of the random positions")
        ->check(isWhole<std::uint64_t>)
        ->capture_default_str();
    addTableOptions(command, options, "positions");
    command.add_option("--default", options.fallback,
                       "value everywhere when there is no such channel, instead of an error");
}

} // namespace

void addSample(CLI::App& app, const io::Provenance& provenance) {
    auto options = std::make_shared<SampleOptions>();
    options->provenance = provenance;
    CLI::App* command = app.add_subcommand("sample", "Sample a channel at positions");
    addOptions(*command, *options);
    command->add_flag("--gradient", options->gradient,
                      "as the subcommand gradient does, which has gradients of linear only");
    command->add_option("--sampler", options->sampler, "how to interpolate")
        ->check(CLI::IsMember(samplerNames()))
        ->capture_default_str();
    command->footer("Example: stratum sample smoke.vdb --channel density --random 1000 -o out.ply");
    command->callback([options] { runSample(*options); });
}

void addGradient(CLI::App& app, const io::Provenance& provenance) {
    auto options = std::make_shared<SampleOptions>();
    options->provenance = provenance;
    options->gradient = true;
    CLI::App* command =
        app.add_subcommand("gradient", "Sample the gradient of a scalar channel at positions");
    addOptions(*command, *options);
    command
        ->add_option("--sampler", options->sampler,
                     "how to interpolate; there are gradients of linear only, and those of others "
                     "are the default everywhere, with a warning")
        ->check(CLI::IsMember(samplerNames()))
        ->capture_default_str();
    command->footer("Example: stratum gradient smoke.vdb -p points.ply -o gradients.npy");
    command->callback([options] { runSample(*options); });
}

} // namespace Stratum::tools
