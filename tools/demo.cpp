// stratum demo: embedded volumes and a mesh, scattered on, sampled, checked and drawn.
#include "Results.h"
#include "Terminal.h"
#include "commands.h"
#include "common/randomUnit.h"
#include "commonOptions.h"
#include "demoChain.h"
#include "io/Cancelled.h"
#include "io/Sunflower.h"
#include "io/provenanceJson.h"
#include "ops/sample_volume.h"
#include "slicePlane.h"

#include <CLI/App.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace Stratum::tools {

namespace {

using Vantor::Math::float3;
using Clock = std::chrono::steady_clock;
using Positions = Ostrum::Array<float3>;

constexpr std::size_t kSampleCount = 1000000, kShownCount = 8;

struct DemoOptions {
    CommonOptions common{.file = "formula:sunflower", .grid = {}, .tolerance = {}};
    std::string output = "stratum-demo.png", sampler = "linear";
    io::Provenance provenance;
};

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

template <class... Arguments>
void print(Results& results, const char* pattern, Arguments... arguments) {
    std::array<char, 256> text{};
    std::snprintf(text.data(), text.size(), pattern, arguments...);
    results.out().write(text.data());
}

// Random positions inside the seeds, a little way out of their plane.
Positions positionsIn(const io::Sunflower& field) {
    Positions positions(kSampleCount);
    const auto& seeds = field.seeds();
    for (std::size_t i = 0; i < kSampleCount; ++i) {
        const auto& seed = seeds[i * 29 % seeds.size()];
        const auto within = [&](std::uint64_t axis, double centre) {
            const auto u = Vantor::Sample::randomUnit<double>(3 * i + axis, 1);
            return static_cast<float>(centre + seed.radius * (u - 0.5));
        };
        positions[i] = {within(0, seed.centre.x), within(1, seed.centre.y),
                        within(2, seed.centre.z)};
    }
    return positions;
}

struct Errors {
    double largest = 0, rootMeanSquare = 0;
};

Errors errorsOf(const io::Sunflower& field, const Positions& positions,
                const Ostrum::Array<float>& values) {
    Errors errors;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const float3& p = positions[i];
        const double error = double{values[i]} - field.density({p.x, p.y, p.z});
        errors.largest = std::max(errors.largest, std::abs(error));
        errors.rootMeanSquare += error * error;
    }
    errors.rootMeanSquare =
        std::sqrt(errors.rootMeanSquare / static_cast<double>(positions.size()));
    return errors;
}

void printSamples(Results& results, const io::Sunflower& field, const Positions& positions,
                  const Ostrum::Array<float>& values) {
    print(results, "\n%9s %9s %9s %12s %12s %12s\n", "x", "y", "z", "sampled", "exact", "error");
    for (std::size_t i = 0; i < kShownCount; ++i) {
        const float3& p = positions[i];
        const double exact = field.density({p.x, p.y, p.z}), error = double{values[i]} - exact;
        print(results, "%9.5f %9.5f %9.5f %12.6f %12.6f %12.6f\n", double{p.x}, double{p.y},
              double{p.z}, double{values[i]}, exact, error);
    }
}

void drawPicture(const io::Volume& volume, const DemoOptions& options) {
    PlaneOptions plane;
    plane.channel = "density";
    plane.at = 0;
    plane.size = 1000;
    plane.tiles = true;
    plane.samplers = {samplerNamed(options.sampler)};
    auto pictures = slicePlane(volume, plane);
    pictures[0].title = "A volume with voxels as fine as its detail";
    pictures[0].subtitle =
        "the plane z = 0 of the embedded volume \"sunflower\"; squares are tiles";
    Results results(options.output);
    io::writePng(pictures, results.out());
    results.commit();
}

// Beside the first picture.
std::string secondPicture(const std::string& first) {
    const std::filesystem::path path(first);
    return (path.parent_path() / (path.stem().string() + "-locations.png")).string();
}

std::string absolute(const std::string& file) {
    return std::filesystem::absolute(file).lexically_normal().string();
}

