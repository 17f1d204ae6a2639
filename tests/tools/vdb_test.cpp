#include "support/files.h"
#include "support/operators.h"

#include "io/byteOrder.h"
#include "io/readVdb.h"

#include <openvdb/io/Stream.h>
#include <openvdb/openvdb.h>
#include <openvdb/tools/Interpolation.h>
#include <openvdb/tools/LevelSetSphere.h>

#include <tuple>

namespace {

using namespace Stratum::io;
using KDX::TileTree3D::Channel;
using openvdb::Coord;
using openvdb::CoordBBox;
using openvdb::math::Transform;
using Stratum::test::failureOf;
using StratumTest::sampled;
using StratumTest::Traits;
using Vantor::Math::float3;

struct VdbFile : Stratum::test::TemporaryFile {
    VdbFile() : TemporaryFile(".vdb") { openvdb::initialize(); }
    void write(const openvdb::GridPtrVec& grids) const { openvdb::io::File(path).write(grids); }
};

template <class GridT>
typename GridT::Ptr named(typename GridT::Ptr grid, const std::string& name) {
    grid->setName(name);
    return grid;
}

// A narrow band with constant tiles inside, active tiles, and rough values at negative indices.
openvdb::FloatGrid::Ptr roughGrid() {
    auto grid = openvdb::tools::createLevelSetSphere<openvdb::FloatGrid>(45, {30, 20, 10}, 1);
    grid->fill(CoordBBox(Coord(100, -30, -40), Coord(170, 50, 90)), 2.5F, true);
    auto accessor = grid->getAccessor();
    for (int i = 0; i < 20000; ++i)
        accessor.setValue(Coord(-90 + i % 29, -70 + i / 29 % 31, -50 + i / 899),
                          Vantor::Sample::randomUnit<float>(static_cast<std::uint64_t>(i), 3));
    return grid;
}

class AgreesWithBoxSampler
    : public testing::TestWithParam<std::tuple<TreeShape, openvdb::Vec3d, double>> {};

// A voxel size that is a power of two keeps positions exact, so that what remains is the rounding
// of the interpolation itself.
TEST_P(AgreesWithBoxSampler, AtAMillionPositions) {
    const auto& [shape, translation, voxelSize] = GetParam();
    auto transform = Transform::createLinearTransform(voxelSize);
    transform->postTranslate(translation * voxelSize);
    const auto rough = named<openvdb::FloatGrid>(roughGrid(), "rough");
    const auto small = named<openvdb::Vec3SGrid>(openvdb::Vec3SGrid::create({1, 2, 3}), "small");
    small->fill(CoordBBox(Coord(20, 10, 0), Coord(70, 40, 30)), {-1, 0.5F, 7}, true);
    rough->setTransform(transform);
    small->setTransform(transform);
    VdbFile file;
    file.write({rough, small});
    const Volume volume = readVdb(file.path, {.shape = shape, .grid = {}});

    const auto positions = StratumTest::somePositions(1000000, 140 * voxelSize);
    const auto values = sampled<float>(*volume.object, positions, "rough");
    const auto vectors = sampled<float3>(*volume.object, positions, "small");
    const auto accessor = rough->getConstAccessor();
    const auto smallAccessor = small->getConstAccessor();
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const auto ijk =
            rough->worldToIndex(openvdb::Vec3d(positions[i].x, positions[i].y, positions[i].z));
        ASSERT_NEAR((*values)[i], openvdb::tools::BoxSampler::sample(accessor, ijk), 4e-6)
            << "at index " << ijk;
        const auto vector = openvdb::tools::BoxSampler::sample(smallAccessor, ijk);
        ASSERT_NEAR((*vectors)[i].x, vector[0], 4e-6) << "at index " << ijk;
        ASSERT_NEAR((*vectors)[i].y, vector[1], 4e-6) << "at index " << ijk;
        ASSERT_NEAR((*vectors)[i].z, vector[2], 4e-6) << "at index " << ijk;
    }
}

