// Damaged files of every format, made by mutation of good ones.
#include "support/mutations.h"

#include "io/sampleFiles.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace Stratum::io;
using namespace Stratum::test;
using Vantor::Math::float3;
using Vantor::Math::float4x2;
using Positions = Ostrum::Array<float3>;

constexpr std::uint32_t kCases = 3000;

std::string goodFile(SampleFormat format) {
    Positions positions;
    Ostrum::Array<float4x2> values;
    for (int i = 0; i < 12; ++i) {
        positions.push_back({static_cast<float>(std::sin(i)), 1e-3F * static_cast<float>(i), -7});
        values.push_back({});
    }
    const TemporaryFile file(".good");
    OutputFile out(file.path);
    writeSamples(out, format, SampleTable("value", positions, values), {"1", "made", {"a", "b"}});
    out.commit();
    return file.get();
}

void readAsPositions(const std::string& path) {
    const Positions positions = readPositions(path);
    // A reader that trusts a claim has more of them than the file has bytes.
    ASSERT_LE(positions.size(), std::filesystem::file_size(path));
}

TEST(Damage, Ply) {
    for (const auto format :
         {SampleFormat::kPly, SampleFormat::kPlyBigEndian, SampleFormat::kPlyAscii})
        expectNoHarm(goodFile(format), ".ply", kCases, readAsPositions);
}

// Elements before the vertices, with lists, whose lengths are as good as their bytes.
TEST(Damage, PlyWithLists) {
    const std::string header = "ply\nformat binary_big_endian 1.0\nelement face 3\n"
                               "property list uchar int vertex_indices\n"
                               "property list uint double weights\nelement vertex 2\n"
                               "property double x\nproperty float y\nproperty short z\n"
                               "property list ushort uchar name\nend_header\n";
    std::string faces, vertices;
    for (char f = 0; f < 3; ++f)
        faces += std::string(1, '\3') + std::string(12, f) + std::string(3, '\0') + '\1' +
                 std::string(8, '\x40');
    for (int v = 0; v < 2; ++v)
        vertices += std::string(14, '\x3f') + std::string(1, '\0') + '\4' + "name";
    const TemporaryFile file(".ply");
    file.put(header + faces + vertices);
    ASSERT_EQ(readPositions(file.path).size(), 2U);
    expectNoHarm(header + faces + vertices, ".ply", kCases, readAsPositions);
}

TEST(Damage, Npy) {
    for (const std::string type : {"<f4", ">f8"}) {
        std::string header = "{'descr': '" + type + "', 'fortran_order': True, 'shape': (5, 3), }";
        header.append(117 - header.size(), ' ');
        const std::string good = std::string("\x93NUMPY\1\0", 8) + std::string("\x76\0", 2) +
                                 header + "\n" +
                                 std::string(type[2] == '4' ? std::size_t{60} : 120, '\x3e');
        const TemporaryFile file(".npy");
        file.put(good);
        ASSERT_EQ(readPositions(file.path).size(), 5U);
        expectNoHarm(good, ".npy", kCases, readAsPositions);
    }
}

TEST(Damage, Csv) {
    expectNoHarm("# stratum 1\r\nx,y,z\r\n1,2,3\r\n-0.5,+1e-3,nan\n\ninf,-inf,3e38\n", ".csv",
                 kCases, readAsPositions);
}

} // namespace
