// Reading .vdb files: one step a process, so that each has a peak of memory of its own. import.py
// runs the steps in turns.
#include "KDX/Channel.h"
#include "common/randomUnit.h"
#include "io/readVdb.h"
#include "ops/sample_volume.h"

#include <sys/resource.h>

#include <openvdb/openvdb.h>
#include <openvdb/tools/Dense.h>
#include <openvdb/tools/LevelSetSphere.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

using KDX::TileTree3D::Traits;
using Stratum::io::TreeShape;
using Vantor::Math::float3;

// A line such as "VmHWM:  1234 kB" of what the system says about this process, in bytes.
double processMemory(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string word;
    double amount = 0;
    while (status >> word)
        if (word == name + ":" && status >> amount)
            return amount * 1024;
    return 0;
}

// Makes the peak of memory what is held now.
void forgetPeak() {
    std::ofstream("/proc/self/clear_refs") << 5;
}

void print(const char* name, double value) {
    std::printf("%s %.6g\n", name, value);
}

// What the process's threads have computed, in the system too.
double processorMilliseconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto of = [](const timeval& t) {
        return 1e3 * static_cast<double>(t.tv_sec) + 1e-3 * static_cast<double>(t.tv_usec);
    };
    return of(usage.ru_utime) + of(usage.ru_stime);
}

class Clock {
public:
    void printAs(const std::string& name) const {
        const std::chrono::duration<double, std::milli> elapsed =
            std::chrono::steady_clock::now() - start_;
        print((name + "ms").c_str(), elapsed.count());
        print((name + "processor-ms").c_str(), processorMilliseconds() - processorStart_);
    }

private:
    double processorStart_ = processorMilliseconds();
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// A cube of smooth values that no two voxels share, so that none of it can be left out.
openvdb::FloatGrid::Ptr denseGrid(int edge) {
    const openvdb::CoordBBox box(openvdb::Coord(0), openvdb::Coord(edge - 1));
    openvdb::tools::Dense<float, openvdb::tools::LayoutZYX> values(box);
    for (int x = 0; x < edge; ++x)
        for (int y = 0; y < edge; ++y)
            for (int z = 0; z < edge; ++z)
                values.setValue(x, y, z,
                                1 + 0.3F * std::sin(0.05F * static_cast<float>(x)) +
                                    0.2F * std::sin(0.07F * static_cast<float>(y)) *
                                        std::cos(0.03F * static_cast<float>(z)));
    auto grid = openvdb::FloatGrid::create(0);
    openvdb::tools::copyFromDense(values, *grid, 0.0F);
    return grid;
}

// `kind` is "dense", with the edge of a cube, or "band", with the radius of a sphere. Samples lie
// on the corners of voxels.
void make(const std::string& kind, int size, const std::string& path, bool compressed) {
    auto grid = kind == "dense" ? denseGrid(size)
                                : openvdb::tools::createLevelSetSphere<openvdb::FloatGrid>(
                                      static_cast<float>(size), openvdb::Vec3f(0), 1.0F);
    grid->setName("density");
    openvdb::io::File file(path);
    file.setCompression(compressed ? openvdb::io::COMPRESS_ACTIVE_MASK | openvdb::io::COMPRESS_BLOSC
                                   : openvdb::io::COMPRESS_NONE);
    file.write({grid});
    print("voxels", static_cast<double>(grid->activeVoxelCount()));
    print("leaf-bytes", static_cast<double>(grid->tree().leafCount()) * 512 * sizeof(float));
}

openvdb::FloatGrid::Ptr readPeer(const std::string& path) {
    openvdb::io::File file(path);
    file.open(/*delayLoad=*/false);
    return openvdb::gridPtrCast<openvdb::FloatGrid>(file.readGrid("density"));
}

void peer(const std::string& path) {
    const Clock clock;
    const auto grid = readPeer(path);
    clock.printAs("");
    print("peak", processMemory("VmHWM"));
}

Ostrum::Array<float3> positionsIn(const openvdb::CoordBBox& box, std::size_t count) {
    Ostrum::Array<float3> positions(count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto at = [&](std::size_t axis) {
            const int lower = box.min()[static_cast<int>(axis)],
                      upper = box.max()[static_cast<int>(axis)];
            const double u = Vantor::Sample::randomUnit<double>(3 * i + axis, 7);
            return static_cast<float>(lower + u * (upper - lower));
        };
        positions[i] = {at(0), at(1), at(2)};
    }
    return positions;
}

// Samples where there are data and prints what that takes.
template <class Shape>
void sampleData(const Vantor::Object& object, const openvdb::CoordBBox& box) {
    using Plain = KDX::TileTree3D::Channel<Shape, float, Shape::kVoxelsPerAxis, 0, 0>;
    const auto channel = object.volumeParts().component<Plain>("density");
    print("stored", static_cast<double>(channel->elementCount(-1)) * sizeof(float));
    const auto tiles = channel->tree()->tiles(Shape::kFinestDepth);
    auto positions = positionsIn(box, 1000000);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const auto& tile = tiles[i * 7919 % tiles.size()].tijk();
        float3& p = positions[i];
        p = {p.x + static_cast<float>(tile.x), p.y + static_cast<float>(tile.y),
             p.z + static_cast<float>(tile.z)};
    }
    Ostrum::Ptr<Ostrum::Array<float>> values;
    forgetPeak();
    const Clock sampling;
    Geometry::Query::sample_volume(object, positions, 0.0F, "density",
                                   Geometry::Query::SamplerType::kLinear, values);
    sampling.printAs("sampling-");
    print("sampling-peak", processMemory("VmHWM"));
}

