// What reading a file takes at most, in a process of its own: only there is the peak its own.
#include "support/files.h"
#include "support/operators.h"

#include "io/readVdb.h"
#include "io/returnMemory.h"

#include <gtest/gtest.h>

#include <openvdb/openvdb.h>

#include <cmath>
#include <fstream>

namespace {

using namespace Stratum::io;
using Stratum::test::TemporaryFile;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMeasures = false; // they hold back what is freed
#else
constexpr bool kMeasures = true;
#endif

double processMemory(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string word;
    for (double amount = 0; status >> word;)
        if (word == name + ":" && status >> amount)
            return amount * 1024;
    return 0;
}

// False where the system does not let a peak be forgotten.
bool forgetPeak() {
    std::ofstream("/proc/self/clear_refs") << 5;
    return processMemory("VmHWM") <= processMemory("VmRSS") + 0x1p22;
}

constexpr int kEdge = 240;

void writeDenseGrid(const std::string& path) {
    const auto grid = openvdb::FloatGrid::create(0);
    auto accessor = grid->getAccessor();
    for (int x = 0; x < kEdge; ++x)
        for (int y = 0; y < kEdge; ++y)
            for (int z = 0; z < kEdge; ++z)
                accessor.setValue(openvdb::Coord(x, y, z), static_cast<float>(1 + x + 3 * y + z));
    grid->setName("density");
    openvdb::io::File(path).write({grid});
}

class ImportMemory : public testing::TestWithParam<TreeShape> {};

TEST_P(ImportMemory, StaysNearThatOfTheValues) {
    openvdb::initialize();
    const TemporaryFile file(".vdb");
    writeDenseGrid(file.path);
    returnMemory();
    if (!kMeasures || !forgetPeak())
        GTEST_SKIP() << "the peak of memory cannot be measured here";
    const double before = processMemory("VmRSS");
    const auto overValues = [before](const char* name) {
        return (processMemory(name) - before) / (double{kEdge} * kEdge * kEdge * sizeof(float));
    };
    const Volume volume = readVdb(file.path, {.shape = GetParam(), .grid = {}});
    // The file's grid alone is 1.1 times the values, the volume 1.2; both together were 2.3.
    EXPECT_LT(overValues("VmHWM"), 2);
    EXPECT_LT(overValues("VmRSS"), 1.4);

    forgetPeak();
    const auto values =
        StratumTest::sampled<float>(*volume.object, {{1, 2, 3}, {50, 60, 70.5F}}, "density");
    EXPECT_EQ((*values)[1], 1 + 50 + 180 + 70.5F);
    EXPECT_LT(overValues("VmHWM"), 1.6) << "few positions take little";
}

INSTANTIATE_TEST_SUITE_P(BothShapes, ImportMemory,
                         testing::Values(TreeShape::kTwo, TreeShape::kFive));

} // namespace
