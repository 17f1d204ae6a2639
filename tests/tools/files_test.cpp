#include "support/files.h"

#include "io/byteOrder.h"
#include "io/npyFile.h"
#include "io/plyFile.h"
#include "io/sampleFiles.h"
#include "io/writeTable.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace Stratum::io;
using namespace Stratum::test;
using Vantor::Math::double3;
using Vantor::Math::float3;
using Positions = Ostrum::Array<float3>;

const Positions kPositions{{0.1F, -1e-30F, 16777217.0F}, {-0.0F, 3e38F, 1e-45F}};
constexpr double kInf = std::numeric_limits<double>::infinity();

template <class T>
void writeTo(const std::string& path, SampleFormat format, const Ostrum::Array<T>& values) {
    OutputFile out(path);
    writeSamples(out, format, SampleTable("value", kPositions, values),
                 {"1.2", "sample 'a\nb'", {"in.vdb"}});
    out.commit();
}

// A mesh as modellers write it: faces first, colours and normals between the coordinates, which
// stand in another order and in several types.
std::string foreignPly(const std::string& encoding, const std::string& eol) {
    using I8 = std::int8_t;
    using U8 = std::uint8_t;
    return plyFile(
        encoding, eol,
        {"comment made by hand", "obj_info 3 things", "element face 2", "property uchar code",
         "property list uchar int vertex_indices", "element vertex 2", "property double z",
         "property uchar red", "property list int8 float weights", "property float32 x",
         "property short y", "element edge 1", "property uint end"},
        "1 3 0 1 1" + eol + eol + "2 4 0 1 0 1" + eol + "  3.5\t255 2 .5 1e-60 +1.25 -7 " + eol +
            "-1e-3 0 0 2 300" + eol + "4294967295",
        U8{1}, U8{3}, 0, 1, 1, U8{2}, U8{4}, 0, 1, 0, 1,          //
        3.5, U8{255}, I8{2}, 0.5F, 0.0F, 1.25F, std::int16_t{-7}, //
        -1e-3, U8{0}, I8{0}, 2.0F, std::int16_t{300}, 4294967295U);
}

TEST(Ply, ReadsWhatOtherProgramsWrite) {
    const TemporaryFile file(".ply");
    for (const char* encoding : kPlyEncodings)
        for (const char* eol : {"\n", "\r\n"}) {
            file.put(foreignPly(encoding, eol));
            EXPECT_EQ(readPositions(file.path),
                      (Positions{{1.25F, -7, 3.5F}, {2, 300, static_cast<float>(-1e-3)}}))
                << encoding << (*eol == '\r' ? " with CR LF" : "");
            // Any byte missing is noticed, and so is one too many.
            std::string bytes = foreignPly(encoding, eol);
            for (std::size_t size = 0; size + 12 < bytes.size(); ++size) {
                file.put(bytes.substr(0, size));
                ASSERT_NE(failureOf([&] { readPositions(file.path); }), "no failure") << size;
            }
            file.put(bytes + "\n7");
            EXPECT_NE(failureOf([&] { readPositions(file.path); }).find("follow the last element"),
                      std::string::npos);
        }
}

// The numbers themselves are what io/bits_test.cpp is about.
TEST(SampleFiles, SayWhereTheyComeFromAndWhatTheyHold) {
    const Ostrum::Array<double3> vectors{{0.1, -0.0, 5e-324}, {kInf, -kInf, -1 / 3.0}};
    for (const auto format :
         {SampleFormat::kPly, SampleFormat::kPlyBigEndian, SampleFormat::kPlyAscii}) {
        const TemporaryFile file(".ply");
        writeTo(file.path, format, vectors);
        EXPECT_EQ(
            readPlyHeader(file.get(), "f").comments,
            (std::vector<std::string>{"stratum 1.2", "command sample 'a b'", "input in.vdb"}));
    }
    const TemporaryFile file(".npy");
    writeTo(file.path, SampleFormat::kNpy, vectors);
    EXPECT_EQ((file.get().size() - 2 * 3 * 8) % 64, 0U) << "data are aligned";
    writeTo(file.path, SampleFormat::kNpy, Ostrum::Array<float>{1, 2});
    EXPECT_NE(file.get().find("'descr': '<f4', 'fortran_order': False, 'shape': (2,)"),
              std::string::npos);
    writeTo(file.path, SampleFormat::kJson, vectors);
    EXPECT_NE(file.get().find(R"([-0, 3e+38, 1e-45, "inf", "-inf", -0.3333333333333333])"),
              std::string::npos)
        << file.get();
}

std::string npy(int version, const std::string& dictionary, const std::string& data) {
    std::string bytes = "\x93NUMPY";
    bytes += {static_cast<char>(version), '\0'};
    if (version == 1)
        appendAs(bytes, static_cast<std::uint16_t>(dictionary.size()), std::endian::little);
    else
        appendAs(bytes, static_cast<std::uint32_t>(dictionary.size()), std::endian::little);
    return bytes + dictionary + data;
}