void ours(const std::string& path, TreeShape shape, bool samples) {
    print("start", processMemory("VmRSS"));
    const Clock clock;
    const auto volume = Stratum::io::readVdb(path, {.shape = shape, .grid = {}});
    clock.printAs("");
    print("peak", processMemory("VmHWM"));
    print("held", processMemory("VmRSS"));
    if (!samples)
        return;
    const openvdb::CoordBBox inTile(openvdb::Coord(0), openvdb::Coord(4));
    if (shape == TreeShape::kTwo)
        sampleData<Traits<2, 4, 1>>(*volume.object, inTile);
    else
        sampleData<Traits<5, 5, 1>>(*volume.object, inTile);
}

// A million voxels in the file's bounds have the peer's values.
void check(const std::string& path, TreeShape shape) {
    const auto volume = Stratum::io::readVdb(path, {.shape = shape, .grid = {}});
    const auto grid = readPeer(path);
    const auto accessor = grid->getConstAccessor();
    Ostrum::Array<float3> positions =
        positionsIn(grid->evalActiveVoxelBoundingBox(), std::size_t{1} << 20);
    for (float3& p : positions)
        p = {std::round(p.x), std::round(p.y), std::round(p.z)};
    Ostrum::Ptr<Ostrum::Array<float>> values;
    Geometry::Query::sample_volume(*volume.object, positions, 0.0F, "density",
                                   Geometry::Query::SamplerType::kLinear, values);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const openvdb::Coord ijk(static_cast<int>(positions[i].x), static_cast<int>(positions[i].y),
                                 static_cast<int>(positions[i].z));
        if ((*values)[i] != accessor.getValue(ijk))
            throw std::runtime_error("the answers differ");
    }
}

void run(const std::string& step, const std::string& path, int argc, char** argv) {
    const auto shape = argc > 3 && std::string(argv[3]) == "5" ? TreeShape::kFive : TreeShape::kTwo;
    if (step == "dense" || step == "band")
        make(step, std::atoi(argv[3]), path, std::string(argv[4]) == "compressed");
    else if (step == "peer")
        peer(path);
    else if (step == "sample")
        ours(path, shape, /*samples=*/true);
    else if (step == "import")
        ours(path, shape, /*samples=*/false);
    else if (step == "check")
        check(path, shape);
    else
        throw std::invalid_argument("no such step");
}

} // namespace

int main(int argc, char** argv) {
    try {
        openvdb::initialize();
        run(argc > 1 ? argv[1] : "", argc > 2 ? argv[2] : "", argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "stratum_bench_import: %s\n", error.what());
        return 1;
    }
}