INSTANTIATE_TEST_SUITE_P(Vdb, AgreesWithBoxSampler,
                         testing::Combine(testing::Values(TreeShape::kTwo, TreeShape::kFive),
                                          testing::Values(openvdb::Vec3d(0, 0, 0),
                                                          openvdb::Vec3d(-7.5, 0.5, 12.5),
                                                          openvdb::Vec3d(3, -0.5, 40)),
                                          testing::Values(0.25)));

TEST(Vdb, ConstantRegionsAreCoarseAndTheirRimIsFine) {
    VdbFile file;
    file.write({named<openvdb::FloatGrid>(roughGrid(), "rough")});
    const Volume volume = readVdb(file.path);
    using Plain = Channel<Traits<2, 4, 1>, float, 4, 0, 0>;
    const auto channel = volume.object->volumeParts().component<Plain>("rough");
    ASSERT_TRUE(channel);
    EXPECT_EQ(channel->depth(), 28);
    EXPECT_LE(channel->minDepth(), 26);
    // Finest tiles alone would take more than the block, 71 * 81 * 131 voxels, and the ball with
    // its band, 4/3 pi 48^3: together 1.2 million.
    EXPECT_LT(channel->elementCount(-1), 900000);
}

TEST(Vdb, NamesAndTypesOfChannels) {
    const auto level = named<openvdb::FloatGrid>(roughGrid(), "surface");
    const auto density = named<openvdb::DoubleGrid>(openvdb::DoubleGrid::create(0.5), "density");
    const auto other = named<openvdb::FloatGrid>(openvdb::FloatGrid::create(4), "density");
    other->setGridClass(openvdb::GRID_STAGGERED);
    const auto counts = openvdb::Int64Grid::create(-3);
    const auto flags = named<openvdb::BoolGrid>(openvdb::BoolGrid::create(), "flags");
    counts->tree().setValue(Coord(2, 3, 4), 1LL << 40);
    VdbFile file;
    file.write({level, density, other, counts, flags});
    const Volume volume = readVdb(file.path);

    const Ostrum::Array<float3> positions{{2, 3, 4}};
    const auto at = [&]<class T>(const std::string& name, T) {
        return (*sampled<T>(*volume.object, positions, name))[0];
    };
    EXPECT_EQ(at(Vantor::Geometry::sVoxelSignedDistance.str(), 0.0F), at("surface", 0.0F));
    EXPECT_LT(at("surface", 0.0F), 0);
    EXPECT_EQ(at(Vantor::Geometry::sVoxelFogDensity.str(), 0.0), 0.5);
    EXPECT_EQ(at("density[1]", 0.0F), 4);
    EXPECT_EQ(at("unnamed", 0.0), 0x1p40);
    ASSERT_EQ(volume.warnings.size(), 2U);
    EXPECT_NE((volume.warnings[0] + volume.warnings[1]).find("grid 'flags' is left out"),
              std::string::npos);
}

// Leaves whose voxels go once they are read: those of one value throughout, which coarse tiles take
// theirs from, and those that many tiles share because voxels are shifted against them.
TEST(Vdb, EveryVoxelArrivesWhateverTilesShareItsLeaf) {
    const auto grid = named<openvdb::FloatGrid>(roughGrid(), "rough");
    grid->fill(CoordBBox(Coord(-64, 64, 0), Coord(-1, 127, 63)), -2, true);
    grid->tree().voxelizeActiveTiles();
    const CoordBBox box = grid->evalActiveVoxelBoundingBox();
    VdbFile file;
    for (const int shift : {0, 3}) {
        const auto transform = Transform::createLinearTransform(1);
        transform->postTranslate(openvdb::Vec3d(shift, 2 * shift, -shift));
        grid->setTransform(transform);
        file.write({grid});
        Ostrum::Array<float3> positions;
        std::vector<float> expected;
        const auto accessor = grid->getConstAccessor();
        for (auto ijk = box.begin(); ijk; ++ijk) {
            positions.push_back({static_cast<float>((*ijk).x() + shift),
                                 static_cast<float>((*ijk).y() + 2 * shift),
                                 static_cast<float>((*ijk).z() - shift)});
            expected.push_back(accessor.getValue(*ijk));
        }
        for (const TreeShape shape : {TreeShape::kTwo, TreeShape::kFive}) {
            const auto values = sampled<float>(
                *readVdb(file.path, {.shape = shape, .grid = {}}).object, positions, "rough");
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), values->begin()))
                << "shift " << shift << ", shape " << static_cast<int>(shape);
        }
    }
}

