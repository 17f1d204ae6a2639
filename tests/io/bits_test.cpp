// Numbers through every format, by class: what must come back bit for bit, and what text loses.
#include "support/files.h"

#include "io/npyFile.h"
#include "io/plyFile.h"
#include "io/sampleFiles.h"
#include "io/writeTable.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>

namespace {

using namespace Stratum::io;
using namespace Stratum::test;
using namespace Vantor::Math;
using Positions = Ostrum::Array<float3>;

struct NumberClass {
    const char* name;
    std::uint32_t single;
    std::uint64_t wide;
};

// Bits as IEEE 754 gives them.
constexpr NumberClass kClasses[] = {
    {"zero", 0x00000000, 0x0000000000000000},
    {"negative zero", 0x80000000, 0x8000000000000000},
    {"smallest subnormal", 0x00000001, 0x0000000000000001},
    {"largest subnormal", 0x007FFFFF, 0x000FFFFFFFFFFFFF},
    {"negative subnormal", 0x80000003, 0x8000000000000003},
    {"smallest normal", 0x00800000, 0x0010000000000000},
    {"a third", 0x3EAAAAAB, 0x3FD5555555555555},
    {"one and a bit", 0x3F800001, 0x3FF0000000000001},
    {"one less a bit", 0x3F7FFFFF, 0x3FEFFFFFFFFFFFFF},
    {"2^24 + 2", 0x4B800001, 0x4340000000000001},
    {"largest", 0x7F7FFFFF, 0x7FEFFFFFFFFFFFFF},
    {"most negative", 0xFF7FFFFF, 0xFFEFFFFFFFFFFFFF},
    {"infinity", 0x7F800000, 0x7FF0000000000000},
    {"negative infinity", 0xFF800000, 0xFFF0000000000000},
    {"NaN", 0x7FC00000, 0x7FF8000000000000},
    {"negative NaN", 0xFFC00000, 0xFFF8000000000000},
    {"NaN with a payload", 0x7FC12345, 0x7FF8123456789ABC},
    {"negative NaN with a payload", 0xFFFFFFFF, 0xFFFFFFFFFFFFFFFF},
    {"signalling NaN", 0x7F800001, 0x7FF0000020000000},
    {"negative signalling NaN", 0xFFA00000, 0xFFF4000000000000},
};

// What text keeps of a number's bits: of NaN only the sign.
template <class Bits, class Scalar>
Bits throughText(Scalar value) {
    constexpr bool kSingle = sizeof(Bits) == 4;
    constexpr Bits kQuiet = kSingle ? Bits{0x7FC00000} : static_cast<Bits>(0x7FF8000000000000);
    if (std::isnan(value))
        value = std::copysign(std::bit_cast<Scalar>(kQuiet), value);
    return std::bit_cast<Bits>(value);
}

Positions positionsOfAllClasses() {
    Positions positions;
    for (std::size_t i = 0; i < std::size(kClasses); ++i) {
        const auto at = [i](std::size_t shift) {
            return std::bit_cast<float>(kClasses[(i + shift) % std::size(kClasses)].single);
        };
        positions.push_back({at(0), at(7), at(13)});
    }
    return positions;
}

template <class T>
void write(const std::string& path, SampleFormat format, const Positions& positions,
           const Ostrum::Array<T>& values) {
    OutputFile out(path);
    writeSamples(out, format, SampleTable("value", positions, values), {"1", "a \"b\"\n", {"in"}});
    out.commit();
}

void expectBits(const Positions& got, const Positions& wanted, bool isText, const char* format) {
    ASSERT_EQ(got.size(), wanted.size());
    for (std::size_t i = 0; i < got.size(); ++i)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const float before = toComponents(wanted[i])[axis], now = toComponents(got[i])[axis];
            EXPECT_EQ(std::bit_cast<std::uint32_t>(now), isText
                                                             ? throughText<std::uint32_t>(before)
                                                             : std::bit_cast<std::uint32_t>(before))
                << format << ' ' << kClasses[i].name << " axis " << axis;
        }
}

