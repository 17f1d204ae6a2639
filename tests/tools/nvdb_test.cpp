#include "io/readNvdb.h"
#include "io/readVdb.h"
#include "ops/sample_volume.h"

#include "common/randomUnit.h"

#include <gtest/gtest.h>

#include <nanovdb/util/IO.h>
#include <nanovdb/util/OpenToNanoVDB.h>
#include <openvdb/tools/LevelSetSphere.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace Stratum::io;
using Vantor::Math::float3;

std::string pathOf(const char* extension) {
    return testing::TempDir() + "stratum_" + std::to_string(::getpid()) + extension;
}

std::string failureOf(const std::string& path) {
    try {
        readNvdb(path);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no failure";
}

// A ball with constant tiles inside and around it, voxels at negative indices, half-voxel offsets.
openvdb::GridPtrVec someGrids() {
    openvdb::initialize();
    auto ball = openvdb::tools::createLevelSetSphere<openvdb::FloatGrid>(30, {5, -10, 3}, 1);
    ball->fill(openvdb::CoordBBox(openvdb::Coord(64, 0, -64), openvdb::Coord(127, 63, -1)), 2.5F);
    auto flow = openvdb::Vec3SGrid::create(openvdb::Vec3s(1, 2, 3));
    auto counts = openvdb::Int64Grid::create(-3);
    for (int i = 0; i < 3000; ++i) {
        const openvdb::Coord at(-20 + i % 13, i / 13 % 17, i / 221);
        flow->tree().setValue(at, openvdb::Vec3s(static_cast<float>(i), 1, 0.5F));
        counts->tree().setValue(at, i * i);
    }
    ball->setName("ball");
    flow->setName("flow");
    counts->setName("counts");
    openvdb::GridPtrVec grids{ball, flow, counts};
    for (const auto& grid : grids) {
        grid->setTransform(openvdb::math::Transform::createLinearTransform(0.5));
        grid->transform().postTranslate({0.25, -1, 0.75});
    }
    return grids;
}

template <class T>
Ostrum::Array<T> sample(const Volume& volume, const char* channel) {
    Ostrum::Array<float3> positions(100000);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const auto u = [i](std::size_t axis) {
            return 100 * Vantor::Sample::randomUnit<float>(3 * i + axis, 7) - 40;
        };
        positions[i] = {u(0), u(1), u(2)};
    }
    Ostrum::Ptr<Ostrum::Array<T>> values;
    Geometry::Query::sample_volume(*volume.object, positions, T{}, channel,
                                   Geometry::Query::SamplerType::kLinear, values);
    return *values;
}

TEST(Nvdb, GivesWhatTheSameGridsInAVdbFileGive) {
    const std::string path = pathOf(".nvdb"), vdbPath = pathOf(".vdb");
    const auto grids = someGrids();
    std::vector<nanovdb::GridHandle<>> handles;
    for (const auto& grid : grids)
        handles.push_back(nanovdb::openToNanoVDB(grid));
    nanovdb::io::writeGrids(path, handles);
    openvdb::io::File(vdbPath).write(grids);
    for (const TreeShape shape : {TreeShape::kTwo, TreeShape::kFive}) {
        const Volume volume = readNvdb(path, {.shape = shape, .grid = {}});
        const Volume vdb = readVdb(vdbPath, {.shape = shape, .grid = {}});
        EXPECT_EQ(sample<float>(volume, "ball"), sample<float>(vdb, "voxel_signed_distance"));
        EXPECT_EQ(sample<float3>(volume, "flow"), sample<float3>(vdb, "flow"));
        EXPECT_EQ(sample<double>(volume, "counts"), sample<double>(vdb, "counts"));
        EXPECT_EQ(volume.warnings, vdb.warnings);
    }
    std::filesystem::remove(path);
    std::filesystem::remove(vdbPath);
}

TEST(Nvdb, DamageIsFoundBeforeItIsFollowed) {
    const std::string path = pathOf(".nvdb");
    nanovdb::io::writeGrid(path, nanovdb::openToNanoVDB(someGrids()[1]));
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    const std::string good = text.str();
    const auto put = [&](const std::string& bytes) {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    };
    for (const std::size_t size :
         {std::size_t{7}, std::size_t{100}, good.size() / 2, good.size() - 1}) {
        put(good.substr(0, size));
        EXPECT_NE(failureOf(path).find("it is cut short"), std::string::npos) << failureOf(path);
    }
    for (const char* foreign : {"", "these are words, not voxels"}) {
        put(foreign);
        EXPECT_NE(failureOf(path).find("it is no .nvdb file"), std::string::npos)
            << failureOf(path);
    }
    std::string claim = good; // a grid of 2^62 bytes
    claim[16 + 15] = 0x40;
    put(claim);
    EXPECT_NE(failureOf(path).find("it is cut short"), std::string::npos) << failureOf(path);
    std::string compressed = good;
    compressed[14] = 1;
    put(compressed);
    EXPECT_NE(failureOf(path).find("it is compressed"), std::string::npos) << failureOf(path);

    // Where the root says that its first child is; the file's header and its table take 16 + 176
    // bytes and the name.
    const std::size_t grid = 16 + 176 + sizeof("flow");
    using Tree = nanovdb::NanoTree<nanovdb::Vec3f>;
    std::uint64_t root = 0;
    std::memcpy(&root, good.data() + grid + sizeof(nanovdb::GridData) + 24, 8);
    using RootData = Tree::RootType::DataType;
    const std::size_t tile = grid + sizeof(nanovdb::GridData) + root + sizeof(RootData);
    for (const std::int64_t wrong :
         {std::int64_t{-64}, std::int64_t{32}, std::int64_t{33}, std::int64_t{1} << 40,
          std::numeric_limits<std::int64_t>::min()}) {
        std::string bytes = good;
        std::memcpy(bytes.data() + tile + offsetof(RootData::Tile, child), &wrong, 8);
        put(bytes);
        EXPECT_NE(failureOf(path).find("it is damaged"), std::string::npos) << failureOf(path);
    }
    std::filesystem::remove(path);
}

} // namespace
