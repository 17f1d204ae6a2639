// Damaged .vdb and .nvdb files, made by mutation of good ones.
#include "support/mutations.h"

#include "io/readNvdb.h"
#include "io/readVdb.h"

#include <gtest/gtest.h>

#include <nanovdb/util/IO.h>
#include <nanovdb/util/OpenToNanoVDB.h>
#include <openvdb/openvdb.h>

namespace {

using namespace Stratum::io;
using namespace Stratum::test;

// Leaves, constant tiles of both levels, and two value types.
openvdb::GridPtrVec smallGrids() {
    openvdb::initialize();
    auto fog = openvdb::FloatGrid::create(0.5F);
    fog->setName("density");
    fog->fill(openvdb::CoordBBox(openvdb::Coord(8, -8, 0), openvdb::Coord(15, -1, 7)), 2.0F);
    fog->fill(openvdb::CoordBBox(openvdb::Coord(0, 0, 128), openvdb::Coord(127, 127, 255)), 3.0F);
    auto flow = openvdb::Vec3SGrid::create();
    flow->setName("flow");
    for (int i = 0; i < 40; ++i) {
        fog->tree().setValue(openvdb::Coord(i, 3, -i), static_cast<float>(i));
        flow->tree().setValue(openvdb::Coord(-i, i, 2),
                              openvdb::Vec3s(1, 2, static_cast<float>(i)));
    }
    return {fog, flow};
}

TEST(Damage, Vdb) {
    const TemporaryFile file(".good.vdb");
    constexpr std::uint32_t kMasked = openvdb::io::COMPRESS_ACTIVE_MASK;
    for (const std::uint32_t compression :
         {std::uint32_t{openvdb::io::COMPRESS_NONE}, kMasked | openvdb::io::COMPRESS_BLOSC}) {
        openvdb::io::File out(file.path);
        out.setCompression(compression);
        out.write(smallGrids());
        out.close();
        expectNoHarm(file.get(), ".vdb", 400, [](const std::string& path) {
            readVdb(path, {.shape = TreeShape::kTwo, .grid = "density"});
        });
    }
}

TEST(Damage, Nvdb) {
    std::vector<nanovdb::GridHandle<>> handles;
    for (const auto& grid : smallGrids())
        handles.push_back(nanovdb::openToNanoVDB(grid));
    const TemporaryFile file(".good.nvdb");
    nanovdb::io::writeGrids(file.path, handles);
    expectNoHarm(file.get(), ".nvdb", 1500, [](const std::string& path) { readNvdb(path); });
}

} // namespace