// Grids that share their voxels, in a file that can be read in parts and in one that cannot.
TEST(Vdb, GridsMayShareTheirVoxels) {
    const auto first = named<openvdb::FloatGrid>(roughGrid(), "first");
    const auto second = named<openvdb::FloatGrid>(
        openvdb::FloatGrid::create(openvdb::FloatGrid::TreeType::Ptr(first->treePtr())),
        "a second");
    VdbFile file;
    const auto positions = StratumTest::somePositions(1000, 140);
    const auto expectBoth = [&](const char* how) {
        const Volume volume = readVdb(file.path);
        const auto a = sampled<float>(*volume.object, positions, "first"),
                   b = sampled<float>(*volume.object, positions, "a second");
        EXPECT_TRUE(std::equal(a->begin(), a->end(), b->begin())) << how;
        EXPECT_EQ(volume.channels.front().name, "a second") << "in the order of their names";
        EXPECT_EQ((*sampled<float>(
                      *readVdb(file.path, {.shape = TreeShape::kTwo, .grid = "first"}).object,
                      positions, "first"))[5],
                  (*a)[5]);
    };
    file.write({first, second});
    expectBoth("in parts");
    std::ofstream out(file.path, std::ios::binary);
    // A grid that cannot be read is no hindrance where no other comes after it.
    openvdb::io::Stream(out).write(openvdb::GridPtrVec{first, second, openvdb::MaskGrid::create()});
    out.close();
    expectBoth("as a whole");
}

TEST(Vdb, RefusesTransformsThatTilesCannotFollow) {
    const auto affine = [](const openvdb::Mat4d& m) { return Transform::createLinearTransform(m); };
    const auto scaled = [&](double x, double y, double z) {
        openvdb::Mat4d m = openvdb::Mat4d::identity();
        m.setToScale(openvdb::Vec3d(x, y, z));
        return affine(m);
    };
    const auto rotated = Transform::createLinearTransform(1);
    rotated->preRotate(0.3, openvdb::math::Y_AXIS);
    const auto third = Transform::createLinearTransform(1);
    third->postTranslate({0, 0, 1 / 3.0});
    const auto frustum = Transform::createFrustumTransform(
        openvdb::BBoxd(openvdb::Vec3d(0), openvdb::Vec3d(9)), 0.5, 10);
    const std::pair<Transform::Ptr, std::string> cases[] = {
        {scaled(1, 1, 2), "its scale differs between the axes"},
        {scaled(1, -1, 1), "its scale is not positive"},
        {rotated, "a rotation or a shear"},
        {third, "its translation along z is no multiple of half a voxel"},
        {frustum, "it is a frustum"},
    };
    const auto failure = [](const VdbFile& file) { return failureOf([&] { readVdb(file.path); }); };
    const auto odd = named<openvdb::FloatGrid>(openvdb::FloatGrid::create(), "odd");
    odd->tree().setValue(Coord(1, 1, 1), 5);
    VdbFile file;
    for (const auto& [transform, words] : cases) {
        odd->setTransform(transform);
        file.write({odd});
        EXPECT_NE(failure(file).find("grid 'odd'"), std::string::npos);
        EXPECT_NE(failure(file).find(words), std::string::npos) << failure(file);
    }
    odd->setTransform(Transform::createLinearTransform(2));
    file.write({named<openvdb::FloatGrid>(openvdb::FloatGrid::create(), "even"), odd});
    EXPECT_NE(failure(file).find("grids 'even' and 'odd' have different transforms; choose one"),
              std::string::npos);
    const Volume chosen = readVdb(file.path, {.shape = TreeShape::kFive, .grid = "odd"});
    EXPECT_EQ((*sampled<float>(*chosen.object, {{2, 2, 2}}, "odd"))[0], 5);
}