void printChain(Results& results, const DemoChain& chain) {
    print(results,
          "scattered %zu locations in the fog of the volume \"tube\", masked by its density, and "
          "%zu on\nthe mesh \"knot\", masked by bands; sampled the tube's channels there in %.2f "
          "s\n",
          chain.inVolume, chain.onMesh, chain.seconds);
    print(results,
          "%zu of them lie inside its data; the mean density in the fog is %.3f (%.3f expected),\n"
          "and the mesh, which is the tube's surface, is at most %.5f away from it\n\n",
          chain.inside, chain.meanDensity, DemoChain::kExpectedDensity, chain.surfaceError);
}

void runDemo(const DemoOptions& options) {
    if (options.common.json && options.output == "-")
        throw CLI::ValidationError("--json", "the standard output is for the picture already");
    const Run run(options.common);
    Progress progress(options.common, 4);
    progress.step("building the volume");
    auto start = Clock::now();
    const io::Volume volume = loadVolume(options.common);
    const double buildSeconds = secondsSince(start);

    progress.step("sampling");
    const io::Sunflower field;
    const Positions positions = positionsIn(field);
    Ostrum::Ptr<Ostrum::Array<float>> values;
    start = Clock::now();
    Geometry::Query::sample_volume(*volume.object, positions, 0.0F, "density",
                                   samplerNamed(options.sampler), values);
    io::throwIfInterrupted();
    const double sampleSeconds = secondsSince(start);
    const Errors errors = errorsOf(field, positions, *values);

    progress.step("drawing");
    drawPicture(volume, options);
    if (options.output == "-")
        return;
    progress.step("scattering");
    const std::string second = secondPicture(options.output);
    Results secondResults(second);
    const DemoChain chain = runDemoChain(options.common, secondResults);
    secondResults.commit();
    progress.finish();
    Results results;
    const std::string path = absolute(options.output);
    if (options.common.json) {
        io::Provenance provenance = options.provenance;
        provenance.inputs.push_back(options.common.file);
        results.out().write(
            "{" + io::provenanceJson(provenance) + ",\n \"picture\": " + io::jsonText(path) +
            ", \"samples\": " + std::to_string(positions.size()) +
            ", \"root_mean_square_error\": " + io::jsonNumber(errors.rootMeanSquare) +
            ", \"largest_error\": " + io::jsonNumber(errors.largest) +
            ",\n \"locations_picture\": " + io::jsonText(absolute(second)) +
            ", \"locations\": " + std::to_string(chain.inVolume + chain.onMesh) +
            ", \"inside\": " + std::to_string(chain.inside) +
            ", \"mean_density\": " + io::jsonNumber(chain.meanDensity) +
            ", \"surface_error\": " + io::jsonNumber(chain.surfaceError) + "}\n");
        return results.commit();
    }
    print(results,
          "built the volume \"sunflower\" in %.2f s\nsampled its channel \"density\" at %zu "
          "positions "
          "in %.2f s\n",
          buildSeconds, positions.size(), sampleSeconds);
    printSamples(results, field, positions, *values);
    print(results, "root mean square error of %zu samples %.6f, largest %.6f\n\n", positions.size(),
          errors.rootMeanSquare, errors.largest);
    printChain(results, chain);
    results.out().write("the pictures are in " + path + "\nand " + absolute(second) + "\n");
    results.commit();
}

} // namespace

void addDemo(CLI::App& app, const io::Provenance& provenance) {
    auto options = std::make_shared<DemoOptions>();
    options->provenance = provenance;
    CLI::App* command =
        app.add_subcommand("demo", "Scatter on an embedded volume and mesh, sample and draw them");
    addShapeOption(*command, options->common);
    addRunOptions(*command, options->common);
    command->add_option("--sampler", options->sampler, "how to interpolate")
        ->check(CLI::IsMember(samplerNames()))
        ->capture_default_str();
    command
        ->add_option(
            "-o,--output", options->output,
            "PNG file for the first picture; the second is beside it, with -locations before "
            ".png. With - there is the first one alone, on standard output")
        ->capture_default_str();
    command->footer("Example: stratum demo -o picture.png");
    command->callback([options] { runDemo(*options); });
}

} // namespace Stratum::tools
