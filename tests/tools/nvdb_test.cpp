#include "support/files.h"
#include "support/operators.h"

#include "io/gridVolume.h"
#include "io/readNvdb.h"
#include "io/readVdb.h"

#include <nanovdb/util/IO.h>
#include <nanovdb/util/OpenToNanoVDB.h>
#include <openvdb/tools/LevelSetSphere.h>

namespace {

using namespace Stratum::io;
using Stratum::test::failureOf;
using Stratum::test::TemporaryFile;
using StratumTest::sampled;
using Vantor::Math::float3;

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

TEST(Nvdb, GivesWhatTheSameGridsInAVdbFileGive) {
    const TemporaryFile nvdbFile(".nvdb"), vdbFile(".vdb");
    const auto grids = someGrids();
    std::vector<nanovdb::GridHandle<>> handles;
    for (const auto& grid : grids)
        handles.push_back(nanovdb::openToNanoVDB(grid));
    nanovdb::io::writeGrids(nvdbFile.path, handles);
    openvdb::io::File(vdbFile.path).write(grids);
    const auto positions = StratumTest::somePositions(100'000, 55);
    for (const TreeShape shape : {TreeShape::kTwo, TreeShape::kFive}) {
        const Volume nvdb = readNvdb(nvdbFile.path, {.shape = shape, .grid = {}}),
                     vdb = readVdb(vdbFile.path, {.shape = shape, .grid = {}});
        const auto expectSame = [&]<class T>(T, const char* name) {
            EXPECT_EQ(*sampled<T>(*nvdb.object, positions, name),
                      *sampled<T>(*vdb.object, positions, name))
                << name;
        };
        expectSame(0.0F, "ball");
        expectSame(float3(), "flow");
        expectSame(0.0, "counts");
        EXPECT_EQ(nvdb.warnings, vdb.warnings);
    }
}

TEST(Nvdb, DamageIsFoundBeforeItIsFollowed) {
    const TemporaryFile file(".nvdb");
    nanovdb::io::writeGrid(file.path, nanovdb::openToNanoVDB(someGrids()[1]));
    const std::string good = file.get();
    const auto expectFailure = [&](const std::string& bytes, const char* words) {
        file.put(bytes);
        const std::string message = failureOf([&] { readNvdb(file.path); });
        EXPECT_NE(message.find(words), std::string::npos) << message;
    };
    for (const std::size_t size :
         {std::size_t{7}, std::size_t{100}, good.size() / 2, good.size() - 1})
        expectFailure(good.substr(0, size), "it is cut short");
    for (const char* foreign : {"", "these are words, not voxels"})
        expectFailure(foreign, "it is no .nvdb file");
    std::string claim = good; // a grid of 2^62 bytes
    claim[16 + 15] = 0x40;
    expectFailure(claim, "it is cut short");
    std::string compressed = good;
    compressed[14] = 1;
    expectFailure(compressed, "it is compressed");

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
        expectFailure(bytes, "it is damaged");
    }
}

TEST(GridNames, CostNoMoreWhenAllAreEqual) {
    UniqueNames names;
    EXPECT_EQ(names.add("a[2]"), "a[2]");
    for (int i = 0; i < 200000; ++i) // each against all before it would take hours
        names.add("a");
    EXPECT_EQ(names.add("a"), "a[200001]");
    EXPECT_EQ(names.add(""), "unnamed");
}

} // namespace
