// stratum demo: an embedded volume, sampled, checked and drawn.
#include "Results.h"
#include "commands.h"
#include "common/randomUnit.h"
#include "commonOptions.h"
#include "io/Cancelled.h"
#include "io/Sunflower.h"
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
    CommonOptions common{.file = "formula:sunflower", .grid = {}};
    std::string output = "stratum-demo.png";
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

void printSamples(Results& results, const io::Sunflower& field, const Positions& positions,
                  const Ostrum::Array<float>& values) {
    print(results, "\n%9s %9s %9s %12s %12s %12s\n", "x", "y", "z", "sampled", "exact", "error");
    double largest = 0, sum = 0;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const float3& p = positions[i];
        const double exact = field.density({p.x, p.y, p.z}), error = double{values[i]} - exact;
        largest = std::max(largest, std::abs(error));
        sum += error * error;
        if (i < kShownCount)
            print(results, "%9.5f %9.5f %9.5f %12.6f %12.6f %12.6f\n", double{p.x}, double{p.y},
                  double{p.z}, double{values[i]}, exact, error);
    }
    print(results, "root mean square error of %zu samples %.6f, largest %.6f\n\n", positions.size(),
          std::sqrt(sum / static_cast<double>(positions.size())), largest);
}

void drawPicture(const io::Volume& volume, const std::string& path) {
    PlaneOptions plane;
    plane.channel = "density";
    plane.at = 0;
    plane.size = 1000;
    plane.tiles = true;
    io::SlicePicture picture = slicePlane(volume, plane);
    picture.title = "A volume with voxels as fine as its detail";
    picture.subtitle = "the plane z = 0 of the embedded volume \"sunflower\"; squares are tiles";
    Results results(path);
    io::writePng(picture, results.out());
    results.commit();
}

void runDemo(const DemoOptions& options) {
    const Run run(options.common);
    Results results;
    auto start = Clock::now();
    const io::Volume volume = loadVolume(options.common);
    print(results, "built the volume \"sunflower\" in %.2f s\n", secondsSince(start));

    const io::Sunflower field;
    const Positions positions = positionsIn(field);
    Ostrum::Ptr<Ostrum::Array<float>> values;
    start = Clock::now();
    Geometry::Query::sample_volume(*volume.object, positions, 0.0F, "density",
                                   Geometry::Query::SamplerType::kLinear, values);
    io::throwIfCancelled();
    print(results, "sampled its channel \"density\" at %zu positions in %.2f s\n", positions.size(),
          secondsSince(start));
    printSamples(results, field, positions, *values);

    drawPicture(volume, options.output);
    if (options.output != "-")
        print(results, "the picture is in %s\n",
              std::filesystem::absolute(options.output).lexically_normal().c_str());
    results.commit();
}

} // namespace

void addDemo(CLI::App& app) {
    auto options = std::make_shared<DemoOptions>();
    CLI::App* command = app.add_subcommand("demo", "Sample and draw an embedded volume");
    addRunOptions(*command, options->common);
    command->add_option("-o,--output", options->output, "PNG file for the picture")
        ->capture_default_str();
    command->footer("Example: stratum demo -o picture.png");
    command->callback([options] { runDemo(*options); });
}

} // namespace Stratum::tools