std::string npyHeader(const std::string& type, const std::string& fortran,
                      const std::string& shape) {
    return "{'descr': '" + type + "', 'fortran_order': " + fortran + ", 'shape': " + shape +
           ", }\n";
}

TEST(Npy, ReadsBothWidthsOrdersAndLayouts) {
    const TemporaryFile file(".npy");
    for (const std::string type : {"<f4", ">f4", "<f8", ">f8"})
        for (const bool fortran : {false, true})
            for (const int version : {1, 2, 3}) {
                const auto order = type[0] == '<' ? std::endian::little : std::endian::big;
                std::string data;
                const std::vector<double> rows{1, -2, .25, 4, 5, 6}, columns{1, 4, -2, 5, .25, 6};
                for (const double v : fortran ? columns : rows) {
                    if (type[2] == '4')
                        appendAs(data, static_cast<float>(v), order);
                    else
                        appendAs(data, v, order);
                }
                file.put(npy(version, npyHeader(type, fortran ? "True" : "False", "(2, 3)"), data));
                EXPECT_EQ(readPositions(file.path), (Positions{{1, -2, .25F}, {4, 5, 6}}))
                    << type << fortran << version;
            }
}

TEST(SampleFiles, HostileHeadersAreRefusedInOneLine) {
    const std::string x24(24, '\0'), ok = npyHeader("<f4", "False", "(2, 3)");
    const auto ply = [](const std::string& rest) {
        return "ply\nformat binary_little_endian 1.0\n" + rest;
    };
    const std::string xyz = "property float x\nproperty float y\nproperty float z\nend_header\n";
    const std::string lists = "element f 1\nproperty list int int i\nelement vertex 0\n" + xyz;
    const std::pair<std::string, std::string> cases[] = {
        {npy(1, npyHeader("<f4", "False", "(6148914691236517206, 3)"), x24), "does not fit its 24"},
        {npy(1, npyHeader("<f4", "False", "(99999999999999999999, 3)"), x24), "tuple of sizes"},
        {npy(1, npyHeader("<f4", "False", "(6,)"), x24), "of shape (6,); positions are of"},
        {npy(1, npyHeader("<i4", "False", "(2, 3)"), x24), "holds '<i4'; '<f4'"},
        {npy(1, npyHeader("<f4", "Maybe", "(2, 3)"), x24), "must be True or False"},
        {npy(1, ok, x24.substr(1)), "does not fit its 23 bytes"},
        {npy(1, ok, x24 + "x"), "does not fit its 25 bytes"},
        {npy(4, ok, x24), "version 4"},
        {npy(2, ok, "").substr(0, 40), "cut short within its header"},
        {npy(1, "{'descr': [('x', 3)]}", ""), "a plain type"},
        {npy(1, "{'shape' (2, 3)}", ""), "a ':' is missing"},
        {"\x93NUMPY", "no .npy file"},
        {ply("element vertex 1000000000000000000\n" + xyz), "more than its"},
        {ply("element vertex -1\n" + xyz), "line 3: '-1' is no number of elements"},
        {ply("element vertex 0\nproperty float x\nend_header\n"), "have no number 'y'"},
        {ply("element vertex 0\nproperty list float int x\n" + xyz), "integer type"},
        {ply("element vertex 0\nproperty float x\n" + xyz), "line 5: there are two properties 'x'"},
        {ply("element vertex 0\nproperty half x\n" + xyz), "'half' is none of char"},
        {ply("element face 0\nend_header\n"), "no element 'vertex'"},
        {ply("vertex 4\n"), "'vertex' is none of comment"},
        {ply("element vertex 0\n"), "line 4: the header does not end"},
        {ply(lists + std::string("\xff\xff\xff\xff", 4)), "negative length"},
        {ply(lists + std::string("\xff\xff\xff\x7f", 4)), "cut short"},
        {"ply\nformat ascii 1.0\nelement vertex 1\n" + xyz + "1 2 3 4\n", "more numbers than"},
        {"ply\nformat ascii 1.0\nelement vertex 1\n" + xyz + "1 2    \n", "fewer numbers than"},
        {"ply\nformat ascii 1.0\nelement vertex 1\n" + xyz + "1 2 3,\n", "line 8: '3,' is no"},
        {"ply\nformat ascii 2.0\n", "'format ENCODING 1.0' is wanted"},
        {"solid cube\n", "no PLY file"},
    };
    for (const auto& [bytes, words] : cases) {
        const TemporaryFile file(bytes.starts_with('\x93') ? ".npy" : ".ply");
        file.put(bytes);
        const std::string message = failureOf([&] { readPositions(file.path); });
        EXPECT_TRUE(message.starts_with(file.path)) << message;
        EXPECT_NE(message.find(words), std::string::npos) << message << "\nwanted: " << words;
    }
}

} // namespace