// The values that an .npy file takes are positions when they are float3, so it reads back what it
// wrote; as CSV they are columns 3 to 5.
TEST(Bits, OfPositionsAndVectorsSurviveEveryFormat) {
    const Positions numbers = positionsOfAllClasses(), where(numbers.size(), float3{1, 2, 3});
    for (const auto& [format, name] : {std::pair(SampleFormat::kPly, "little-endian"),
                                       {SampleFormat::kPlyBigEndian, "big-endian"},
                                       {SampleFormat::kPlyAscii, "ascii"}}) {
        const TemporaryFile file(".ply");
        write(file.path, format, numbers, where);
        expectBits(readPositions(file.path), numbers, format == SampleFormat::kPlyAscii, name);
    }
    const TemporaryFile npy(".npy"), csv(".csv"), columns("_columns.csv");
    write(npy.path, SampleFormat::kNpy, where, numbers);
    expectBits(readPositions(npy.path), numbers, false, "npy");
    write(csv.path, SampleFormat::kCsv, where, numbers);
    std::string text, line;
    std::istringstream lines(csv.get());
    while (std::getline(lines, line))
        if (line.starts_with("1,2,3,"))
            text += line.substr(6) + "\n";
    columns.put(text);
    expectBits(readPositions(columns.path), numbers, true, "csv");
}

TEST(Bits, OfDoublesSurvivePlyAndNpy) {
    Ostrum::Array<double3> values;
    for (const auto& number : kClasses)
        values.push_back({std::bit_cast<double>(number.wide), 0, 1});
    const Positions where(values.size());
    const TemporaryFile file(".any");
    const std::array<std::string, 1> names{"value_x"};
    for (const auto format : {SampleFormat::kPly, SampleFormat::kPlyBigEndian,
                              SampleFormat::kPlyAscii, SampleFormat::kNpy}) {
        write(file.path, format, where, values);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double read = format == SampleFormat::kNpy
                                    ? readNpyTriples(file.get(), "f")[i][0]
                                    : readPlyVertices(file.get(), "f", names)[0][i];
            EXPECT_EQ(std::bit_cast<std::uint64_t>(read),
                      format == SampleFormat::kPlyAscii ? throughText<std::uint64_t>(values[i].x)
                                                        : kClasses[i].wide)
                << static_cast<int>(format) << ' ' << kClasses[i].name;
        }
    }
}

// Columns of matrices: row by row, with names by row and column.
TEST(Bits, OfEveryValueTypeStandInTheirColumns) {
    const Positions where(2, float3{0, 0, 0});
    const auto check = [&]<class T>(std::type_identity<T>, const std::string& last,
                                    const std::string& shape) {
        constexpr std::size_t kCount = kComponentCount<T>;
        Components<T> first{}, second{};
        for (std::size_t c = 0; c < kCount; ++c) {
            first[c] = static_cast<ScalarOf<T>>(c) + ScalarOf<T>(0.25);
            second[c] = -first[c];
        }
        const Ostrum::Array<T> values{fromComponents<T>(first), fromComponents<T>(second)};
        const TemporaryFile file(".any");
        write(file.path, SampleFormat::kPlyBigEndian, where, values);
        const auto column = readPlyVertices(file.get(), "f", std::array<std::string, 1>{last});
        EXPECT_EQ(column[0],
                  (std::vector<double>{double{first[kCount - 1]}, double{second[kCount - 1]}}));
        write(file.path, SampleFormat::kNpy, where, values);
        const std::string bytes = file.get();
        EXPECT_NE(bytes.find("'shape': " + shape + ","), std::string::npos) << bytes;
        const std::size_t size = sizeof(ScalarOf<T>) * kCount;
        ScalarOf<T> number{};
        std::memcpy(&number, bytes.data() + bytes.size() - 2 * size, sizeof number);
        EXPECT_EQ(number, first[0]);
        std::memcpy(&number, bytes.data() + bytes.size() - sizeof number, sizeof number);
        EXPECT_EQ(number, second[kCount - 1]);
    };
    check(std::type_identity<float>{}, "value", "(2,)");
    check(std::type_identity<double>{}, "value", "(2,)");
    check(std::type_identity<float2>{}, "value_y", "(2, 2)");
    check(std::type_identity<float3>{}, "value_z", "(2, 3)");
    check(std::type_identity<float4>{}, "value_w", "(2, 4)");
    check(std::type_identity<double3>{}, "value_z", "(2, 3)");
    check(std::type_identity<float3x3>{}, "value_m22", "(2, 3, 3)");
    check(std::type_identity<float4x2>{}, "value_m31", "(2, 4, 2)");
    check(std::type_identity<float4x4>{}, "value_m33", "(2, 4, 4)");
}

} // namespace