// Where a run of compressed values begins, after its size: zlib streams and Blosc blocks are known
// by their first bytes and by their sizes.
std::vector<std::size_t> runsIn(const std::string& file, bool isBlosc) {
    std::vector<std::size_t> runs;
    for (std::size_t at = 8; at + 16 < file.size(); ++at) {
        const auto claim = loadAs<std::int64_t>(&file[at - 8], std::endian::little);
        const bool isRun =
            isBlosc ? file[at] == 2 &&
                          claim == loadAs<std::uint32_t>(&file[at + 12], std::endian::little)
                    : file[at] == 0x78 && claim > 8 &&
                          static_cast<std::size_t>(claim) < file.size() - at;
        if (isRun)
            runs.push_back(at);
    }
    return runs;
}

// OpenVDB itself would write beyond its memory.
TEST(Vdb, RefusesRunsOfOtherSizesThanTheyShouldHave) {
    const auto flags = openvdb::io::COMPRESS_ACTIVE_MASK;
    const std::pair<std::uint32_t, bool> cases[] = {{openvdb::io::COMPRESS_ZIP | flags, false},
                                                    {openvdb::io::COMPRESS_BLOSC, true}};
    for (const auto& [compression, isBlosc] : cases)
        for (const bool hasPlaces : {false, true}) {
            VdbFile file;
            const auto grid = named<openvdb::FloatGrid>(roughGrid(), "rough");
            grid->setGridClass(openvdb::GRID_UNKNOWN); // zlib is not used for level sets
            grid->setSaveFloatAsHalf(hasPlaces);
            std::ofstream out(file.path, std::ios::binary);
            openvdb::io::Stream stream(out);
            stream.setCompression(compression);
            stream.write(openvdb::GridPtrVec{grid});
            out.close();
            if (hasPlaces) {
                openvdb::io::File places(file.path);
                places.setCompression(compression);
                places.write({grid});
            }
            const std::string good = file.get();
            EXPECT_NO_THROW(readVdb(file.path));
            const auto runs = runsIn(good, isBlosc);
            ASSERT_GT(runs.size(), 20U);
            const auto refuses = [&](std::size_t at, std::int64_t claim) {
                std::string bad = good, bytes;
                appendAs(bytes, claim, std::endian::little);
                file.put(bad.replace(at - 8, 8, bytes));
                const std::string message = failureOf([&] { readVdb(file.path); });
                EXPECT_NE(message.find("bytes of values claims to have " + std::to_string(claim)),
                          std::string::npos)
                    << message;
            };
            for (const std::size_t at : {runs.front(), runs[runs.size() / 2], runs.back()}) {
                refuses(at, -loadAs<std::int64_t>(&good[at - 8], std::endian::little));
                refuses(at, std::int64_t{1} << 40);
            }
        }
}

TEST(Vdb, TakesNoMoreMemoryThanItMay) {
    const auto far = named<openvdb::FloatGrid>(openvdb::FloatGrid::create(), "far");
    for (int i = 0; i < 500; ++i) // voxels that share no coarse tile, in a file of some kilobytes
        far->tree().setValue(Coord(50 * i, 0, 0), 5);
    VdbFile file;
    file.write({far});
    for (const auto shape : {TreeShape::kTwo, TreeShape::kFive}) {
        const std::string message =
            failureOf([&] { readVdb(file.path, {.shape = shape, .grid = {}, .mostBytes = 1e6}); });
        EXPECT_NE(message.find("more than the 1 MB"), std::string::npos) << message;
        EXPECT_EQ(
            readVdb(file.path, {.shape = shape, .grid = {}, .mostBytes = 1e8}).channels.size(), 1U);
    }
}

} // namespace
